// What the tests of the client context and the CA directory share: the library's fixed paths below
// "/var", on a file system in memory that only the test program sees.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <openssl/err.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "support/system_double.h"

namespace talvera::test {

inline bool write_text(const char *path, const std::string &text) {
  return static_cast<bool>(std::ofstream(path) << text << std::flush);
}

// Gives the program a mount namespace of its own, as root of a user namespace where it is not root.
// The system double mounts nothing, hence the bare system calls.
inline bool enter_namespaces() {
  const uid_t user = geteuid();
  const gid_t group = getegid();
  if (unshare(CLONE_NEWNS | (user != 0 ? CLONE_NEWUSER : 0)) != 0) return false;
  if (user != 0 && (!write_text("/proc/self/setgroups", "deny") ||
                    !write_text("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") ||
                    !write_text("/proc/self/gid_map", "0 " + std::to_string(group) + " 1"))) {
    return false;
  }
  constexpr unsigned long kPrivate = 0x44000;  // MS_REC | MS_PRIVATE
  return syscall(SYS_mount, "none", "/", nullptr, kPrivate, nullptr) == 0 &&
         syscall(SYS_mount, "tmpfs", "/var", "tmpfs", 0, nullptr) == 0;
}

// Puts a "/var" of the program's own, with nothing but the folders "/var/tmp" and "/var/etc/ssl",
// over the machine's; false when it may not. Each call lays a new one over the last.
inline bool make_private_var() {
  static const bool entered = [] {
    // A child tries first: what fails halfway leaves a process that owns nothing.
    const pid_t child = fork();
    if (child == 0) _exit(enter_namespaces() ? 0 : 1);
    int status = -1;
    return syscall(SYS_wait4, child, &status, 0, nullptr) == child && status == 0 &&
           enter_namespaces();
  }();
  if (!entered) {
    std::puts("left out: needs namespaces");  // scripts/test counts these lines
    return false;
  }
  constexpr int kDetach = 2;  // MNT_DETACH
  return syscall(SYS_umount2, "/var", kDetach) == 0 &&
         syscall(SYS_mount, "tmpfs", "/var", "tmpfs", 0, nullptr) == 0 &&
         mkdir("/var/tmp", 0777) == 0 && mkdir("/var/etc", 0777) == 0 &&
         mkdir("/var/etc/ssl", 0777) == 0;
}

class VarTest : public ::testing::Test {
 protected:
  void SetUp() override {
    descriptors_ = open_descriptors();
    if (!make_private_var()) {
      if (std::getenv("CI") != nullptr) FAIL() << "a private /var needs namespaces";
      GTEST_SKIP() << "a private /var needs namespaces";
    }
  }
  void TearDown() override {
    EXPECT_EQ(ERR_peek_error(), 0U);
    EXPECT_EQ(open_descriptors(), descriptors_);
  }

  static void write(const std::string &path, const std::string &content) {
    std::ofstream(path, std::ios::binary) << content;
  }

 private:
  int descriptors_ = 0;
};

// Standard input, closed or replaced by a file while it lives.
class StandardInput {
 public:
  explicit StandardInput(const std::string &path = {}) : saved_(dup(0)) {
    close(0);
    if (!path.empty()) static_cast<void>(open(path.c_str(), O_RDONLY));
  }
  ~StandardInput() {
    dup2(saved_, 0);
    close(saved_);
  }

 private:
  int saved_;
};

// A log line of the TLS family.
inline LogLine info(const std::string &text) {
  return {"sdb", 6, text};
}
inline LogLine error(const std::string &text) {
  return {"sdb", 3, text};
}

}  // namespace talvera::test
