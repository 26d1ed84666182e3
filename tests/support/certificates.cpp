// Certificates for tests: the openssl command and its files.
#include "support/certificates.h"

#include <gtest/gtest.h>

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
  shell("openssl genrsa -out " + key() + " 2048");
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

}  // namespace talvera::test
