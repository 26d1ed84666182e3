// The handshake's steps and waits, scripted; the judgement of real servers' certificates.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>

#include "support/certificates.h"
#include "support/system_calls.h"
#include "support/tls_server.h"
#include "talvera/ssl.h"
#include "unit/ssl/fixture.h"

namespace {

// A scripted wait ends after this long, and tells of `exceptional` if that is asked for.
constexpr long kScriptedWait = 7;
bool exceptional = false;
// What the monotonic clock shows: seconds more than it is, after it ran so many times as fast.
long clock_offset = 0, clock_speed = 1;

bool is_blocking(int fd) {
  return (fcntl(fd, F_GETFL) & O_NONBLOCK) == 0;
}

}  // namespace

extern "C" int select(int count, fd_set *read, fd_set *write, fd_set *except, timeval *timeout) {
  using namespace talvera::test;
  static auto *const next = real<int(int, fd_set *, fd_set *, fd_set *, timeval *)>("select");
  const int fd = count - 1;
  record("select %s%s%s %ld.%06ld %s", FD_ISSET(fd, read) ? "r" : "",
         FD_ISSET(fd, write) ? "w" : "", FD_ISSET(fd, except) ? "e" : "",
         static_cast<long>(timeout->tv_sec), static_cast<long>(timeout->tv_usec),
         is_blocking(fd) ? "blocking" : "non-blocking");
  const Outcome outcome = outcome_of("select");
  if (outcome.kind != Outcome::kResult) return next(count, read, write, except, timeout);
  timeout->tv_sec -= kScriptedWait;
  if (!exceptional) FD_ZERO(except);
  return static_cast<int>(outcome.value);
}

extern "C" int clock_gettime(clockid_t clock, timespec *now) noexcept {
  static auto *const next = talvera::test::real<int(clockid_t, timespec *)>("clock_gettime");
  const int result = next(clock, now);
  if (clock == CLOCK_MONOTONIC) {
    constexpr long long kSecond = 1000000000;
    const long long shown = (now->tv_sec * kSecond + now->tv_nsec) * clock_speed;
    *now = {static_cast<time_t>(shown / kSecond + clock_offset),
            static_cast<long>(shown % kSecond)};
  }
  return result;
}

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

class Handshake : public ::testing::Test {
 protected:
  Handshake() {
    socketpair(AF_UNIX, SOCK_STREAM, 0, ends_);
    SSL_library_init();
    context_ = SSL_CTX_new(TLSv1_2_client_method());
    ssl_ = SSL_new(context_);
    SSL_set_fd(ssl_, fd());
  }
  ~Handshake() override {
    SSL_free(ssl_);
    SSL_CTX_free(context_);
    close(ends_[0]);
    close(ends_[1]);
  }
  [[nodiscard]] int fd() const { return ends_[0]; }
  int connect() { return SSL_Nblk_connect(ssl_, fd()); }
  // A step of the handshake that wants something.
  void step(int result, int error) {
    system.answer("SSL_connect", result);
    system.answer("SSL_get_error", error);
  }

  SystemDouble system;
  SSL *ssl_;

 private:
  int ends_[2];
  SSL_CTX *context_;
};

const LogLine kHandshakeSuccess = info("SSL: Handshake Success");

// The budget of 20 seconds is the total of all waits: each scripted wait takes 7.
TEST_F(Handshake, WaitsInBlockingModeForWhatTheStepWants) {
  exceptional = false;
  step(-1, SSL_ERROR_WANT_READ);
  step(0, SSL_ERROR_WANT_WRITE);
  step(-1, SSL_ERROR_WANT_READ);
  system.answer("SSL_connect", 1);
  system.answer("select", 1).times(3);
  EXPECT_EQ(connect(), 1);
  EXPECT_THAT(system.calls(),
              ElementsAre("select re 20.000000 blocking", "select we 13.000000 blocking",
                          "select re 6.000000 blocking"));
  EXPECT_EQ(system.count("ioctl"), 7);
  EXPECT_FALSE(is_blocking(fd()));
  EXPECT_THAT(system.log(), ElementsAre(kHandshakeSuccess));
}

