// Certificates for tests, made with the openssl command as an administrator would.
#pragma once

#include <string>
#include <string_view>

#include "support/temp_dir.h"

namespace talvera::test {

// Runs a shell command and returns what it prints; a command that fails fails the test.
std::string shell(const std::string &command);

// A folder of certificates that share one RSA key, issued by the stand-in for the maker's own root.
class Certificates {
 public:
  Certificates();

  // The path of a file in the folder.
  [[nodiscard]] std::string operator/(std::string_view name) const { return folder_ / name; }
  [[nodiscard]] const TempDir &folder() const { return folder_; }

  // Issues NAME.pem for a subject such as "/CN=acs.example.net", valid from now on for 30 days, and
  // returns its path. Options are those of "openssl x509 -req".
  std::string issue(const std::string &name, const std::string &subject,
                    const std::string &options = "-days 30") const;
  // The same with a common name of any bytes and any length.
  std::string issue_named(const std::string &name, const std::string &common_name) const;
  // The key of all of them.
  [[nodiscard]] std::string key() const { return folder_ / "key.pem"; }

 private:
  TempDir folder_;
};

}  // namespace talvera::test
