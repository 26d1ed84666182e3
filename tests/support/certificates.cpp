// Certificates for tests: the openssl command and its files.
#include "support/certificates.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <array>
#include <cstdio>

namespace talvera::test {

std::string shell(const std::string &command) {
  // The command is not to see the configuration that a test gives to its own OpenSSL.
  FILE *output = popen(("unset OPENSSL_CONF; { " + command + "; } 2>/dev/null").c_str(), "r");
  std::string text;
  std::array<char, 4096> buffer;
  while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), output))
    text.append(buffer.data(), got);
  EXPECT_EQ(pclose(output), 0) << command;
  return text;
}

Certificates::Certificates() {
  // One for the whole program: finding its primes takes an emulated machine seconds.
  static const std::string key = shell("openssl genrsa 2048");
  folder_.write("key.pem", key);
  shell("openssl x509 -inform DER -in " TALVERA_STAND_INS "/06-brio.der -out " +
        *this / "root.pem");
}

std::string Certificates::issue(const std::string &name, const std::string &subject,
                                const std::string &options) const {
  const std::string path = *this / (name + ".pem");
  shell("openssl req -new -utf8 -key " + key() + " -subj '" + subject +
        "' | openssl x509 -req -set_serial 7 -CA " + *this / "root.pem" +
        " -CAkey " TALVERA_STAND_INS "/06-brio.key.pem -out " + path + " " + options);
  return path;
}

std::string Certificates::issue_named(const std::string &name,
                                      const std::string &common_name) const {
  const std::string path = issue(name, "/O=to be replaced");
  FILE *file = std::fopen(path.c_str(), "r");
  X509 *certificate = PEM_read_X509(file, nullptr, nullptr, nullptr);
  std::fclose(file);
  file = std::fopen(TALVERA_STAND_INS "/06-brio.key.pem", "r");
  EVP_PKEY *issuer = PEM_read_PrivateKey(file, nullptr, nullptr, nullptr);
  std::fclose(file);

  X509_NAME *subject = X509_NAME_new();
  X509_NAME_add_entry_by_NID(
      subject, NID_commonName, V_ASN1_UTF8STRING,
      reinterpret_cast<unsigned char *>(const_cast<char *>(common_name.data())),
      static_cast<int>(common_name.size()), -1, 0);
  X509_set_subject_name(certificate, subject);
  EXPECT_GT(X509_sign(certificate, issuer, EVP_sha256()), 0);
  file = std::fopen(path.c_str(), "w");
  PEM_write_X509(file, certificate);
  std::fclose(file);
  X509_NAME_free(subject);
  X509_free(certificate);
  EVP_PKEY_free(issuer);
  return path;
}

}  // namespace talvera::test