// Time that the steps themselves take counts, too.
TEST_F(Handshake, BusyStepsShortenTheWaits) {
  exceptional = false;
  for (int i = 0; i < 3; ++i) {
    system.before("SSL_connect", [] { clock_offset += 9; });
    step(-1, SSL_ERROR_WANT_READ);
  }
  system.answer("select", 1).times(3);
  EXPECT_EQ(connect(), 0);
  clock_offset = 0;
  EXPECT_THAT(system.calls(),
              ElementsAre("select re 11.000000 blocking", "select re 2.000000 blocking"));
}

TEST_F(Handshake, AServerThatKeepsAStepBusyIsLeftInTime) {
  const Server server([](int fd) {
    std::string requests;  // HelloRequests, which a client passes over
    for (int i = 0; i < 10000; ++i)
      requests.append("\x16\x03\x03\x00\x04\x00\x00\x00\x00", 9);
    const time_t start = time(nullptr);
    while (time(nullptr) < start + 6 && write(fd, requests.data(), requests.size()) > 0) {
    }
  });
  SSL_set_fd(ssl_, server.fd());
  const auto start = std::chrono::system_clock::now();
  clock_speed = 50;
  EXPECT_EQ(SSL_Nblk_connect(ssl_, server.fd()), 0);
  clock_speed = 1;
  EXPECT_LT(std::chrono::system_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(BIO_get_callback(SSL_get_rbio(ssl_)), nullptr);
}

TEST_F(Handshake, EndsAtOnce) {
  const std::tuple<int, int, int, std::vector<LogLine>> cases[] = {
      {1, SSL_ERROR_SSL, 1, {kHandshakeSuccess}},
      {2, SSL_ERROR_SSL, 1, {kHandshakeSuccess}},
      {0, SSL_ERROR_NONE, 1, {}},
      {-1, SSL_ERROR_SSL, 0, {}},
      {0, SSL_ERROR_ZERO_RETURN, 0, {}},
      {-1, SSL_ERROR_WANT_X509_LOOKUP, 0, {}},
  };
  for (const auto &[result, error, expected, log] : cases) {
    system.clear_records();
    step(result, error);
    EXPECT_EQ(connect(), expected) << result << ' ' << error;
    EXPECT_EQ(system.log(), log);
    EXPECT_TRUE(system.calls().empty());
    EXPECT_FALSE(is_blocking(fd()));
    system.forget();
  }
}

TEST_F(Handshake, FailedWaits) {
  for (const auto &[result, is_exceptional] : {std::pair{0, false}, {-1, false}, {1, true}}) {
    for (const int error : {SSL_ERROR_WANT_READ, SSL_ERROR_WANT_WRITE}) {
      exceptional = is_exceptional;
      step(-1, error);
      system.answer("select", result);
      EXPECT_EQ(connect(), 0);
      EXPECT_TRUE(is_blocking(fd()));
      EXPECT_TRUE(system.log().empty());
    }
  }
}

TEST_F(Handshake, ADescriptorBeyondSelectIsAFailedWait) {
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, FD_SETSIZE + 1);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  const int high = fcntl(fd(), F_DUPFD, FD_SETSIZE);
  step(-1, SSL_ERROR_WANT_READ);
  EXPECT_EQ(SSL_Nblk_connect(ssl_, high), 0);
  EXPECT_TRUE(system.calls().empty());
  close(high);
}

// ---- Judgement ----------------------------------------------------------------------------------

constexpr std::time_t kDay = 86400;

// The server's certificate is made now, for 30 days; the device's clock is what the test sets.
class Judgement : public ::testing::Test {
 protected:
  static const Certificates &certificates() {
    static const Certificates all;
    return all;
  }
  // Connects to a server and judges it: -1 when the handshake fails. The flag tells that the device
  // has network time; without one it cannot be read.
  long judge(const std::string &certificate, const char *name, const char *flag = "1") {
    if (flag != nullptr) system.set_value("ip.ntp.time-acquired", flag);
    system.set_value("system.sku", "1");
    SSL_CTX *context = SSL_initialize("tls1.2");
    SSL *ssl = SSL_new(context);
    long result = -1;
    {
      const Server server([&](int fd) { serve_tls(fd, {certificate, certificates().key()}); });
      SSL_set_fd(ssl, server.fd());
      const int connected = SSL_Nblk_connect(ssl, server.fd());
      system.clear_records();
      if (connected == 1) result = SSL_check_cert(ssl, name);
    }
    SSL_free(ssl);
    SSL_CTX_free(context);
    return result;
  }
  // What is logged with a result.
  static std::vector<LogLine> said(long result) {
    if (result == 0) return {};
    return {error(std::string("SSL: ") + X509_verify_cert_error_string(result))};
  }

