// Parsed certificates: fields of the subject, dates, bytes that are and are not a certificate.
#include <gmock/gmock.h>
#include <openssl/asn1.h>
#include <openssl/err.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>

#include "support/certificates.h"
#include "support/system_double.h"
#include "talvera/ssl.h"
#include "unit/ssl/fixture.h"

namespace talvera::test {
namespace {

const std::string &certificate() {
  static const std::string der = [] {
    const Certificates all;
    return shell("openssl x509 -outform DER -in " +
                 all.issue("fields",
                           "/O=Example Ltd/OU=Gateways/OU=Second/CN=unit.example.net/"
                           "serialNumber=GW-0042"));
  }();
  return der;
}

X509 *parse(const std::string &der) {
  return uc_make_x509(reinterpret_cast<const unsigned char *>(der.data()),
                      static_cast<long>(der.size()));
}

using Reader = int (*)(X509 *, char *, int);

TEST(CertificateFields, SubjectAttributes) {
  X509 *full = parse(certificate());
  // Has a serial number, but no attribute of that name.
  X509 *bare = parse(read_file(TALVERA_STAND_INS "/05-vasko.der"));
  ASSERT_TRUE(full != nullptr && bare != nullptr);
  const std::pair<Reader, const char *> cases[] = {
      {uc_get_common_name, "unit.example.net"},
      {uc_get_serial_number, "GW-0042"},
      {uc_get_organization_name, "Example Ltd"},
      {uc_get_organizational_unit_name, "Gateways"},
  };
  for (const auto &[read, text] : cases) {
    SCOPED_TRACE(text);
    const int length = static_cast<int>(std::strlen(text));
    for (const int room : {length + 2, length + 1, length, 1}) {
      char buffer[32];
      std::memset(buffer, '#', sizeof buffer);
      const int copied = std::min(length, room - 1);
      EXPECT_EQ(read(full, buffer, room), copied);
      EXPECT_EQ(std::string(buffer, copied + 2), std::string(text, copied) + '\0' + '#');
    }
    char untouched = '#';
    EXPECT_EQ(read(full, &untouched, 0), 0);
    EXPECT_EQ(read(full, &untouched, -1), 0);
    if (read != uc_get_common_name) {
      EXPECT_EQ(read(bare, &untouched, 0), -1);
    }
    EXPECT_EQ(untouched, '#');
  }
  X509_free(full);
  X509_free(bare);
}

// Asking for a date uses the certificate up, so it happens in a process of its own, whose failure
// is an exit status.
void in_a_child(const std::function<bool()> &check) {
  const pid_t child = fork();
  if (child == 0) _exit(check() ? 0 : 1);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

// A certificate with other dates, given as the text of an ASN.1 time of a type.
X509 *with_dates(int type, const char *before, const char *after) {
  X509 *cert = parse(certificate());
  const auto set = [type](ASN1_TIME *time, const char *text) {
    ASN1_STRING_set(time, text, -1);
    time->type = type;
  };
  set(X509_get_notBefore(cert), before);
  set(X509_get_notAfter(cert), after);
  return cert;
}

TEST(CertificateFields, Dates) {
  constexpr char kBefore[] = "Feb  3 04:05:06 2031 GMT";
  constexpr char kAfter[] = "Dec 31 23:59:59 1999 GMT";
  const std::tuple<Reader, int, std::string> cases[] = {
      {uc_get_notbefore, 40, kBefore},
      {uc_get_notbefore, 24, kBefore},
      {uc_get_notbefore, 23, "Feb  3 04:05:06 2031 GM"},
      {uc_get_notbefore, 0, ""},
      {uc_get_notafter, 40, kAfter},
      {uc_get_notafter, 10, "Dec 31 23:"},
  };
  for (const auto &[read, length, text] : cases) {
    SCOPED_TRACE(length);
    in_a_child([read = read, length = length, &text = text] {
      X509 *cert = with_dates(V_ASN1_UTCTIME, "310203040506Z", "991231235959Z");
      char buffer[64];
      std::memset(buffer, '#', sizeof buffer);
      const int count = read(cert, buffer, length);
      return count == static_cast<int>(text.size()) &&
             std::string(buffer, text.size() + 2) == text + '\0' + '#';
    });
  }
}

TEST(CertificateFields, DatesThatCannotBePrinted) {
  for (const Reader read : {uc_get_notbefore, uc_get_notafter}) {
    const std::tuple<int, const char *, int> cases[] = {
        {V_ASN1_UTCTIME, "311303040506Z", 40},  // month 13
        {V_ASN1_UTCTIME, "310232040506Z", 40},  // day 32
        {V_ASN1_GENERALIZEDTIME, "20510203040506Z", 40},
        {V_ASN1_GENERALIZEDTIME, "20110203040506Z", 40},  // could be read as November of 2020
        {V_ASN1_UTCTIME, "310203040506Z", -1},
    };
    for (const auto &[type, text, length] : cases) {
      SCOPED_TRACE(text);
      in_a_child([read, type = type, text = text, length = length] {
        char buffer[64] = "unchanged";
        return read(with_dates(type, text, text), buffer, length) == -1 &&
               std::strcmp(buffer, "unchanged") == 0 && ERR_peek_error() == 0;
      });
    }
  }
  in_a_child([] {
    X509 *cert = parse(certificate());
    char buffer[64];
    SystemDouble system;
    system.fail("malloc", ENOMEM).always();
    const int result = uc_get_notafter(cert, buffer, 40);
    system.forget();
    return result == -1;
  });
}

#ifdef __SANITIZE_ADDRESS__
// The object is released by the plain free(), which a second use of it shows.
TEST(CertificateFieldsDeathTest, ADateUsesTheCertificateUp) {
  ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
  for (const int length : {40, -1}) {
    EXPECT_DEATH(
        {
          X509 *cert = parse(certificate());
          char buffer[64];
          static_cast<void>(uc_get_notafter(cert, buffer, length));
          static_cast<void>(uc_get_notafter(cert, buffer, length));
        },
        "AddressSanitizer");
  }
}
#endif

TEST(CertificateFields, BytesOfACertificate) {
  const std::string &good = certificate();
  const auto size = static_cast<long>(good.size());
  const std::tuple<std::string, long, bool> cases[] = {
      {good, size, true},      {good + "more", size + 4, true},
      {good, size - 1, false}, {good, 0, false},
      {good, -1, false},       {"certificate", 11, false},
  };
  for (const auto &[bytes, length, valid] : cases) {
    const auto *der = reinterpret_cast<const unsigned char *>(bytes.data());
    EXPECT_EQ(SSL_IsCertValidFormat(der, length), valid ? 1 : 0) << length;
    X509 *cert = uc_make_x509(der, length);
    EXPECT_EQ(cert != nullptr, valid) << length;
    X509_free(cert);
    EXPECT_EQ(ERR_peek_error(), 0U);
  }
  EXPECT_EQ(SSL_IsCertValidFormat(nullptr, size), 0);
  EXPECT_EQ(uc_make_x509(nullptr, 0), nullptr);
}

TEST(CertificateFields, WholeFile) {
  const TempDir dir;
  const std::string content("bytes\0of a file", 15);
  dir.write("file", content);
  dir.write("empty", "");
  const int descriptors = open_descriptors();
  unsigned char *data = nullptr;
  SystemDouble system;
  ASSERT_EQ(uc_get_cert_data_from_file(&data, dir.path().c_str(), "file"), 15);
  EXPECT_EQ(system.count("read"), 1);
  EXPECT_EQ(std::string(reinterpret_cast<char *>(data), 15), content);
  std::free(data);

  system.shorten("read", 14);  // one read must bring it all
  for (const char *name : {"file", "missing", "empty"}) {
    data = reinterpret_cast<unsigned char *>(0x10);
    EXPECT_EQ(uc_get_cert_data_from_file(&data, dir.path().c_str(), name), 0) << name;
    EXPECT_EQ(data, nullptr);
  }
  EXPECT_EQ(open_descriptors(), descriptors);

  const StandardInput closed;
  data = reinterpret_cast<unsigned char *>(0x10);
  EXPECT_EQ(uc_get_cert_data_from_file(&data, dir.path().c_str(), "file"), 0);
  EXPECT_EQ(data, nullptr);
}

}  // namespace
}  // namespace talvera::test
