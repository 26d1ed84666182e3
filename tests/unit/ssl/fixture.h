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

#include <cstdlib>
#include <fstream>
#include <string>

#include "support/system_double.h"

namespace talvera::test {

// Puts an empty "/var" of the program's own over the machine's, once; false when it may not. The
// system double mounts nothing, hence the bare system calls.
inline bool make_private_var() {
  static const bool made = [] {
    const uid_t user = geteuid();
    if (unshare(CLONE_NEWNS | (user != 0 ? CLONE_NEWUSER : 0)) != 0) return false;
    if (user != 0) std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    constexpr unsigned long kPrivate = 0x44000;  // MS_REC | MS_PRIVATE
    return syscall(SYS_mount, "none", "/", nullptr, kPrivate, nullptr) == 0 &&
           syscall(SYS_mount, "tmpfs", "/var", "tmpfs", 0, nullptr) == 0;
  }();
  return made;
}

class VarTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!make_private_var()) {
      if (std::getenv("CI") != nullptr) FAIL() << "a private /var needs namespaces";
      GTEST_SKIP() << "a private /var needs namespaces";
    }
    ASSERT_EQ(std::system("rm -rf /var/* && mkdir -p /var/tmp /var/etc/ssl"), 0);
    descriptors_ = open_descriptors();
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
