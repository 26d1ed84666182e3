// Fault injection: a scenario is run again and again, with the first, the second, ... of its
// allocations and system calls failing, until it runs through. Each run must end soon, with one of
// the results that the scenario lists; no descriptor may be left open, nothing mounted, no block
// lost.
#pragma once

#include <string>
#include <vector>

#include "support/netlink_double.h"
#include "support/system_double.h"

namespace talvera::test {

// What every scenario finds: a manufacturing file with a certificate blob, files in a folder with
// their database, and a kernel that acknowledges netlink requests.
struct Fixture {
  Fixture();

  TempDir folder;
  SystemDouble system;
  NetlinkDouble kernel;
  const std::string blob;  // in slot 1
  const std::string mfg_file = system.platform().flash_directory() + "/mfg.dat";
  // Two files of kText, the database, a traceroute's output, and a path where nothing is.
  const std::string a = folder.write("a", kText), b = folder.write("b", kText),
                    order = folder.write(".order", kOrder), hops = folder.write("hops", kHops),
                    fresh = folder / "fresh";
  const char *const directory = folder.path().c_str();

  static constexpr char kText[] = "sixteen bytes...";
  static constexpr char kOrder[] = "#1:2\n1:1:0:b\n2:0:4:a\n";
  static constexpr char kHops[] = "traceroute to b (192.0.2.9)\n 1  b (192.0.2.9)  1.5 ms\n";
};

// A result of no function: what a scenario gives when an outcome is not what the result says.
inline constexpr long kWrong = -99;

struct Scenario {
  const char *name;
  std::vector<long> results;  // without a fault the first one
  long (*run)(Fixture &);
  bool memory = true;  // whether allocations fail too
};

void inject(const std::vector<Scenario> &scenarios);

}  // namespace talvera::test
