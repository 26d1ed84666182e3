// Value tables, printers and heap strings in a slot.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "talvera/values.h"
#include "unit/time/zone_fixture.h"

namespace talvera::test {
namespace {

constexpr ust_entry kEntries[] = {
    {6, "TCP"}, {17, "udp"}, {-5, "less"}, {6, "transmission"}, {1, "udp"}, {2, "tcp"},
};
constexpr ust_table kTable = {kEntries, 6};

TEST(ValueTable, TheFirstMatchWins) {
  EXPECT_STREQ(ust_lookup_name_by_value(&kTable, 6), "TCP");
  EXPECT_STREQ(ust_lookup_name_by_value(&kTable, -5), "less");
  EXPECT_EQ(ust_lookup_name_by_value(&kTable, 3), nullptr);
  EXPECT_EQ(ust_lookup_index_by_value(&kTable, 2), 5);
  EXPECT_EQ(ust_lookup_index_by_name(&kTable, "udp"), 1);
  EXPECT_EQ(ust_lookup_index_by_name(&kTable, "tc"), -1);
  EXPECT_EQ(ust_lookup_index_by_name(&kTable, "UDP"), -1);
  EXPECT_EQ(ust_lookup_index_by_name_i(&kTable, "tcp"), 0);
  EXPECT_EQ(ust_lookup_index_by_name_i(&kTable, "Less"), 2);
  EXPECT_EQ(ust_lookup_index_by_name_i(&kTable, "tcpx"), -1);
  EXPECT_EQ(ust_lookup_value_by_index(&kTable, 5), 2);
  EXPECT_EQ(ust_lookup_value_by_index(&kTable, 6), -1);
  EXPECT_EQ(ust_lookup_value_by_index(&kTable, static_cast<unsigned>(-1)), -1);
  EXPECT_EQ(ust_longest_strlen(&kTable), 12U);

  const ust_table empty = {nullptr, 0};
  EXPECT_EQ(ust_lookup_index_by_name_i(&empty, "tcp"), -1);
  EXPECT_EQ(ust_longest_strlen(&empty), 0U);
}

// A buffer of a size, with a guard behind it.
template <std::size_t Size>
struct Guarded {
  Guarded() { std::memset(bytes, 0xEE, sizeof bytes); }
  ~Guarded() { EXPECT_EQ(bytes[Size], '\xEE'); }
  operator char *() { return bytes; }
  char bytes[Size + 1];
};

TEST(Printers, NumbersAndAddresses) {
  EXPECT_STREQ(p_bool(0), "off");
  EXPECT_STREQ(p_bool(-1), "on");
  Guarded<20> address;
  EXPECT_EQ(p_ipad(address, inet_addr("192.168.100.254")), address.bytes);
  EXPECT_STREQ(address, "192.168.100.254");
  EXPECT_STREQ(p_ipad(address, 0), "0.0.0.0");
  Guarded<11> number;
  EXPECT_EQ(p_int(number, 70), number.bytes);
  EXPECT_STREQ(number, "70");
  EXPECT_STREQ(p_int(number, static_cast<unsigned>(-1)), "4294967295");

  Guarded<40> duration;
  EXPECT_EQ(p_secs(duration, 3, 45'000), duration.bytes);
  EXPECT_STREQ(duration, "3.045 seconds");
  EXPECT_STREQ(p_secs(duration, 4'294'967'295, 2'147'483'647), "4294967295.2147483 seconds");
  EXPECT_STREQ(p_secs(duration, 0, -5'999), "0.4294967291 seconds");
  p_secs(duration, ULONG_MAX, LONG_MIN);

  const char *const states[] = {"Idle",    "Wait",         "Pre-AdBreak", "Pre-AdBreak-2",
                                "AdBreak", "Post-AdBreak", "SS_ANY"};
  for (int i = 0; i < 7; ++i)
    EXPECT_STREQ(p_enum(i, enum_ad_states), states[i]);
}

TEST(Printers, TimesAreLocal) {
  Guarded<64> text;
  Guarded<80> date;
  {
    const LocalZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(p_time(text, 1'700'000'000), text.bytes);
    EXPECT_STREQ(text, "Tue Nov 14 23:13:20 CET 2023");
    EXPECT_STREQ(p_time(text, 1'690'000'000), "Sat Jul 22 06:26:40 CEST 2023");
    EXPECT_STREQ(p_time(text, -1), "Thu Jan 01 00:59:59 CET 1970");
    EXPECT_EQ(mkstr_date(1'700'000'000, date), 20U);
    EXPECT_STREQ(date, "11/14/23 23:13:20 PM");
    EXPECT_EQ(mkstr_date(0, date), 20U);
    EXPECT_STREQ(date, "01/01/70 01:00:00 AM");
  }
  text.bytes[0] = 'x';
  EXPECT_STREQ(p_time(text, 0), "(never)");
  EXPECT_EQ(text.bytes[0], 'x');

  // "Tue Nov 14 22:13:20 ", the zone's name and " 2023": 63 characters fit.
  const std::string name(63 - 25, 'Z');
  bool long_names = false;  // not every C library has them
  {
    const LocalZone zone(("<" + name + ">0").c_str());
    const std::size_t length = std::strlen(p_time(text, 1'700'000'000));
    long_names = name == tzname[0];
    EXPECT_EQ(length, long_names ? 63U : 28U);
  }
  if (long_names) {
    const LocalZone zone(("<" + name + "Z>0").c_str());
    EXPECT_STREQ(p_time(text, 1'700'000'000), "");
  }
  if (sizeof(time_t) > 4) {  // a year beyond what a calendar record holds
    EXPECT_STREQ(p_time(text, static_cast<time_t>(INT64_MAX)), "");
    EXPECT_EQ(mkstr_date(static_cast<time_t>(INT64_MAX), date), 0U);
    EXPECT_STREQ(date, "");
  }
}

TEST(Strings, ReplaceEachOtherInASlot) {
  char *slot = nullptr;
  EXPECT_EQ(mkstr_long(&slot, -42), slot);
  EXPECT_STREQ(slot, "-42");
  EXPECT_STREQ(mkstr_long(&slot, LONG_MIN), std::to_string(LONG_MIN).c_str());
  EXPECT_STREQ(mkstr_ulong(&slot, ULONG_MAX), std::to_string(ULONG_MAX).c_str());

  char text[] = "wan0";
  EXPECT_EQ(mkstr_string(&slot, text), slot);
  text[3] = '1';
  EXPECT_STREQ(slot, "wan0");
  EXPECT_STREQ(mkstr_string(&slot, slot + 1), "an0");  // out of the string that is replaced
  EXPECT_EQ(mkstr_string(&slot, nullptr), nullptr);
  EXPECT_EQ(slot, nullptr);
  EXPECT_EQ(mkstr_string(&slot, nullptr), nullptr);
}

}  // namespace
}  // namespace talvera::test