  void TearDown() override { EXPECT_EQ(open_descriptors(), descriptors_); }

  SystemDouble system;

 private:
  const int descriptors_ = open_descriptors();
};

TEST_F(Judgement, NameWithoutRegardToCaseAndNothingElse) {
  const std::string extensions =
      certificates().folder().write("extensions", "subjectAltName = DNS:other.example.net\n");
  const std::string certificate =
      certificates().issue("name", "/CN=acs.Example.net", "-days 30 -extfile " + extensions);
  const std::pair<const char *, long> names[] = {
      {"acs.Example.net", 0},   {"ACS.eXAMPLE.NET", 0},    {"acs.example.ne", 27},
      {"acs.example.net.", 27}, {"other.example.net", 27}, {"*.example.net", 27},
  };
  for (const auto &[name, result] : names) {
    EXPECT_EQ(judge(certificate, name), result) << name;
    EXPECT_EQ(system.log(), said(result));
  }
}

TEST_F(Judgement, WildcardsAndNoNames) {
  const std::string wild = certificates().issue("wild", "/CN=*.example.net");
  EXPECT_EQ(judge(wild, "acs.example.net"), 27);
  EXPECT_EQ(judge(wild, "*.EXAMPLE.net"), 0);
  EXPECT_EQ(judge(certificates().issue("none", "/O=Example"), ""), 27);
  EXPECT_EQ(judge("", "acs.example.net"), 27);  // no certificate at all
  EXPECT_EQ(system.log(), said(27));
}

TEST_F(Judgement, LongNamesAndNulInside) {
  const std::string name99(99, 'n');
  const std::string at99 = certificates().issue_named("99", name99);
  const std::string at100 = certificates().issue_named("100", name99 + "x");
  EXPECT_EQ(judge(at99, name99.c_str()), 0);
  EXPECT_EQ(judge(at100, name99.c_str()), 0);  // the peer's name is cut
  EXPECT_EQ(judge(at100, (name99 + "x").c_str()), 27);

  const std::string nul = certificates().issue_named("nul", std::string("acs.net\0.evil.net", 17));
  EXPECT_EQ(judge(nul, "acs.net"), 27);
}

TEST_F(Judgement, ClockAndTimeFlag) {
  const std::string certificate = certificates().issue("clock", "/CN=acs.net");
  const std::time_t now = time(nullptr);
  // The flag, null when it cannot be read; whether it stands for network time.
  const std::pair<const char *, bool> flags[] = {
      {nullptr, false}, {"0", false}, {"abc", false},
      {"1", true},      {"-1", true}, {"4294967296", true},
  };
  for (const auto &[flag, has_time] : flags) {
    SCOPED_TRACE(flag != nullptr ? flag : "unreadable");
    const std::tuple<std::time_t, const char *, long> cases[] = {
        {now, "acs.net", 0},
        {now + 60 * kDay, "acs.net", 10},
        {now - 60 * kDay, "ACS.net", has_time ? 9 : 0},
        {now - 60 * kDay, "other.net", has_time ? 9 : 27},
    };
    for (const auto &[clock, name, result] : cases) {
      system.set_time(clock);
      EXPECT_EQ(judge(certificate, name, flag), result);
      std::vector<LogLine> log = said(result);
      if (flag == nullptr) log.insert(log.begin(), error("Failed to get NTP time acquired"));
      EXPECT_EQ(system.log(), log);
    }
  }
}

