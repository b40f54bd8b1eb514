// The information element walk, the element classes and the BSS load they give.
#include <memory>

#include "ParserTest.h"
#include "TestHost.h"

namespace wiep = WifiInformationElementParser;

std::string ieOf(const std::string& reply) {
  const std::string text = readTestData(reply);
  const size_t start = text.find("\nie=") + 4;
  return text.substr(start, text.find('\n', start) - start);
}

namespace {

using ElementParserTest = ParserTest;

TEST_F(ElementParserTest, NextTlvReadsOneElementAndStopsWhereTheTextDoes) {
  const struct {
    const char* text;
    bool read;  // returns the next element's start
    uint8_t id;
    std::vector<uint8_t> body;
  } cases[] = {
      {"0b050100c80000ff", true, 11, {1, 0, 200, 0, 0}},
      {"0b02zz9g", true, 11, {0x00, 0x90}},  // non-hex characters read as 0
      {"0b0", false, 0, {}},
      {"00000b050100c80000", false, 0, {}},          // zero length ends the walk
      {"0b050100c8000", false, 11, {1, 0, 200, 0}},  // runs past the end
  };
  for (const auto& c : cases) {
    std::string text = c.text;
    uint8_t id = 0;
    std::vector<uint8_t> body = {9};
    char* next = wiep::parse_next_tlv(&text[0], &id, &body);
    EXPECT_EQ(next, c.read ? &text[0] + 4 + 2 * c.body.size() : nullptr) << c.text;
    EXPECT_EQ(id, c.id) << c.text;
    EXPECT_EQ(body, text.size() < 4 ? std::vector<uint8_t>{9} : c.body) << c.text;
  }
}

TEST_F(ElementParserTest, BssLoadComesFromLoadHtAndVhtElements) {
  const struct {
    const char* name;
    std::string text;
    uint16_t utilization, bandwidth, lowest;
  } cases[] = {
      {"2.4 GHz fixture", ieOf("hwsim/bss.txt"), 0, 20000, 0},
      {"5 GHz fixture: HT byte 2 is 0 despite VHT80", ieOf("hwsim/bss_5ghz.txt"), 30, 20000, 0},
      {"nothing", "", 65535, 20000, 0},
      {"load of 4 bytes", element(11, {1, 0, 200, 0}), 65535, 20000, 0},
      {"the later load wins", element(11, {0, 0, 7, 0, 0}) + element(11, {0, 0, 9, 0, 0}), 9, 20000,
       0},
      {"zero length stops the walk", "0000" + element(11, {0, 0, 9, 0, 0}), 65535, 20000, 0},
      {"HT 40", htOperation(5), 65535, 40000, 0},
      // Bandwidths keep the low 16 bits of their code.
      {"VHT 80", htOperation(5) + vhtOperation(1, 42), 65535, 14464, 36},
      {"VHT 160", vhtOperation(2, 50) + htOperation(1), 65535, 28928, 44},
      {"VHT 80+80", htOperation(1) + vhtOperation(3, 6), 65535, 0, 0},
      {"bad VHT width", htOperation(1) + vhtOperation(4, 7), 65535, 20000, 1},
      {"HT width 0 rules", htOperation(0) + vhtOperation(1, 42), 65535, 20000, 36},
      {"HT of 21 bytes", element(61, std::vector<uint8_t>(21, 1)), 65535, 20000, 0},
  };
  for (const auto& c : cases) {
    host.logger.clear();
    BssLoad load = {0, 65535, 0, 0, 0};
    std::string text = c.text;
    wiep::parse(&text[0], load);
    EXPECT_EQ(load.channelUtilization, c.utilization) << c.name;
    EXPECT_EQ(load.channelBandwidth, c.bandwidth) << c.name;
    EXPECT_EQ(load.lowestChannel, c.lowest) << c.name;
    EXPECT_EQ(logged("ERR Bad Frequency Value\n", 1), std::string(c.name) == "bad VHT width");
    for (const auto& line : host.logger.lines()) EXPECT_EQ(line.module, 10355) << line.text;
  }
}

TEST_F(ElementParserTest, RatesStopAtTheFirstUnknownByte) {
  const struct {
    std::vector<uint8_t> body;
    std::vector<int32_t> rates;
    const char* complaint;
  } cases[] = {
      {{0x82, 0x84, 0x8b, 0x96}, {1000000, 2000000, 5500000, 11000000}, nullptr},
      {{0x0c, 0x12, 0x18, 0x24, 0x2c, 0x30, 0x42, 0x48},
       {6000000, 9000000, 12000000, 18000000, 22000000, 24000000, 33000000, 36000000},
       nullptr},
      {{0xe0, 0x6c}, {48000000, 54000000}, nullptr},
      {{0x82, 0x01, 0x84}, {1000000}, "Invalid rate present"},
      {{}, {}, "Invalid length of rate"},
      {std::vector<uint8_t>(9, 0x82), {}, "Invalid length of rate"},  // extended too
  };
  for (const auto& c : cases) {
    for (bool extended : {false, true}) {
      host.logger.clear();
      std::unique_ptr<wiep::SupportedRateElement> rates(
          extended ? new wiep::ExtendedSupportedRateElement() : new wiep::SupportedRateElement());
      EXPECT_EQ(rates->parse(c.body), c.complaint == nullptr);
      EXPECT_EQ(rates->mRates, c.rates);
      EXPECT_TRUE(c.complaint == nullptr || logged(c.complaint, 1));
    }
  }
}

TEST_F(ElementParserTest, InterworkingAcceptsOnlyItsLengths) {
  const std::vector<uint8_t> options = {0x01}, venue = {0x01, 0x02, 0x08},
                             hessid = {0x02, 0xab, 0x00, 0xcd, 0x01, 0xff};
  auto join = [](std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  };
  const struct {
    std::vector<uint8_t> body;
    bool accepted;
    const char* hessid;
    const char* log;
  } cases[] = {
      {options, true, "", "HESSID not present"},
      {venue, true, "", "HESSID not present"},
      {join(options, hessid), true, "02:ab:00:cd:01:ff", nullptr},
      {join(venue, hessid), true, "02:ab:00:cd:01:ff", nullptr},
      {{}, false, "", "Invalid Interworking element length"},
      {{1, 2}, false, "", "Invalid Interworking element length"},
      {join(join(venue, hessid), {0}), false, "", "Invalid Interworking element length"},
  };
  for (const auto& c : cases) {
    host.logger.clear();
    wiep::InterworkingElement element;
    EXPECT_EQ(element.parse(c.body), c.accepted) << c.body.size();
    EXPECT_EQ(element.mHessid, c.hessid);
    EXPECT_TRUE(c.log == nullptr || logged(c.log, 1)) << c.body.size();
  }
  wiep::CountryElement country;
  EXPECT_FALSE(country.parse({'F', 'R', 0x20}));
  EXPECT_TRUE(logged("Country Code not present", 1));
}

TEST_F(ElementParserTest, MapKeepsTheFirstElementOfEachIdItKnows) {
  const struct {
    const char* name;
    std::string text;
    std::vector<int> ids;
  } cases[] = {
      {"2.4 GHz fixture", ieOf("hwsim/bss.txt"), {1, 7, 42, 50, 61}},
      {"5 GHz fixture", ieOf("hwsim/bss_5ghz.txt"), {1, 7, 61, 192}},
      {"BSS load is skipped", element(11, {0, 0, 1, 0, 0}) + element(107, {1}), {107}},
      {"zero length ends the walk", element(61, {1}) + element(42, {}) + element(1, {2}), {61}},
  };
  for (const auto& c : cases) {
    WifiInfoMap map;
    std::string text = c.text;
    wiep::parse(&text[0], map);
    std::vector<int> ids;
    for (const auto& [id, element] : map) {
      ids.push_back(id);
      EXPECT_EQ(element->get_id(), id) << element->get_name();
    }
    EXPECT_EQ(ids, c.ids) << c.name;
    for (auto& entry : map) delete entry.second;
  }

  // The second of an id is parsed, for its complaints, and dropped; a rejected body is kept
  // with zeroed fields.
  host.logger.clear();
  WifiInfoMap map;
  std::string text = element(7, {'D', 'E', ' ', 1}) + element(7, {'F', 'R', ' ', 1}) +
                     element(61, std::vector<uint8_t>(3, 7)) + element(1, {0x82}) +
                     element(1, {0x84, 0x01}) + element(107, {1}) + element(107, {1, 2});
  wiep::parse(&text[0], map);
  EXPECT_EQ(static_cast<wiep::CountryElement*>(map.at(7))->mCountryCode, "DE");
  const auto* ht = static_cast<wiep::HTOperationElement*>(map.at(61));
  EXPECT_EQ(ht->mPrimaryChannel + ht->mChannelWidth, 0);
  EXPECT_EQ(static_cast<wiep::SupportedRateElement*>(map.at(1))->mRates,
            std::vector<int32_t>{1000000});
  EXPECT_TRUE(logged("Invalid rate present", 1));
  EXPECT_TRUE(logged("Invalid Interworking element length", 1));
  for (auto& entry : map) delete entry.second;
}

TEST_F(ElementParserTest, BoundedWalkReadsOnlyItsLength) {
  // A value inside a reply: the walk ends where the value does, not at the text's end.
  const std::string first = element(11, {0, 0, 200, 0, 0});
  const std::string text = first + element(11, {0, 0, 9, 0, 0}) + element(7, {'D', 'E', ' ', 1});
  BssLoad load = {0, 65535, 0, 0, 0};
  wiep::parse(text.c_str(), first.size(), load);
  EXPECT_EQ(load.channelUtilization, 200);
  WifiInfoMap map;
  wiep::parse(text.c_str(), text.size() - 1, map);  // the country element cut by one digit
  EXPECT_TRUE(map.empty());
}

}  // namespace
