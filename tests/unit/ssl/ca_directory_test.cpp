// Links of the CA directory.
#include <dirent.h>

#include <climits>
#include <map>

#include "support/certificates.h"
#include "talvera/ssl.h"
#include "unit/ssl/fixture.h"

namespace talvera::test {
namespace {

using Links = std::map<std::string, std::string>;  // name and target; empty for no link

class CaDirectory : public VarTest {
 protected:
  static Links links() {
    Links found;
    DIR *directory = opendir("/var/etc/ssl");
    while (const dirent *entry = readdir(directory)) {
      const std::string name = entry->d_name;
      if (name == "." || name == "..") continue;
      char target[PATH_MAX] = {};
      static_cast<void>(readlink(("/var/etc/ssl/" + name).c_str(), target, sizeof target - 1));
      found[name] = target;
    }
    closedir(directory);
    return found;
  }
  static const Certificates &certificates() {
    static const Certificates all;
    static const std::string first = all.issue("first", "/CN=first");
    static const std::string same = all.issue("same", "/CN=first", "-days 3");
    return all;
  }
  static std::string hash_link() {
    static const std::string hash =
        shell("openssl x509 -noout -subject_hash -in " + certificates() / "first.pem");
    return hash.substr(0, 8) + ".0";
  }

  const std::string first = certificates() / "first.pem";
  const std::string same = certificates() / "same.pem";
  SystemDouble system;
};

TEST_F(CaDirectory, LinksACertificateAndItsHash) {
  EXPECT_EQ(SSL_cert_rehash(first.c_str(), "/var/etc/ssl/first.pem"), 1);
  const Links expected = {{"first.pem", first}, {hash_link(), "./first.pem"}};
  EXPECT_EQ(links(), expected);
  EXPECT_EQ(SSL_cert_rehash(first.c_str(), "/var/etc/ssl/first.pem"), 0);  // is there
  EXPECT_EQ(links(), expected);

  // A second certificate of that subject leaves the hash link alone; there is no ".1".
  EXPECT_EQ(SSL_cert_rehash(same.c_str(), "/var/etc/ssl/same.pem"), 1);
  EXPECT_EQ(links(),
            (Links{{"first.pem", first}, {hash_link(), "./first.pem"}, {"same.pem", same}}));
  EXPECT_TRUE(system.log().empty());
}

TEST_F(CaDirectory, WhateverIsThereStays) {
  ASSERT_EQ(symlink("/nowhere", "/var/etc/ssl/dangling"), 0);
  write("/var/etc/ssl/file", "");
  for (const char *path : {"/var/etc/ssl/dangling", "/var/etc/ssl/file"}) {
    EXPECT_EQ(SSL_cert_rehash(first.c_str(), path), 0);
    EXPECT_EQ(links(), (Links{{"dangling", "/nowhere"}, {"file", ""}}));
  }
}

TEST_F(CaDirectory, ALinkThatCannotBeMadeIsLogged) {
  EXPECT_EQ(SSL_cert_rehash(first.c_str(), "/var/etc/ssl/no/such"), 0);
  EXPECT_THAT(system.log(),
              ::testing::ElementsAre(error("SSL_CACERTDIR: failed linking /var/etc/ssl/no/such")));
  EXPECT_TRUE(links().empty());
}

// Nobody writes to the FIFO: it is not waited for.
TEST_F(CaDirectory, WhatIsNoCertificateHashesToZero) {
  ASSERT_EQ(mkfifo("/var/fifo", 0600), 0);
  for (const char *path : {"/etc/passwd", "/etc", "/var/fifo"}) {
    EXPECT_EQ(SSL_cert_rehash(path, "/var/etc/ssl/words"), 1);
    EXPECT_EQ(links(), (Links{{"words", path}, {"00000000.0", "./words"}}));
    unlink("/var/etc/ssl/words");
    unlink("/var/etc/ssl/00000000.0");
  }
}

TEST_F(CaDirectory, LongNamesAreCut) {
  const std::string name(255, 'n');
  EXPECT_EQ(SSL_cert_rehash(first.c_str(), ("/var/etc/ssl/" + name).c_str()), 1);
  EXPECT_EQ(links()[hash_link()], "./" + std::string(252, 'n'));
}

TEST_F(CaDirectory, AVanishedCertificateTakesEveryDanglingLinkWithIt) {
  write("/var/first.pem", read_file(first));
  write("/var/etc/ssl/file", "");
  ASSERT_EQ(mkdir("/var/etc/ssl/folder", 0755), 0);
  ASSERT_EQ(symlink("/nowhere", "/var/etc/ssl/dangling"), 0);
  ASSERT_EQ(symlink("./dangling", "/var/etc/ssl/chain"), 0);
  ASSERT_EQ(symlink("/etc/passwd", "/var/etc/ssl/good"), 0);
  // With its folder before it, the last name that is not cut, and the first that is.
  const std::string longest(241, 'l');
  ASSERT_EQ(symlink("/nowhere", ("/var/etc/ssl/" + longest).c_str()), 0);
  ASSERT_EQ(symlink("/nowhere", ("/var/etc/ssl/+" + longest).c_str()), 0);
  ASSERT_EQ(SSL_cert_rehash("/var/first.pem", "/var/etc/ssl/first.pem"), 1);
  ASSERT_EQ(links().size(), 9U);

  ASSERT_EQ(unlink("/var/first.pem"), 0);
  EXPECT_EQ(SSL_cert_rehash("/var/first.pem", "/var/etc/ssl/other.pem"), 0);  // nothing there
  EXPECT_EQ(links().size(), 9U);
  EXPECT_EQ(SSL_cert_rehash("/var/first.pem", "/var/etc/ssl/first.pem"), 1);
  EXPECT_EQ(
      links(),
      (Links{{"+" + longest, "/nowhere"}, {"file", ""}, {"folder", ""}, {"good", "/etc/passwd"}}));
  EXPECT_EQ(SSL_cert_rehash("/var/first.pem", "/var/etc/ssl/first.pem"), 0);
  EXPECT_TRUE(system.log().empty());
}

TEST_F(CaDirectory, RemovalThatFails) {
  ASSERT_EQ(symlink("/nowhere", "/var/etc/ssl/dangling"), 0);
  EXPECT_EQ(SSL_cert_rehash("/nowhere", "/var/etc/ssl"), 0);  // a directory cannot be unlinked
  EXPECT_EQ(links().size(), 1U);

  // A directory that cannot be listed: the link is gone, all else stays.
  write("/var/etc/ssl/file", "");
  ASSERT_EQ(rename("/var/etc/ssl", "/var/etc/moved"), 0);
  EXPECT_EQ(SSL_cert_rehash("/nowhere", "/var/etc/moved/file"), 1);
  ASSERT_EQ(rename("/var/etc/moved", "/var/etc/ssl"), 0);
  EXPECT_EQ(links(), (Links{{"dangling", "/nowhere"}}));
}

TEST_F(CaDirectory, AShortLinkPathIsNoOverrun) {
  ASSERT_EQ(chdir("/var"), 0);
  EXPECT_EQ(SSL_cert_rehash(first.c_str(), "x"), 1);
  EXPECT_EQ(links(), (Links{{hash_link(), "./"}}));
  ASSERT_EQ(chdir("/"), 0);
}

}  // namespace
}  // namespace talvera::test
