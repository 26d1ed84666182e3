// Shell commands: result codes, the cut, and the note of a failure.
#include <gtest/gtest.h>

#include <cerrno>
#include <cwchar>
#include <string>

#include "support/system_double.h"
#include "talvera/utils.h"

namespace talvera::test {
namespace {

LogLine note(int code, const std::string &command) {
  return {"sdb", 7, "sdb_system (ret " + std::to_string(code) + "): " + command};
}

TEST(Command, ResultIsTheExitCodeAndFailuresAreLogged) {
  for (const auto &[command, code] : {std::pair{"exit 0", 0},
                                      {"exit 255", 255},
                                      {"kill -9 $$", 0},  // no exit code
                                      {"/no/such/program 2>/dev/null", 127}}) {
    SystemDouble system;
    EXPECT_EQ(sdb_system("%s", command), code) << command;
    EXPECT_EQ(system.log(), std::vector<LogLine>(code != 0 ? 1 : 0, note(code, command)));
    EXPECT_EQ(system.calls(), Texts({std::string("system ") + command}));
  }
  SystemDouble system;  // a command that cannot be run
  system.fail("system", EAGAIN);
  EXPECT_EQ(sdb_system("iptables -t %s", "nat"), EAGAIN);
  EXPECT_EQ(system.log(), std::vector<LogLine>({note(EAGAIN, "iptables -t nat")}));
}

TEST(Command, LongCommandsAreCut) {
  SystemDouble system;
  system.answer("system", 0, 0, kAlways);
  EXPECT_EQ(sdb_system("%s%s", std::string(511, 'a').c_str(), "b"), 0);
  EXPECT_EQ(system.calls(), Texts({"system " + std::string(511, 'a')}));

  system.clear_records();
  // A character that the locale has no bytes for: there is no text, and nothing is run.
  EXPECT_EQ(sdb_system("rm -r /tmp/%lc", wint_t{0x20AC}), EILSEQ);
  EXPECT_EQ(system.calls(), Texts());
}

}  // namespace
}  // namespace talvera::test
