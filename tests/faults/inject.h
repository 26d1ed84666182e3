// Fault injection: runs a scenario repeatedly, with its first, second, ... allocation or system
// call failing, until a run has no more to fail. Each run must end in time with a result that the
// scenario lists, close all descriptors, unmount the partition and leak no memory.
#pragma once

#include <string>
#include <vector>

#include "support/netlink_double.h"
#include "support/system_double.h"

namespace talvera::test {

// The starting point of every scenario: a manufacturing file with a certificate blob, a folder of
// files with its database, and a kernel that acknowledges netlink requests.
struct Fixture {
  Fixture();

  TempDir folder;
  SystemDouble system;
  NetlinkDouble kernel;
  const std::string blob;  // in slot 1
  const std::string mfg_file = system.platform().flash_directory() + "/mfg.dat";
  // Two files of kText, the database, traceroute's output, and a path without a file.
  const std::string a = folder.write("a", kText), b = folder.write("b", kText),
                    order = folder.write(".order", kOrder), hops = folder.write("hops", kHops),
                    fresh = folder / "fresh";
  const char *const directory = folder.path().c_str();

  static constexpr char kText[] = "sixteen bytes...";
  static constexpr char kOrder[] = "#1:2\n1:1:0:b\n2:0:4:a\n";
  static constexpr char kHops[] = "traceroute to b (192.0.2.9)\n 1  b (192.0.2.9)  1.5 ms\n";
};

// Returned by a scenario, and by no function, when a side effect contradicts the result.
inline constexpr long kWrong = -99;

struct Scenario {
  const char *name;
  std::vector<long> results;  // the first is the result without faults
  long (*run)(Fixture &);
  bool memory = true;  // whether allocations can fail
};

void inject(const std::vector<Scenario> &scenarios);

}  // namespace talvera::test
