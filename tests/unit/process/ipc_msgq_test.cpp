// Named message queues over real sockets: addresses, cuts, full receivers, and what is printed.
#include "talvera/ipc_msgq.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "support/descriptors.h"
#include "support/errors.h"

namespace talvera::test {
namespace {

// A queue that the test ends, as the library does not.
struct EndQueue {
  void operator()(ipc_msgq *queue) const {
    close(queue->fd);
    std::free(queue);
  }
};
using Queue = std::unique_ptr<ipc_msgq, EndQueue>;

std::string failure(const char *what, int error) {
  return what + std::to_string(error) + ":" + strerror(error) + "\n";
}

std::string receive(const Queue &queue, std::size_t size) {
  std::string buffer(size + 1, '#');
  const int length = ipc_msgq_receive(queue.get(), buffer.data(), size);
  return std::to_string(length) + ':' + buffer;
}

// The error of a call, and what it prints.
template <typename Call>
std::pair<int, std::string> outcome(Call call) {
  testing::internal::CaptureStdout();
  const int error = error_of(call());
  return {error, testing::internal::GetCapturedStdout()};
}

class MessageQueue : public ::testing::Test {
 protected:
  DescriptorCheck descriptors;
  TempDir dir;
  const std::string name = dir / "queue";
};

TEST_F(MessageQueue, CarriesMessagesWhole) {
  EXPECT_EQ(ipc_msgq_create(), 0);
  const Queue sender(ipc_msgq_GetByName(name.c_str()));  // before there is a queue
  ASSERT_NE(sender, nullptr);
  const Queue queue(ipc_msgq_createByName(name.c_str()));
  ASSERT_NE(queue, nullptr);
  for (const std::string message : {"one", "", "four and more", "last"})
    EXPECT_EQ(ipc_msgq_send(sender.get(), message.c_str(), message.size()), 0);
  EXPECT_EQ(receive(queue, 6), "3:one####");
  EXPECT_EQ(receive(queue, 6), "0:#######");
  EXPECT_EQ(receive(queue, 4), "4:four#");  // the rest is lost
  EXPECT_EQ(receive(queue, 4), "4:last#");

  // What does nothing leaves the queue working.
  EXPECT_EQ(ipc_msgq_send(sender.get(), "kept", 4), 0);
  EXPECT_EQ(ipc_msgq_msg_count(queue.get()), 0);
  EXPECT_EQ(ipc_msgq_delete(queue.get()), 0);
  EXPECT_EQ(ipc_msgq_close(queue.get()), 0);
  EXPECT_EQ(ipc_msgq_close(sender.get()), 0);
  EXPECT_EQ(receive(queue, 4), "4:kept#");
  EXPECT_EQ(ipc_msgq_send(sender.get(), "more", 4), 0);
}

TEST_F(MessageQueue, RecordHoldsSocketAndWholeAddress) {
  const Queue queue(ipc_msgq_createByName(name.c_str()));
  const Queue sender(ipc_msgq_GetByName(name.c_str()));
  std::string path = name;
  path.resize(108);
  for (const Queue *record : {&queue, &sender}) {
    EXPECT_EQ((*record)->address.sun_family, AF_UNIX);
    EXPECT_EQ(std::string((*record)->address.sun_path, 108), path);
    EXPECT_NE(fcntl((*record)->fd, F_GETFL) & O_NONBLOCK, 0);
  }
}

TEST_F(MessageQueue, NamesOfUpTo107Characters) {
  const std::string longest = dir / std::string(107 - dir.path().size() - 1, 'n');
  const Queue queue(ipc_msgq_createByName(longest.c_str()));
  const Queue sender(ipc_msgq_GetByName(longest.c_str()));
  EXPECT_EQ(ipc_msgq_send(sender.get(), "x", 1), 0);
  EXPECT_EQ(receive(queue, 1), "1:x#");
  for (auto *make : {ipc_msgq_createByName, ipc_msgq_GetByName}) {
    EXPECT_EQ(error_of(make((longest + "n").c_str())), ENAMETOOLONG);
    EXPECT_EQ(error_of(make(nullptr)), EINVAL);
  }
}

TEST_F(MessageQueue, CreationFailures) {
  const Queue first(ipc_msgq_createByName(name.c_str()));
  const std::string other = dir / "other";
  SystemDouble system;
  EXPECT_EQ(outcome([&] { return ipc_msgq_createByName(name.c_str()); }),
            std::pair(EADDRINUSE, failure("bind failed:", EADDRINUSE)));
  for (auto *make : {ipc_msgq_createByName, ipc_msgq_GetByName}) {
    system.fail("socket", EMFILE);
    EXPECT_EQ(outcome([&] { return make(other.c_str()); }),
              std::pair(EMFILE, std::string("socket create failed \n")));
    system.fail("calloc", ENOMEM);
    EXPECT_EQ(error_of(make(other.c_str())), ENOMEM);
  }
  EXPECT_NE(access(other.c_str(), F_OK), 0);
  EXPECT_TRUE(system.log().empty());
}

TEST_F(MessageQueue, SendFailsAtOnce) {
  const Queue sender(ipc_msgq_GetByName(name.c_str()));
  const auto send = [&] { return ipc_msgq_send(sender.get(), "x", 1); };
  EXPECT_EQ(outcome([] { return ipc_msgq_send(nullptr, "x", 1); }),
            std::pair(EINVAL, std::string("ipc_msgq_send:Invalid server details\n")));
  EXPECT_EQ(outcome(send), std::pair(ENOENT, failure("sendto failed.Error:", ENOENT)));

  const Queue queue(ipc_msgq_createByName(name.c_str()));
  int sent = 0;
  std::pair<int, std::string> last;
  for (last = outcome(send); last.first == 0 && sent < 100000; last = outcome(send))
    ++sent;
  EXPECT_EQ(last, std::pair(EAGAIN, failure("sendto failed.Error:", EAGAIN)));
  for (int i = 0; i < sent; ++i)
    ASSERT_EQ(receive(queue, 1), "1:x#");
}

TEST_F(MessageQueue, ReceiveFailures) {
  const Queue queue(ipc_msgq_createByName(name.c_str()));
  char buffer[4];
  const auto failed_wait = [](int error) {
    return std::pair(error, "EBADF:9, EFAULT:14, EINTR:4, EINVAL:22\n" +
                                failure("  select() failed. error:", error));
  };
  // Descriptors that are not open, that no descriptor set can hold, that are none.
  const int closed = fcntl(0, F_DUPFD, 100);
  close(closed);
  for (const int fd : {closed, FD_SETSIZE, -1}) {
    ipc_msgq broken = *queue;
    broken.fd = fd;
    EXPECT_EQ(outcome([&] { return ipc_msgq_receive(&broken, buffer, sizeof buffer); }),
              failed_wait(EBADF));
  }
  // A signal ends the wait, even one whose handler restarts other calls.
  signal(SIGALRM, [](int) {});
  alarm(1);
  EXPECT_EQ(outcome([&] { return ipc_msgq_receive(queue.get(), buffer, sizeof buffer); }),
            failed_wait(EINTR));
  signal(SIGALRM, SIG_DFL);
}

}  // namespace
}  // namespace talvera::test
