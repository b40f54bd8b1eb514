// Wi-Fi mode, HESSID and country code from the element map, and from a BSS reply, whose
// parse derives them from the elements without a map.
#include "ParserTest.h"

namespace {

using DerivedFactsTest = ParserTest;

// Rates elements from rate bytes in 500 kbit/s units.
std::string rates(std::vector<uint8_t> bytes) { return element(1, bytes); }
std::string extendedRates(std::vector<uint8_t> bytes) { return element(50, bytes); }
const std::string kErp = element(42, {0x04});

const char* const kVht = "Found VHTOperation Element in wifiInfoMap";
const char* const kHt = "Found HTOperation Element in wifiInfoMap";
const char* const kErpFound = "Found ERP Element in wifiInfoMap";
const char* const k5Ghz = " Frequency is greater than 3000";
const char* const kRates = "Found SupportedRate Element in wifiInfoMap";
const char* const kExtended = "Found ExtendedSupportedRate Element in wifiInfoMap";

TEST_F(DerivedFactsTest, WifiModeTakesTheNewestGenerationPresent) {
  const struct {
    const char* name;
    std::string text;
    uint16_t frequency;
    int32_t mode;
    const char* line;  // the level-1 line that tells what decided
  } cases[] = {
      {"2.4 GHz fixture", ieOf("hwsim/bss.txt"), 2437, 5, kHt},
      {"5 GHz fixture", ieOf("hwsim/bss_5ghz.txt"), 5180, 7, kVht},
      {"VHT and ERP", vhtOperation(1, 42) + kErp, 2412, 7, kVht},
      {"HT and ERP", kErp + htOperation(0), 2412, 5, kHt},
      {"rejected HT body", element(61, {1, 2}), 2412, 5, kHt},
      {"ERP", kErp + rates({0x82}), 5180, 3, kErpFound},
      {"5 GHz without HT", rates({0x82, 0x84}), 5180, 1, k5Ghz},
      {"3000 MHz", rates({0x82}), 3000, 1, k5Ghz},
      {"2999 MHz", rates({0x82}), 2999, 2, kRates},
      {"11b rates", rates({0x82, 0x84, 0x8b, 0x96}), 2412, 2, kRates},
      {"11b rates and 11g extended", rates({0x82, 0x96}) + extendedRates({0x30, 0x6c}), 2412, 3,
       kExtended},
      {"11g rates", rates({0x82, 0x30}), 2412, 3, kRates},
      // The last rate decides, not the fastest.
      {"fast rate listed first", rates({0x6c, 0x82}), 2412, 2, kRates},
      {"extended rates only", extendedRates({0x6c}), 2412, -1, kExtended},
      {"rates with no valid entry", rates({0x01}), 2412, 2, kRates},
      {"the first rates element decides", rates({0x82}) + rates({0x6c}), 2412, 2, kRates},
      {"nothing", "", 2412, -1, nullptr},
      {"nothing at 5 GHz", "", 5180, 1, k5Ghz},
  };
  for (const auto& c : cases) {
    WifiInfoMap map;
    std::string text = c.text;
    WifiInformationElementParser::parse(&text[0], map);
    host.logger.clear();
    EXPECT_EQ(parser.getWifiMode(map, c.frequency), c.mode) << c.name;
    EXPECT_TRUE(c.line == nullptr ? host.logger.lines().empty() : logged(c.line, 1)) << c.name;
    // The map is lent, not given: its elements are still there to free.
    for (auto& entry : map) delete entry.second;
    // A reply without elements has no mode, whatever its frequency.
    if (c.text.empty()) continue;
    WifiStatus status;
    status.frequency = c.frequency;
    parser.parseBssCmdWifiInfo(("ie=" + c.text).c_str(), status);
    EXPECT_EQ(status.wifiMode, c.mode) << c.name << " (reply)";
    EXPECT_TRUE(c.line == nullptr || logged(c.line, 1)) << c.name << " (reply)";
  }
}

TEST_F(DerivedFactsTest, HessidAndCountryComeFromTheirElements) {
  const struct {
    const char* name;
    std::string text;
    const char* hessid;
    const char* country;
  } cases[] = {
      {"2.4 GHz fixture", ieOf("hwsim/bss.txt"), "", "DE"},
      {"HESSID", element(107, {0x01, 0x02, 0xab, 0x00, 0xcd, 0x01, 0xff}), "02:ab:00:cd:01:ff", ""},
      {"interworking without HESSID", element(107, {0x01}), "", ""},
      {"short country", element(7, {'D', 'E'}), "", ""},
      {"the first of each decides",
       element(107, {0x01}) + element(107, {0x01, 0x02, 0xab, 0x00, 0xcd, 0x01, 0xff}) +
           element(7, {'F', 'R', ' ', 1, 1, 20}) + element(7, {'D', 'E', ' ', 1, 1, 20}),
       "", "FR"},
  };
  for (const auto& c : cases) {
    host.logger.clear();
    WifiInfoMap map;
    std::string text = c.text;
    WifiInformationElementParser::parse(&text[0], map);
    EXPECT_EQ(parser.getHESSIDInfo(map), c.hessid) << c.name;
    EXPECT_EQ(parser.getCountryCode(map), c.country) << c.name;
    EXPECT_EQ(logged("Found Interworking Element in wifiInfoMap", 1), map.count(107) == 1);
    for (auto& entry : map) delete entry.second;
    WifiStatus status;
    parser.parseBssCmdWifiInfo(("ie=" + c.text).c_str(), status);
    EXPECT_EQ(status.hessid, c.hessid) << c.name << " (reply)";
    EXPECT_EQ(status.countryCode, c.country) << c.name << " (reply)";
  }
}

}  // namespace