TEST_F(Judgement, Chains) {
  const Certificates &all = certificates();
  const std::string self_signed = all / "self.pem", stranger = all / "stranger.pem";
  const std::string enter = "cd " + all.folder().path() + " && openssl req -subj /CN=";
  shell(enter + "acs.net -x509 -key " + all.key() + " -days 9 -out self.pem");
  shell(enter + "Stranger -x509 -newkey rsa:2048 -nodes -keyout ca.key -days 9 -out ca.pem");
  shell(enter + "acs.net -new -key " + all.key() + " | openssl x509 -req -days 9 -CA ca.pem" +
        " -CAkey ca.key -set_serial 1 -out stranger.pem");
  // Signed by a stranger under the name of a trusted root.
  shell(enter + "'Stand-in for Brio root CA' -x509 -key ca.key -days 9 -out ca.pem");
  shell(enter + "acs.net -new -key " + all.key() + " | openssl x509 -req -days 9 -CA ca.pem" +
        " -CAkey ca.key -set_serial 1 -out forged.pem");
  // The issuer is trusted, but no authority.
  shell(enter + "acs.net -new -key " + all.key() + " | openssl x509 -req -days 9 -CA " +
        all.issue("middle", "/CN=middle") + " -CAkey " + all.key() +
        " -set_serial 1 >no-authority.pem && cat middle.pem >>no-authority.pem");
  const std::string sha1 = all.issue("sha1", "/CN=acs.net", "-days 9 -sha1");
  constexpr std::time_t kNow = 0, kBeforeAnyRoot = kDay;
  const std::tuple<std::string, std::time_t, long> cases[] = {
      {all.issue("md5", "/CN=acs.net", "-days 9 -md5"), kNow, 0},
      {sha1, kNow, 0},
      {sha1, kBeforeAnyRoot, 0},
      {all / "forged.pem", kNow, X509_V_ERR_CERT_SIGNATURE_FAILURE},
      {all / "forged.pem", kBeforeAnyRoot, X509_V_ERR_CERT_SIGNATURE_FAILURE},
      {self_signed, kBeforeAnyRoot, X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT},
      {stranger, kBeforeAnyRoot, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY},
      {all / "no-authority.pem", kNow, X509_V_ERR_INVALID_CA},
  };
  for (const auto &[certificate, clock, error] : cases) {
    SCOPED_TRACE(certificate);
    system.set_time(clock);
    // The number is that of OpenSSL 1.0, whatever the text is found by.
    EXPECT_EQ(judge(certificate, "acs.net", "0"), error == X509_V_ERR_INVALID_CA ? 24 : error);
    EXPECT_EQ(system.log(), said(error));
  }
}

// The server gets the device's own certificate, signed for with its 512-bit key, although it would
// rather have a digest that is too long for that.
TEST_F(Judgement, TheServerMayAskForTheDevicesCertificate) {
  const std::string certificate = certificates().issue("asks", "/CN=acs.net");
  for (const auto &[word, version] :
       {std::pair{"tls1", TLS1_VERSION}, {"tls1.1", TLS1_1_VERSION}, {"tls1.2", TLS1_2_VERSION}}) {
    SCOPED_TRACE(word);
    system.set_value("system.sku", "1");
    SSL_CTX *context = SSL_initialize(word);
    SSL *ssl = SSL_new(context);
    const ServerOptions side = {certificate, certificates().key(), version, true};
    const Server server([&](int fd) { serve_tls(fd, side); });
    SSL_set_fd(ssl, server.fd());
    EXPECT_EQ(SSL_Nblk_connect(ssl, server.fd()), 1);
    EXPECT_EQ(SSL_version(ssl), version);
    int off = 0;
    ioctl(server.fd(), FIONBIO, &off);
    char received[1000] = {};
    const int size = SSL_read(ssl, received, sizeof received);
    EXPECT_EQ(std::string(received, size > 0 ? size : 0),
              std::string(reinterpret_cast<const char *>(client_cert), sizeof client_cert));
    // The server goes without close_notify then.
    shutdown(server.fd(), SHUT_WR);
    EXPECT_EQ(SSL_get_error(ssl, SSL_read(ssl, received, sizeof received)),
              OPENSSL_VERSION_NUMBER < 0x30000000L ? SSL_ERROR_SYSCALL : SSL_ERROR_SSL);
    ERR_clear_error();
    SSL_free(ssl);
    SSL_CTX_free(context);
  }
}

}  // namespace
}  // namespace talvera::test
