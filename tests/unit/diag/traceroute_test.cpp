// Traceroute's command line, with its reckoning of room, and its results from work files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <limits>
#include <vector>

#include "support/descriptors.h"
#include "talvera/ipdiag.h"

namespace talvera::test {
namespace {

struct Options {
  const char *host = "10.0.0.1";
  const char *ifname = nullptr;
  int queries = 0, max_hops = 0, wait = 0, tos = 0;
  std::uint16_t port = 0;
  int icmp = 0, packet_len = 0;
  std::uint16_t ipv6 = 0;
};

// The command line in a buffer said to have `size` bytes; "#" if nothing is written.
std::string command_line(const Options &o, std::uint32_t size) {
  char buffer[512];
  std::memset(buffer, '#', sizeof buffer);
  EXPECT_EQ(ipdiag_tr_makeparam(o.host, o.ifname, o.queries, o.max_hops, o.wait, o.tos, o.port,
                                o.icmp, o.packet_len, buffer, o.ipv6, size),
            0);
  const std::string all(buffer, sizeof buffer);
  const std::size_t end = all.find('\0');
  const std::size_t written = end == std::string::npos ? 0 : end + 1;
  EXPECT_EQ(all.find_first_not_of('#', written), std::string::npos);
  return written == 0 ? "#" : buffer;
}

TEST(TracerouteCommand, Pieces) {
  const Options all = {"gw.example", "ppp0", 3, 30, 5, 16, 33434, 1, 1400, 1};
  EXPECT_EQ(command_line(all, 512),
            "traceroute -6 -I -i ppp0 -q 3 -m 30 -w 5 -t 16 -p 33434 gw.example 1400");
  EXPECT_EQ(command_line({.queries = 3, .max_hops = 30, .wait = 5, .icmp = 1}, 512),
            "traceroute -I -q 3 -m 30 -w 5 10.0.0.1");
  const Options nothing = {"h", "", -1, -1, -1, -1, 0, 0, -1, 0};
  EXPECT_EQ(command_line(nothing, 512), "traceroute h");
  EXPECT_EQ(command_line({.icmp = -1, .ipv6 = 0x100}, 512), "traceroute -6 -I 10.0.0.1");
  EXPECT_EQ(command_line({.port = 65535}, 512), "traceroute -p 65535 10.0.0.1");
}

TEST(TracerouteCommand, RoomShrinksByAllThatWasWritten) {
  const Options all = {"192.168.1.1", nullptr, 3, 30, 0, 0, 0, 1, 0, 1};
  const Options icmp = {.host = "0123456789", .icmp = 1};
  const Options both = {.host = "h", .icmp = 1, .ipv6 = 1};
  for (const auto &[options, size, line] : {
           std::tuple{all, 0U, "#"},
           {all, 10, "#"},
           {Options{.host = "h"}, 11, "traceroute"},                  // room 1
           {Options{.host = "h"}, 12, "traceroute"},                  // room 2: not for the host
           {Options{.host = "h"}, 13, "traceroute h"},                // room 3
           {Options{.host = "", .ipv6 = 1}, 13, "traceroute "},       // not for the switch
           {Options{.host = "h", .ipv6 = 1}, 14, "traceroute -6 h"},  // 4, then below 0
           {icmp, 26, "traceroute -I"},                               // 16, then 3
           {icmp, 13 + 22, "traceroute -I 0123456789"},
           // After one switch the room is 9 and after the other -7, which is much.
           {all, 32, "traceroute -6 -I -q 3 -m 30 192.168.1.1"},
           // Below 0 it is nothing to the next switch, but much to all the rest.
           {both, 22, "traceroute -6 h"},
           {both, 26, "traceroute -6 h"},     // 16, then 3
           {both, 27, "traceroute -6 -I h"},  // 17, then 4
           // From 2^31 on the switches take the room for negative.
           {Options{.host = "h", .queries = 1, .icmp = 1}, 0x8000000A, "traceroute -q 1 h"},
           {Options{.host = "h", .icmp = 1}, 0x80000009, "traceroute -I h"},
       }) {
    EXPECT_EQ(command_line(options, size), line) << size;
  }
  // What each of the other pieces needs.
  for (const auto &[options, size, line] : {
           std::tuple{Options{.host = "h", .ifname = "eth0"}, 19U, "traceroute -i eth0 h"},
           {Options{.host = "h", .queries = 1}, 19, "traceroute -q 1 h"},
           {Options{.host = "h", .max_hops = 1}, 19, "traceroute -m 1 h"},
           {Options{.host = "h", .wait = 1}, 19, "traceroute -w 1 h"},
           {Options{.host = "h", .tos = 1}, 19, "traceroute -t 1 h"},
           {Options{.host = "h", .port = 1}, 17, "traceroute -p 1 h"},
           {Options{.host = "h", .packet_len = 1}, 28, "traceroute h 1"},  // 18, then 6
       }) {
    EXPECT_EQ(command_line(options, size), line);
    EXPECT_EQ(command_line(options, size - 1), "traceroute h") << line;
  }
}

class TracerouteResults : public ::testing::Test {
 protected:
  TracerouteResults() : name("tr-test-" + std::to_string(getpid())) {
    for (const char *kind : {"out", "err", "status"})
      system.redirect("/tmp/" + name + "-" + kind, files / kind);
  }
  // Gives all hops these texts and status.
  void fill_hops(const char *text, int status) {
    std::memset(hops, 0, sizeof hops);
    for (tr_hop &hop : hops) {
      for (char *field : {hop.host, hop.address, hop.times})
        std::strcpy(field, text);
      hop.status = status;
    }
  }
  // Reads hops from a file of these lines.
  int read_hops(const std::string &content, int max_rows = 4) {
    files.write("out", content);
    std::memset(hops, 0, sizeof hops);
    count = -9;
    const int result = ipdiag_tr_formatout(name.c_str(), hops, max_rows, &count);
    EXPECT_EQ(hops[max_rows < 0 ? 0 : max_rows].host[0], '\0');
    return result;
  }

