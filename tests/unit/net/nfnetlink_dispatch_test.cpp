// Attribute tables and the dispatch of messages, well-formed and not.
#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>

#include "support/errors.h"
#include "unit/net/fixture.h"

namespace talvera::test {
namespace {

using ::testing::ElementsAre;

// The offsets of the attributes in a table of `size` entries, -1 for none; guarded on both sides.
std::vector<int> parse(const Bytes &bytes, int size) {
  const std::vector<char> exact(bytes.begin(), bytes.end());
  const auto *first = reinterpret_cast<const nlattr *>(exact.empty() ? "" : exact.data());
  std::vector<const nlattr *> table(static_cast<std::size_t>(size) + 2, first + 1000);
  EXPECT_EQ(nfnetlink_msg_parse_attr(table.data() + 1, size, first, static_cast<int>(bytes.size())),
            0);
  EXPECT_EQ(table.front(), first + 1000);
  EXPECT_EQ(table.back(), first + 1000);
  std::vector<int> offsets;
  for (auto at = table.begin() + 1; at != table.end() - 1; ++at) {
    offsets.push_back(*at == nullptr ? -1
                                     : static_cast<int>(reinterpret_cast<const char *>(*at) -
                                                        reinterpret_cast<const char *>(first)));
  }
  return offsets;
}

TEST(NetlinkAttributes, ByTypeTheLastOfEach) {
  const Bytes one = attribute(1, "a");
  EXPECT_THAT(parse(one + attribute(3, "12345") + attribute(2, ""), 3), ElementsAre(0, 20, 8));
  EXPECT_THAT(parse(one + attribute(2, "x") + attribute(0x8001, "b"), 2), ElementsAre(16, 8));
  EXPECT_THAT(parse(attribute(0, "a") + attribute(0x7FFF, "b") + attribute(3, "c") + one, 2),
              ElementsAre(24, -1));
  EXPECT_THAT(parse("", 2), ElementsAre(-1, -1));
}

TEST(NetlinkAttributes, StopWhereTheLengthsGoWrong) {
  const Bytes one = attribute(1, "abcd");
  const Bytes two = attribute(2, "abcd");
  for (const Bytes &broken : {u16(3) + u16(2) + "abcd", u16(9) + u16(2) + "abcd",
                              u16(0xFFFF) + u16(2) + "abcd", two.substr(0, 4), two.substr(0, 3)}) {
    EXPECT_THAT(parse(one + broken, 2), ElementsAre(0, -1));
    EXPECT_THAT(parse(broken, 2), ElementsAre(-1, -1));
  }
  // The last attribute needs no aligning bytes.
  EXPECT_THAT(parse(one + u16(5) + u16(2) + "x", 2), ElementsAre(0, 8));
  EXPECT_THAT(parse(one + u16(4) + u16(2), 2), ElementsAre(0, 8));
}

class NetlinkDispatch : public NetlinkTest {
 protected:
  NetlinkDispatch() : calls(*this, 16, 3, 4) {}
  // A message of the recorded type.
  static Bytes recorded(const Bytes &attributes = "") {
    return message(0x1001, Bytes(4, '\0') + attributes);
  }
  int last_result(const Bytes &bytes, std::size_t expected_calls) {
    calls.made.clear();
    const int result = unpack(bytes);
    EXPECT_EQ(calls.made.size(), expected_calls);
    return result;
  }
  Calls calls;
};

TEST_F(NetlinkDispatch, CallsTheHandlerOfTheType) {
  const Bytes bytes =
      message(0x1001, Bytes("\2\0\0\7", 4) + attribute(3, "abc") + attribute(4, "d"));
  EXPECT_EQ(nfnetlink_msg_unpack(handle, bytes.data(), static_cast<int>(bytes.size())), 1);
  ASSERT_EQ(calls.made.size(), 1U);
  EXPECT_EQ(reinterpret_cast<const char *>(calls.made[0].message), bytes.data());
  const auto attribute_at = [&](int offset) {
    return reinterpret_cast<const nlattr *>(bytes.data() + offset);
  };
  EXPECT_THAT(calls.made[0].attributes,
              ElementsAre(nullptr, nullptr, attribute_at(20), attribute_at(28)));
}

TEST_F(NetlinkDispatch, HandlersDecideHowItGoesOn) {
  const Bytes three = recorded() + recorded() + recorded();
  for (const auto &[results, calls_made, result] :
       std::vector<std::tuple<std::vector<int>, std::size_t, int>>{
           {{1, 1, 1}, 3, 1}, {{1, 1, 9}, 3, 9}, {{9, 0, 1}, 2, 0}, {{1, -5, 1}, 2, -5}}) {
    calls.results = results;
    EXPECT_EQ(last_result(three, calls_made), result);
  }
}

TEST_F(NetlinkDispatch, ControlMessages) {
  const auto number = [](std::uint16_t type, std::uint16_t flags, std::uint32_t value) {
    return message(type, u32(value), 0, flags);
  };
  for (const auto &[bytes, calls_made, result] : {
           std::tuple{number(2, 0, 0) + recorded(), 0U, 0},
           {number(2, 0, static_cast<std::uint32_t>(-EPERM)), 0, 1},
           {number(2, 0, 1) + recorded(), 1, 1},
           {number(2, 0, 0x80000000) + number(2, 0, 0), 0, 0},
           {number(3, 2, 0) + recorded(), 0, 0},
           {number(3, 0xFFFF, 5) + recorded(), 1, 1},
           {number(3, 0xFFFD, 0), 0, -1},  // not the end of several parts: an unknown type
           {number(1, 2, 0), 0, -1},
           {number(4, 2, 0), 0, -1},
           // Too short for its number, even with bytes behind it.
           {message(2, Bytes(3, '\0')), 0, -1},
           {message(3, "", 0, 2) + recorded(), 0, -1},
       }) {
    EXPECT_EQ(last_result(bytes, calls_made), result) << ::testing::PrintToString(bytes);
  }
}

TEST_F(NetlinkDispatch, WhatHasNoCallback) {
  calls.slot->callbacks[2] = {calls.slot->callbacks[1].handler, &calls, 0};
  calls.slot->callbacks[0] = {nullptr, nullptr, 4};
  const Bytes general(4, '\0');
  EXPECT_EQ(last_result(message(0x1000, general) + recorded(), 1), 1);   // no handler
  EXPECT_EQ(last_result(message(0x1002, general), 0), 1);                // no attributes
  EXPECT_EQ(last_result(message(0x1003, general) + recorded(), 0), -1);  // beyond the callbacks
  EXPECT_EQ(last_result(message(0x0F00, general), 0), -1);               // a free slot
  EXPECT_EQ(last_result(message(0x1101, general), 0), -1);               // no such slot
  EXPECT_EQ(last_result(message(0x1001, "abc") + Bytes(1, '\0') + recorded(), 0), -1);  // too short
  nfnetlink_subsys_close(calls.slot);
  EXPECT_EQ(last_result(recorded(), 0), -1);
}

TEST_F(NetlinkDispatch, MessagesStartOnFourByteBoundaries) {
  const Bytes odd = recorded("x");  // 21 bytes
  EXPECT_EQ(last_result(odd + "###" + recorded(), 2), 1);
  for (const char *aligning : {"", "##", "###"})
    EXPECT_EQ(last_result(odd + aligning, 1), 1);
  // From any address: the message is where it was given.
  const Bytes shifted = "#" + odd + "###" + recorded(attribute(2, "abc"));
  calls.made.clear();
  EXPECT_EQ(nfnetlink_msg_unpack(handle, shifted.data() + 1, static_cast<int>(shifted.size() - 1)),
            1);
  EXPECT_EQ(calls.made.size(), 2U);
}

TEST_F(NetlinkDispatch, LengthsThatLie) {
  const Bytes whole = recorded(attribute(1, "abcd"));
  calls.results = {7};
  for (std::size_t cut = 1; cut < whole.size(); ++cut) {
    EXPECT_EQ(last_result(whole.substr(0, cut), 0), 0) << cut;
    EXPECT_EQ(last_result(whole + whole.substr(0, cut), 1), 7) << cut;
  }
  for (const std::uint32_t length : {0U, 15U, 29U, 0x80000010U, 0xFFFFFFFFU}) {
    const Bytes lying = u32(length) + whole.substr(4);
    EXPECT_EQ(last_result(lying, 0), 0) << length;
    EXPECT_EQ(last_result(whole + lying, 1), 7) << length;
  }
  EXPECT_EQ(nfnetlink_msg_unpack(handle, whole.data(), -1), 0);
}

TEST_F(NetlinkDispatch, TablesOfAnySize) {
  for (const std::uint16_t size : {1, 64, 65, 65535}) {
    calls.slot->callbacks[1].attribute_count = size;
    const Bytes bytes = recorded(attribute(1, "a") + attribute(size & 0x7FFF, "z"));
    EXPECT_EQ(last_result(bytes, 1), 1);
    EXPECT_NE(calls.made[0].attributes[(size & 0x7FFFU) - 1], nullptr) << size;
  }
  calls.made.clear();
  const Bytes bytes = recorded();
  system.fail("malloc", ENOMEM);
  EXPECT_EQ(error_of(nfnetlink_msg_unpack(handle, bytes.data(), static_cast<int>(bytes.size()))),
            ENOMEM);
  EXPECT_TRUE(calls.made.empty());
}

// A handler may close its own subsystem.
TEST_F(NetlinkDispatch, SubsystemClosedByItsHandler) {
  const auto close = [](const nlmsghdr *, const nlattr *const *, void *data) {
    return nfnetlink_subsys_close(static_cast<nfnetlink_subsys *>(data)) + 1;
  };
  calls.slot->callbacks[1] = {close, calls.slot, 100};
  EXPECT_EQ(last_result(recorded() + recorded(), 0), -1);
}

}  // namespace
}  // namespace talvera::test
