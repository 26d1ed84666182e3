// TLS with real servers on 127.0.0.1: every protocol, servers that misbehave, what is left behind.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "support/certificates.h"
#include "support/tls_server.h"
#include "talvera/ssl.h"

#ifdef __SANITIZE_ADDRESS__
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace talvera::test {
namespace {

using std::chrono::duration;
using std::chrono::steady_clock;

// The sanitizer's figure. What malloc() itself tells includes blocks that it keeps for later.
std::size_t heap_in_use() {
#ifdef __SANITIZE_ADDRESS__
  return __sanitizer_get_current_allocated_bytes();
#else
  return 0;
#endif
}

// The lowest free descriptor: higher than before when one was left open.
int next_descriptor() {
  const int fd = open("/dev/null", O_RDONLY);
  close(fd);
  return fd;
}

class Tls : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    files_ = new TempDir;
    setenv("TALVERA_SDB",
           files_->write("database", "system.sku=1\nip.ntp.time-acquired=1\n").c_str(), 1);
    setenv("SSL_CERT_FILE", "/nowhere", 1);  // many certificates, parsed each time
    certificates_ = new Certificates;
    certificate_ = new std::string(certificates_->issue("server", "/CN=acs.example.net"));
  }
  static void TearDownTestSuite() {
    delete certificate_;
    delete certificates_;
    delete files_;
  }
  static ServerOptions options(int version = TLS1_2_VERSION) {
    return {*certificate_, certificates_->key(), version};
  }
  // A client's handshake with what serves at the other end: the result, and how long it took.
  struct Outcome {
    int connected;
    double seconds;
    long judgement;
    int version;
  };
  static Outcome connect(const char *word, const Server &server) {
    SSL_CTX *context = SSL_initialize(word);
    SSL *ssl = SSL_new(context);
    attach(ssl, server.fd());
    const auto start = steady_clock::now();
    Outcome outcome = {SSL_Nblk_connect(ssl, server.fd()), 0, -1, 0};
    outcome.seconds = duration<double>(steady_clock::now() - start).count();
    if (outcome.connected == 1) {
      outcome.judgement = SSL_check_cert(ssl, "acs.example.net");
      outcome.version = SSL_version(ssl);
    }
    SSL_free(ssl);
    SSL_CTX_free(context);
    return outcome;
  }

  static TempDir *files_;
  static Certificates *certificates_;
  static std::string *certificate_;
};
TempDir *Tls::files_;
Certificates *Tls::certificates_;
std::string *Tls::certificate_;

TEST_F(Tls, TheProtocolAskedForIsSpoken) {
  struct Case {
    const char *word;
    int version;
  };
  for (const Case &c :
       {Case{"tls1", TLS1_VERSION}, {"tls1.1", TLS1_1_VERSION}, {"tls1.2", TLS1_2_VERSION}}) {
    const Server server(Server::kTcp, [&](int fd) { serve_tls(fd, options(c.version)); });
    const Outcome outcome = connect(c.word, server);
    EXPECT_EQ(outcome.connected, 1) << c.word;
    EXPECT_EQ(outcome.judgement, 0) << c.word;
    EXPECT_EQ(outcome.version, c.version) << c.word;

    const int other = c.version == TLS1_2_VERSION ? TLS1_1_VERSION : TLS1_2_VERSION;
    const Server refusing(Server::kTcp, [&](int fd) { serve_tls(fd, options(other)); });
    EXPECT_EQ(connect(c.word, refusing).connected, 0) << c.word;
  }
  const Server datagrams(Server::kUdp, [](int fd) { serve_tls(fd, options(DTLS1_VERSION)); });
  const Outcome outcome = connect("dtls1", datagrams);
  EXPECT_EQ(outcome.connected, 1);
  EXPECT_EQ(outcome.judgement, 0);
  EXPECT_EQ(outcome.version, DTLS1_VERSION);
}

