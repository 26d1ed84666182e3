// Named message queues over real sockets: addresses, cuts, full receivers, and what is printed.
#include "talvera/ipc_msgq.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/system_double.h"

namespace talvera::test {
namespace {

// A queue that the test ends, as the library does not.
class Queue {
 public:
  explicit Queue(ipc_msgq *queue) : queue_(queue) {}
  ~Queue() {
    if (queue_ == nullptr) return;
    close(queue_->fd);
    std::free(queue_);
  }
  Queue(const Queue &) = delete;
  Queue &operator=(const Queue &) = delete;

  operator ipc_msgq *() const { return queue_; }
  ipc_msgq *operator->() const { return queue_; }

 private:
  ipc_msgq *queue_;
};

std::string failure(const char *what, int error) {
  return what + std::to_string(error) + ":" + strerror(error) + "\n";
}

std::string receive(ipc_msgq *queue, std::size_t size) {
  std::string buffer(size + 1, '#');
  const int length = ipc_msgq_receive(queue, buffer.data(), size);
  return std::to_string(length) + ':' + buffer;
}

TEST(MessageQueue, CarriesMessagesWhole) {
  const TempDir dir;
  const std::string name = dir / "queue";
  EXPECT_EQ(ipc_msgq_create(), 0);
  const Queue sender(ipc_msgq_GetByName(name.c_str()));  // before there is a queue
  ASSERT_NE(sender, nullptr);
  const Queue queue(ipc_msgq_createByName(name.c_str()));
  ASSERT_NE(queue, nullptr);

  EXPECT_EQ(ipc_msgq_send(sender, "one", 3), 0);
  EXPECT_EQ(ipc_msgq_send(sender, "", 0), 0);
  EXPECT_EQ(ipc_msgq_send(sender, "four and more", 13), 0);
  EXPECT_EQ(ipc_msgq_send(sender, "last", 4), 0);
  EXPECT_EQ(receive(queue, 6), "3:one####");
  EXPECT_EQ(receive(queue, 6), "0:#######");
  EXPECT_EQ(receive(queue, 4), "4:four#");  // the rest is lost
  EXPECT_EQ(receive(queue, 4), "4:last#");

  // What does nothing leaves the queue working.
  EXPECT_EQ(ipc_msgq_send(sender, "kept", 4), 0);
  EXPECT_EQ(ipc_msgq_msg_count(queue), 0);
  EXPECT_EQ(ipc_msgq_delete(queue), 0);
  EXPECT_EQ(ipc_msgq_close(queue), 0);
  EXPECT_EQ(ipc_msgq_close(sender), 0);
  EXPECT_EQ(receive(queue, 4), "4:kept#");
  EXPECT_EQ(ipc_msgq_send(sender, "more", 4), 0);
}

TEST(MessageQueue, RecordHoldsSocketAndWholeAddress) {
  const TempDir dir;
  const std::string name = dir / "queue";
  const Queue queue(ipc_msgq_createByName(name.c_str()));
  const Queue sender(ipc_msgq_GetByName(name.c_str()));
  std::string path = name;
  path.resize(108);
  for (const ipc_msgq *record : {static_cast<ipc_msgq *>(queue), static_cast<ipc_msgq *>(sender)}) {
    EXPECT_EQ(record->address.sun_family, AF_UNIX);
    EXPECT_EQ(std::string(record->address.sun_path, 108), path);
    EXPECT_NE(fcntl(record->fd, F_GETFL) & O_NONBLOCK, 0);
  }
  // The queue is bound, the sender's socket is not.
  sockaddr_un bound = {};
  socklen_t length = sizeof bound;
  ASSERT_EQ(getsockname(queue->fd, reinterpret_cast<sockaddr *>(&bound), &length), 0);
  EXPECT_EQ(bound.sun_path, name);
  length = sizeof bound;
  ASSERT_EQ(getsockname(sender->fd, reinterpret_cast<sockaddr *>(&bound), &length), 0);
  EXPECT_EQ(length, sizeof bound.sun_family);
}

TEST(MessageQueue, NamesOfUpTo107Characters) {
  const TempDir dir;
  const std::string longest = dir / std::string(107 - dir.path().size() - 1, 'n');
  const int before = open_descriptors();
  const Queue queue(ipc_msgq_createByName(longest.c_str()));
  const Queue sender(ipc_msgq_GetByName(longest.c_str()));
  ASSERT_NE(queue, nullptr);
  ASSERT_NE(sender, nullptr);
  EXPECT_EQ(ipc_msgq_send(sender, "x", 1), 0);
  EXPECT_EQ(receive(queue, 1), "1:x#");

  const std::string over = longest + "n";
  for (auto *make : {ipc_msgq_createByName, ipc_msgq_GetByName}) {
    EXPECT_EQ(make(over.c_str()), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(make(nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
  }
  EXPECT_EQ(open_descriptors(), before + 2);
}

TEST(MessageQueue, CreationFailures) {
  const TempDir dir;
  const std::string name = dir / "queue";
  const Queue first(ipc_msgq_createByName(name.c_str()));
  const int before = open_descriptors();
  SystemDouble system;
  testing::internal::CaptureStdout();
  EXPECT_EQ(ipc_msgq_createByName(name.c_str()), nullptr);
  EXPECT_EQ(errno, EADDRINUSE);
  EXPECT_EQ(ipc_msgq_createByName((dir / "none/queue").c_str()), nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            failure("bind failed:", EADDRINUSE) + failure("bind failed:", ENOENT));

  for (auto *make : {ipc_msgq_createByName, ipc_msgq_GetByName}) {
    testing::internal::CaptureStdout();
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none_left = {0, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none_left);
    EXPECT_EQ(make((dir / "other").c_str()), nullptr);
    EXPECT_EQ(errno, EMFILE);
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "socket create failed \n");
    system.fail("calloc", ENOMEM);
    EXPECT_EQ(make((dir / "other").c_str()), nullptr);
    EXPECT_EQ(errno, ENOMEM);
  }
  EXPECT_NE(access((dir / "other").c_str(), F_OK), 0);
  EXPECT_TRUE(system.log().empty());
  EXPECT_EQ(open_descriptors(), before);
}

TEST(MessageQueue, SendFailsAtOnce) {
  const TempDir dir;
  const std::string name = dir / "queue";
  const Queue sender(ipc_msgq_GetByName(name.c_str()));
  testing::internal::CaptureStdout();
  EXPECT_EQ(ipc_msgq_send(nullptr, "x", 1), -1);
  EXPECT_EQ(ipc_msgq_send(sender, "x", 1), -1);  // nobody there
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "ipc_msgq_send:Invalid server details\n" + failure("sendto failed.Error:", ENOENT));

  const Queue queue(ipc_msgq_createByName(name.c_str()));
  testing::internal::CaptureStdout();
  int sent = 0;
  while (sent < 100000 && ipc_msgq_send(sender, "x", 1) == 0)
    ++sent;
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), failure("sendto failed.Error:", EAGAIN));
  for (int i = 0; i < sent; ++i)
    ASSERT_EQ(receive(queue, 1), "1:x#");
}

TEST(MessageQueue, ReceiveFailures) {
  const TempDir dir;
  const Queue queue(ipc_msgq_createByName((dir / "queue").c_str()));
  char buffer[4];
  EXPECT_EQ(ipc_msgq_receive(nullptr, buffer, sizeof buffer), -1);
  // Descriptors that are not open, that no descriptor set can hold, that are none.
  const int closed = fcntl(0, F_DUPFD, 100);
  close(closed);
  for (const int fd : {closed, FD_SETSIZE, -1}) {
    ipc_msgq broken = *queue;
    broken.fd = fd;
    testing::internal::CaptureStdout();
    EXPECT_EQ(ipc_msgq_receive(&broken, buffer, sizeof buffer), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "EBADF:9, EFAULT:14, EINTR:4, EINVAL:22\n" + failure("  select() failed. error:", EBADF));
  }
  // A signal ends the wait, even one whose handler restarts other calls.
  signal(SIGALRM, [](int) {});
  testing::internal::CaptureStdout();
  alarm(1);
  EXPECT_EQ(ipc_msgq_receive(queue, buffer, sizeof buffer), -1);
  EXPECT_EQ(errno, EINTR);
  EXPECT_EQ(
      testing::internal::GetCapturedStdout(),
      "EBADF:9, EFAULT:14, EINTR:4, EINVAL:22\n" + failure("  select() failed. error:", EINTR));
  signal(SIGALRM, SIG_DFL);
}

}  // namespace
}  // namespace talvera::test
