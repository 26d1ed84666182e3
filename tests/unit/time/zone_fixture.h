// The local zone of a test.
#pragma once

#include <cstdlib>
#include <ctime>

namespace talvera::test {

// Sets TZ while it lives, without tzset(): the library is to notice by itself.
class LocalZone {
 public:
  explicit LocalZone(const char *zone) { setenv("TZ", zone, 1); }
  ~LocalZone() {
    unsetenv("TZ");
    tzset();
  }
  LocalZone(const LocalZone &) = delete;
  LocalZone &operator=(const LocalZone &) = delete;
};

}  // namespace talvera::test