// A real server, whose bytes come one by one.
TEST_F(Tls, ADrippingServerIsWaitedFor) {
  const Server server(Server::kTcp, [](int fd) {
    const Server behind([](int inner) { serve_tls(inner, options()); });
    pollfd ends[2] = {{fd, POLLIN, 0}, {behind.fd(), POLLIN, 0}};
    char byte[4096];
    while (poll(ends, 2, -1) > 0) {
      if (ends[0].revents != 0) {
        const ssize_t size = read(fd, byte, sizeof byte);
        if (size <= 0 || write(behind.fd(), byte, size) != size) break;
      }
      if (ends[1].revents != 0) {
        if (read(behind.fd(), byte, 1) != 1 || write(fd, byte, 1) != 1) break;
        usleep(200);
      }
    }
  });
  const Outcome outcome = connect("tls1.2", server);
  EXPECT_EQ(outcome.connected, 1);
  EXPECT_EQ(outcome.judgement, 0);
}

// Neither silence nor a byte now and then makes the wait longer than 20 seconds in all.
TEST_F(Tls, TwentySecondsAreTheWholeBudget) {
  const Server silent(Server::kTcp, [](int) { pause(); });
  const Server trickling(Server::kTcp, [](int fd) {
    constexpr char kRecord[] = "\x16\x03\x03\x40\x00";  // announces 16384 bytes
    for (std::size_t i = 0;; ++i) {
      if (write(fd, kRecord + (i < 5 ? i : 4), 1) != 1) break;
      usleep(700000);
    }
  });
  Outcome outcomes[2];
  std::thread other([&] { outcomes[1] = connect("tls1.2", trickling); });
  outcomes[0] = connect("tls1.2", silent);
  other.join();
  for (const Outcome &outcome : outcomes) {
    EXPECT_EQ(outcome.connected, 0);
    EXPECT_GT(outcome.seconds, 19.5);
    EXPECT_LT(outcome.seconds, 24.0);
  }
}

TEST_F(Tls, ServersThatFailAtOnce) {
  struct Case {
    const char *what;
    void (*serve)(int fd);
  };
  const Case cases[] = {
      {"closes", [](int) {}},
      {"resets",
       [](int fd) {
         const linger at_once = {1, 0};
         setsockopt(fd, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
         close(fd);
       }},
      {"talks nonsense",
       [](int fd) {
         static_cast<void>(write(fd, "HTTP/1.0 200 OK\r\n\r\n", 19));
         pause();
       }},
      {"sends urgent data",
       [](int fd) {
         char hello[4096];
         static_cast<void>(read(fd, hello, sizeof hello));
         usleep(300000);  // a read passes over urgent data: let the client wait
         send(fd, "!", 1, MSG_OOB);
         pause();
       }},
  };
  for (const Case &c : cases) {
    const Server server(Server::kTcp, c.serve);
    const Outcome outcome = connect("tls1.2", server);
    EXPECT_EQ(outcome.connected, 0) << c.what;
    EXPECT_LT(outcome.seconds, 10) << c.what;
  }
}

// Hundreds of rounds leave no descriptor open, and in the heap less than a block for each.
TEST_F(Tls, RoundsLeaveNothingBehind) {
  const Server server([](int fd) {
    while (serve_tls(fd, options())) {  // one handshake after the other on the same connection
    }
  });
  const auto round = [&] {
    SSL_CTX *context = SSL_initialize("tls1.2");
    SSL *ssl = SSL_new(context);
    SSL_set_fd(ssl, server.fd());
    EXPECT_EQ(SSL_Nblk_connect(ssl, server.fd()), 1);
    EXPECT_EQ(SSL_check_cert(ssl, "acs.example.net"), 0);
    int off = 0;
    ioctl(server.fd(), FIONBIO, &off);
    SSL_shutdown(ssl);
    SSL_shutdown(ssl);
    SSL_free(ssl);
    SSL_CTX_free(context);
  };
  for (int i = 0; i < 20; ++i)
    round();
  const int descriptor = next_descriptor();
  const std::size_t heap = heap_in_use();
  constexpr int kRounds = 300;
  for (int i = 0; i < kRounds && !HasFailure(); ++i)
    round();
  EXPECT_EQ(next_descriptor(), descriptor);
  EXPECT_LT(heap_in_use(), heap + 8 * kRounds + 1);
}

}  // namespace
}  // namespace talvera::test