  const std::string name;
  TempDir files;
  SystemDouble system;
  tr_hop hops[6];
  std::int32_t count = 0;
};

constexpr char kHeader[] = "traceroute to x.example (10.0.0.9), 30 hops max, 38 byte packets\n";

TEST_F(TracerouteResults, HopLines) {
  // What a hop is left as: host, address, times, and the status, if one is found.
  for (const auto &[line, hop] : {
           std::pair{" 1  gw (192.168.1.1)  0.512 ms  0.400 ms  0.380 ms\n",
                     "gw|192.168.1.1|0.512,0.400,0.380|"},
           {" 1  gw (192.168.1.1)  0.512 ms", "gw|192.168.1.1|0.512|"},
           {" 2  * * *\n", "|||"},
           {" 3  gw (10.0.0.9)  1.5 ms !H\n", "gw|10.0.0.9|1.5|1"},
           {" 3  gw (10.0.0.9)  1.5 ms !N\n", "gw|10.0.0.9|1.5|0"},
           {" 3  gw (10.0.0.9)  1.5 ms !P *\n", "gw|10.0.0.9|1.5|2"},
           {" 3  gw (10.0.0.9)  1.5 ms !F-1400\n", "gw|10.0.0.9|1.5|4"},
           {" 3  gw (10.0.0.9)  !S  1.5 ms !X\n", "gw|10.0.0.9|1.5|5"},
           {" 3  gw (10.0.0.9)  1.5 ms !H 2 ms !N\n", "gw|10.0.0.9|1.5,2|0"},
           // Neither a time nor a marker, though near to one.
           {" 3  gw (10.0.0.9)  1.5 ms 0.5ms 1.5!H\n", "gw|10.0.0.9|1.5|"},
           // Another address answers a later probe.
           {" 4  a (10.1.1.1)  1 ms 10.1.1.2 (10.1.1.2)  2 ms b (fe80::1) 3 ms\n",
            "a|10.1.1.1|1,2,b,3|"},
           // A lost probe takes its place among the words.
           {" 5  * gw (10.0.0.9)  2.5 ms\n", "|gw|2.5|"},
           {" 5  gw (10.0.0.9) * 2.5 ms *x 3 ms\n", "gw|10.0.0.9|2.5,3|"},
           // The last word keeps the line's end.
           {"6 gw\n", "gw\n|||"},
           {"6 gw 10.0.0.9\n", "gw|10.0.0.9\n||"},
           {"6 gw 10.0.0.9 1.25\n", "gw|10.0.0.9|1.25\n|"},
           {"7\tgw\t(10.0.0.9)\t1 ms\n", "10.0.0.9|\t1||"},
       }) {
    constexpr int kNone = 77;
    fill_hops("", kNone);
    files.write("out", std::string(kHeader) + line);
    EXPECT_EQ(ipdiag_tr_formatout(name.c_str(), hops, 4, &count), 0);
    EXPECT_EQ(count, 1) << line;
    EXPECT_EQ(std::string(hops[0].host) + '|' + hops[0].address + '|' + hops[0].times + '|' +
                  (hops[0].status != kNone ? std::to_string(hops[0].status) : ""),
              hop);
  }
}

TEST_F(TracerouteResults, RowsKeepWhatALineDoesNotSupply) {
  files.write("out", std::string(kHeader) + " 1  * * *\n() \n 2 a (1.2.3.4) 5 ms\n()");
  fill_hops("9", 3);
  std::strcpy(hops[3].times, "8,");  // not even its comma goes
  EXPECT_EQ(ipdiag_tr_formatout(name.c_str(), hops, 5, &count), 0);
  EXPECT_EQ(count, 4);
  EXPECT_STREQ(hops[0].host, "9");
  EXPECT_STREQ(hops[0].address, "9");
  EXPECT_STREQ(hops[0].times, "9");
  EXPECT_EQ(hops[0].status, 3);
  EXPECT_STREQ(hops[2].times, "95");
  EXPECT_STREQ(hops[3].times, "8,");
}

TEST_F(TracerouteResults, FieldsAreCut) {
  const std::string host(300, 'h');
  const std::string address = "2001:0db8:0000:0000:0000:0000:0000:0001";
  // 15 times of 4 characters with their commas take 60; one of 3 does not fit behind, one of 2
  // does.
  std::string times;
  for (int i = 0; i < 12; ++i)
    times += " 1.25 ms";
  EXPECT_EQ(read_hops(kHeader + ("1 " + host.substr(0, 256)) + " (" + address + ")" + times +
                      " 777 66 5\n"),
            0);
  EXPECT_EQ(hops[0].host, host.substr(0, 256));
  EXPECT_EQ(hops[0].address, address.substr(0, 22));
  EXPECT_EQ(std::strlen(hops[0].times), 62U);
  EXPECT_STREQ(hops[0].times + 55, "1.25,66");
  EXPECT_EQ(hops[1].host[0], '\0');

  EXPECT_EQ(read_hops(std::string(kHeader) + "1 " + host + " 2 3\n"), 0);
  EXPECT_EQ(hops[0].host, host.substr(0, 256));
  EXPECT_EQ(hops[0].status, 0);
}

TEST_F(TracerouteResults, LongLinesGoOnAsAnotherLine) {
  const std::string padding(511 - 5, ' ');
  EXPECT_EQ(read_hops(std::string(kHeader) + "1 a b" + padding + "2 c d 4\n3 e f 5\n"), 0);
  EXPECT_EQ(count, 3);
  EXPECT_STREQ(hops[0].host, "a");
  EXPECT_STREQ(hops[1].host, "c");
  EXPECT_STREQ(hops[2].host, "e");
}

TEST_F(TracerouteResults, FullTable) {
  const std::string one = "1 a (10.0.0.1) 1 ms\n";
  const std::string two = "2 b (10.0.0.9) 2 ms\n";
  EXPECT_EQ(read_hops(kHeader + one + two, 2), 0);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(read_hops(kHeader + one + two, 1), 1);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(read_hops(kHeader + two + one, 1), 0);
  EXPECT_EQ(read_hops(kHeader + one, 1), 1);  // full, though at the end of the file
  EXPECT_EQ(read_hops(kHeader + one, 2), 0);
  EXPECT_EQ(count, 1);
  for (const int none : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(read_hops(kHeader + one, none), -1);
    EXPECT_EQ(count, 0);
  }
}

TEST_F(TracerouteResults, DestinationFromTheHeader) {
  for (const auto &[header, destination] : {std::pair{"to (10.0.0.9) and (10.0.0.8)\n", "10.0.0.9"},
                                            {"to (10.0.0.9\n", "10.0.0.9"},
                                            {"to (10.0.0.9 (x)\n", "10.0.0.9 (x"},
                                            {"to (1234567890123456789)\n", "1234567890123456789"},
                                            {"to (12345678901234567890)\n", "1234567890123456789"},
                                            {"to 10.0.0.9\n", ""}}) {
    for (const std::string address : {destination, "other"}) {
      files.write("out", header + std::string("1 *\n"));
      fill_hops(address.c_str(), 0);
      EXPECT_EQ(ipdiag_tr_formatout(name.c_str(), hops, 1, &count), address == destination ? 0 : 1)
          << header << address;
    }
  }
}

TEST_F(TracerouteResults, FilesWithoutHops) {
  for (const char *content : {"", kHeader}) {
    EXPECT_EQ(read_hops(content), 0);
    EXPECT_EQ(count, 0);
  }
}

TEST_F(TracerouteResults, ResponseTime) {
  for (const auto &[content, time] : {std::pair{"38\n", 38},
                                      {" -7x\n8\n", -7},
                                      {"\n9\n", 0},
                                      {"", 12345},
                                      {"0000000000000018\n", 1},
                                      {"2147483648\n", INT32_MAX},
                                      {"-99999999999999\n", INT32_MIN}}) {
    files.write("status", content);
    std::int32_t result = 12345;
    EXPECT_EQ(ipdiag_tr_resptime(name.c_str(), &result), 0);
    EXPECT_EQ(result, time) << content;
  }
}

TEST_F(TracerouteResults, KindOfError) {
  const std::string padding(52, '.');
  for (const auto &[content, code] :
       {std::pair{std::string("traceroute: bad address 'x.example'\n"), 0},
        {"one\nbad address\n", 1},
        {"Bad address\n", 1},
        {"", 12345},
        {padding + "bad address\n", 0},
        {padding + ".bad address\n", 1}}) {
    files.write("err", content);
    std::int32_t result = 12345;
    EXPECT_EQ(ipdiag_tr_err(name.c_str(), &result), 0);
    EXPECT_EQ(result, code) << content;
  }
}

TEST_F(TracerouteResults, FilesThatCannotBeOpened) {
  const DescriptorCheck descriptors;
  files.write("long", "5\n");
  for (const std::string &missing : {name, std::string(52, 'x'), std::string(300, 'x')}) {
    // What would be opened if the path were cut to 63 characters.
    const std::string cut = "/tmp/" + missing + "-status";
    if (cut.size() > 63) system.redirect(cut.substr(0, 63), files / "long");
    std::int32_t value = 12345;
    EXPECT_EQ(ipdiag_tr_formatout((missing + "xxx").c_str(), hops, 4, &value), -1);
    EXPECT_EQ(ipdiag_tr_resptime(missing.c_str(), &value), -1);
    EXPECT_EQ(ipdiag_tr_err((missing + "xxx").c_str(), &value), -1);
    EXPECT_EQ(value, 12345);
  }
  const std::string longest(51, 'x');
  system.redirect("/tmp/" + longest + "-status", files / "long");
  std::int32_t value = 0;
  EXPECT_EQ(ipdiag_tr_resptime(longest.c_str(), &value), 0);
  EXPECT_EQ(value, 5);
}

}  // namespace
}  // namespace talvera::test
