// What the netlink tests share: a handle whose socket leads to the netlink double, and a recording
// handler.
#pragma once

#include <gmock/gmock.h>

#include <vector>

#include "support/netlink_double.h"
#include "talvera/nfnetlink.h"

namespace talvera::test {

class NetlinkTest : public ::testing::Test {
 protected:
  NetlinkTest() : handle(nfnetlink_open()) { system.clear_records(); }
  ~NetlinkTest() override { nfnetlink_close(handle); }

  // Dispatches from a heap copy of exactly these bytes, so that reading on is noticed.
  int unpack(const Bytes &bytes) const {
    const std::vector<char> exact(bytes.begin(), bytes.end());
    return nfnetlink_msg_unpack(handle, exact.data(), static_cast<int>(exact.size()));
  }

  SystemDouble system;
  NetlinkDouble kernel;
  nfnetlink_handle *handle;

  // Opens a subsystem whose message type 1 is recorded, and answered with the next result.
  struct Calls {
    Calls(NetlinkTest &test, unsigned id, unsigned callback_count, std::uint16_t attribute_count)
        : slot(nfnetlink_subsys_open(test.handle, id, callback_count, 0)) {
      slot->callbacks[1] = {record, this, attribute_count};
    }

    struct Call {
      const nlmsghdr *message;
      std::vector<const nlattr *> attributes;
    };
    nfnetlink_subsys *slot;
    std::vector<Call> made;
    std::vector<int> results;  // 1 when there is none left

   private:
    static int record(const nlmsghdr *message, const nlattr *const *attributes, void *data) {
      const Quiet quiet;
      auto &calls = *static_cast<Calls *>(data);
      const std::size_t count = calls.slot->callbacks[1].attribute_count;
      calls.made.push_back({message, {attributes, attributes + count}});
      return calls.made.size() <= calls.results.size() ? calls.results[calls.made.size() - 1] : 1;
    }
  };
};

}  // namespace talvera::test
