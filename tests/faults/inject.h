// Fault injection: a scenario is run again and again, with the first, the second, ... allocation or
// system call of each kind failing, until it runs through. Each run must end soon, with one of the
// results that the scenario lists; no descriptor may be left open, nothing mounted, no block lost.
#pragma once

#include <string>
#include <vector>

#include "support/netlink_double.h"
#include "support/system_double.h"

namespace talvera::test {

// What every scenario finds: a factory file with a certificate blob, files in a folder with their
// database, and a kernel that acknowledges netlink requests.
struct World {
  World();

  // Runs a part of the scenario that is the test's own: no fault hits it.
  template <typename Call>
  static auto quietly(Call call) {
    const Quiet quiet;
    return call();
  }
  [[nodiscard]] static std::string content(const std::string &path) {
    return quietly([&] { return read_file(path); });
  }
  [[nodiscard]] const char *directory() const { return folder.path().c_str(); }

  TempDir folder;
  SystemDouble system;
  NetlinkDouble kernel;
  // Paths: two files of kText, the database, a traceroute's output, and one where nothing is.
  const std::string a = folder / "a", b = folder / "b", order = folder / ".order",
                    hops = folder / "hops", fresh = folder / "fresh";
  const std::string blob;         // in slot 1
  const std::string factory;      // path of the factory file
  const std::string log_message;  // a netlink message of subsystem 1, type 1
};

inline constexpr char kText[] = "sixteen bytes...";
inline constexpr char kOrder[] = "#1:2\n1:1:0:b\n2:0:4:a\n";

// A result of no function: what a scenario gives when an outcome is not what the result says.
inline constexpr long kWrong = -99;

struct Scenario {
  const char *name;
  std::vector<long> results;  // without a fault the first one
  long (*run)(World &);
  bool memory = true;  // whether allocations fail too
};

void inject(const std::vector<Scenario> &scenarios);

}  // namespace talvera::test
