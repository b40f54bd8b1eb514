// BSSID, MAC, octet and BCD conversions.
#include <cstring>

#include "ParserTest.h"

namespace {

using Bytes = std::vector<uint8_t>;
using OctetHelpersTest = ParserTest;

TEST_F(OctetHelpersTest, GetBssidConvertsGroupsAndStopsAtTheFirstMissingOne) {
  const struct {
    const char* text;
    Bytes bytes;  // 0xee: left as the caller had it
    const char* error;
  } cases[] = {
      {"00:1A:2b:3C:4d:5E", {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}, nullptr},
      // A one-digit group takes the colon as its second digit, and the walk goes on.
      {"0:11:22:33:44:55", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}, "Malformed octet data!"},
      {"gg:11:22:33:44:zz", {0x10, 0x11, 0x22, 0x33, 0x44, 0x53}, nullptr},  // g is 16
      {"00:11:22", {0x00, 0x11, 0x22, 0xee, 0xee, 0xee}, "BSSID conversion failed"},
      {"00::22:33:44:55", {0x00, 0xee, 0xee, 0xee, 0xee, 0xee}, "extract failed"},
      {"00:11:22:33:44:", {0x00, 0x11, 0x22, 0x33, 0x44, 0xee}, "extract failed"},
      {nullptr, {0xee, 0xee, 0xee, 0xee, 0xee, 0xee}, "Invalid parameter"},
  };
  for (const auto& c : cases) {
    host.logger.clear();
    uint8_t mac[6];
    std::memset(mac, 0xee, sizeof(mac));
    WifiParser::getBSSID(mac, c.text);
    const char* shown = c.text != nullptr ? c.text : "(null)";
    EXPECT_EQ(Bytes(mac, mac + 6), c.bytes) << shown;
    EXPECT_TRUE(c.error == nullptr || logged(c.error, 4)) << shown;
    // The per-byte summary follows only a complete conversion.
    char summary[24];
    std::snprintf(summary, sizeof(summary), "bssid octet 5 = 0x%x", c.bytes[5]);
    EXPECT_EQ(logged(summary, 1), c.bytes[5] != 0xee) << shown;
  }
}

TEST_F(OctetHelpersTest, GenNumericOctetReadsPairsAndLettersBeyondF) {
  const struct {
    const char* text;
    uint8_t value;
    bool malformed;
  } cases[] = {
      {"", 0x00, false},   {"3a", 0x3a, false},  {"3A", 0x3a, false},
      {"a", 0xa0, false},  {"abc", 0xc0, false}, {"g0", 0x00, false},
      {"zz", 0x53, false}, {"3-", 0x00, true},   {"\xc3\xa9", 0x00, true},
  };
  for (const auto& c : cases) {
    host.logger.clear();
    EXPECT_EQ(WifiParser::genNumericOctet(c.text), c.value) << c.text;
    EXPECT_EQ(logged("Malformed octet data!", 4), c.malformed) << c.text;
  }
}

TEST_F(OctetHelpersTest, MacTextsConvertBothWays) {
  const uint8_t mac[6] = {0x02, 0xab, 0x00, 0xcd, 0x01, 0xff};
  EXPECT_STREQ(WifiParser::MacAddressToString(mac), "02:ab:00:cd:01:ff");
  EXPECT_STREQ(WifiParser::MacAddressToString(nullptr), "");
  const Bytes unchanged = {1, 2, 3, 4, 5, 6};
  const struct {
    const char* text;
    Bytes bytes;
  } cases[] = {
      {"AA:bb:Cc:dD:ee:FF", {0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff}},
      {"100:2:3:4:5:6", {0x00, 0x02, 0x03, 0x04, 0x05, 0x06}},  // low 8 bits kept
      {"1:2:3:4:5", unchanged},
      {nullptr, unchanged},
      // Near the printed form, every text still reads as "%x:%x:%x:%x:%x:%x" reads it.
      {"02:00:00:00:00:1a0", {0x02, 0x00, 0x00, 0x00, 0x00, 0xa0}},  // the last number goes on
      {"02:00:00:00:00:1a:77", {0x02, 0x00, 0x00, 0x00, 0x00, 0x1a}},
      {"02:00:00:00:00:1g", {0x02, 0x00, 0x00, 0x00, 0x00, 0x01}},
      {"02:00:00:00:00:0x", {0x02, 0x00, 0x00, 0x00, 0x00, 0x00}},
      {" 2:00:00:00:00:1a", {0x02, 0x00, 0x00, 0x00, 0x00, 0x1a}},
      {"0x2:0:0:0:0:1a", {0x02, 0x00, 0x00, 0x00, 0x00, 0x1a}},
      {"02-00-00-00-00-1a", unchanged},
      {"02:00:00:00:00:", unchanged},
  };
  for (const auto& c : cases) {
    host.logger.clear();
    uint8_t out[6] = {1, 2, 3, 4, 5, 6};
    WifiParser::StringToMac(out, c.text);
    EXPECT_EQ(Bytes(out, out + 6), c.bytes) << (c.text ? c.text : "(null)");
    EXPECT_EQ(logged("Malformed mac address!", 4), c.bytes == unchanged);
  }
}

TEST_F(OctetHelpersTest, BcdToStringWritesLowNibbleFirstAndZeroesBadNibbles) {
  const struct {
    Bytes octets;
    uint8_t count;
    const char* digits;
    const char* warning;
  } cases[] = {
      {{0x98, 0x10}, 0, "", nullptr},
      {{0x98, 0x10}, 2, "8901", nullptr},
      // A filler nibble is reported with its value and written as 0.
      {{0x21, 0x43, 0xf5}, 3, "123450", "Invalid upper nibble in octet 15"},
      {{0x1a}, 1, "01", "Invalid lower nibble in octet 10"},
      {{0xa0}, 1, "00", "Invalid upper nibble in octet 10"},
      {Bytes(10, 0x98), 255, "89898989898989898989", nullptr},  // ten octets at most
  };
  for (const auto& c : cases) {
    host.logger.clear();
    uint8_t octets[10] = {};
    std::memcpy(octets, c.octets.data(), c.octets.size());
    EXPECT_STREQ(WifiParser::BCDToString(octets, c.count), c.digits);
    EXPECT_EQ(host.logger.lines().size(), c.warning ? 1u : 0u) << c.digits;
    EXPECT_TRUE(c.warning == nullptr || logged(c.warning, 4)) << c.digits;
  }
}

}  // namespace
