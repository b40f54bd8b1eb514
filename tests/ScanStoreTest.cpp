// The scan store: its keys, and the SSID, BSSID and channel filters.
#include <cstdio>
#include <list>

#include "ParserTest.h"
#include "WifiScanResult.h"

namespace {

using ScanStoreTest = ParserTest;

const std::string kAny = "ff:ff:ff:ff:ff:ff";

TEST_F(ScanStoreTest, BandKeysFollowTheInclusiveBandBounds) {
  const struct {
    const char* freq;
    const char* band;  // null: no band keys at all
  } cases[] = {
      {"2411", ""},          {"2412", "24ghtz"}, {"2484", "24ghtz"}, {"2485", ""},
      {"3656", ""},          {"3657", "36ghtz"}, {"3692", "36ghtz"}, {"3693", ""},
      {"5030", ""},          {"5035", "5ghtz"},  {"5825", "5ghtz"},  {"5826", ""},
      {"5845", ""},          {"5955", ""},       {"70000", ""},  // 70000 keeps 4464
      {"2437abc", "24ghtz"}, {"", nullptr},      {"abc", nullptr},   {"65536", nullptr},
  };
  for (const auto& c : cases) {
    WifiScanResult store;
    store.addData("00:11:22:33:44:55", c.freq, -60, "Net");
    EXPECT_EQ(store.byFreqBssidSsid.count(std::string(c.freq) + "&00:11:22:33:44:55&Net"), 1u);
    const size_t keys = c.band == nullptr ? 1u : 2u;
    EXPECT_EQ(store.byBssidFreq.size(), keys) << c.freq;
    EXPECT_EQ(store.byFreqBssid.size(), keys) << c.freq;
    if (c.band == nullptr) continue;
    EXPECT_EQ(store.byBssidFreq.count("00:11:22:33:44:55&" + std::string(c.band)), 1u) << c.freq;
    EXPECT_EQ(store.byFreqBssid.count(std::string(c.band) + "&00:11:22:33:44:55"), 1u) << c.freq;
  }
}

TEST_F(ScanStoreTest, FirstLineWinsUnderEveryKey) {
  WifiScanResult store;
  store.addData("00:11:22:33:44:55", "2437", -60, "Net");
  store.addData("00:11:22:33:44:55", "2437", -70, "Net");
  store.addData("00:11:22:33:44:55", "2412", -80, "Net");  // same band, later line
  for (const auto* keys : {&store.byFreqBssidSsid, &store.byBssidFreq, &store.byFreqBssid}) {
    for (const auto& [key, record] : *keys) {
      EXPECT_EQ(record.rssi, record.freq == "2437" ? -60 : -80) << key;
      EXPECT_FALSE(record.bssLoadValid);
    }
  }
  EXPECT_EQ(store.byBssidFreq.at("00:11:22:33:44:55&24ghtz").freq, "2437");
  EXPECT_EQ(store.byFreqBssid.at("24ghtz&00:11:22:33:44:55").freq, "2437");
}

// A scan of five networks, filtered by a list of (ssid, bssid, channel codes) filters.
// filteredList follows the "ssid&bssid" key order of each filter's matches.
struct FilterCase {
  const char* name;
  std::list<MeasurementRequestReport> requests;
  std::vector<std::string> listed;  // filteredList, as ssid/freq
  std::map<std::string, std::vector<std::string>> groups;
};

MeasurementRequestReport filter(const std::string& ssid, const std::string& bssid,
                                std::set<uint16_t> codes) {
  MeasurementRequestReport request;
  request.ssid = ssid;
  request.bssidChannels[bssid] = codes;
  return request;
}

std::vector<std::string> namesOf(const std::vector<SelectedBss>& records) {
  std::vector<std::string> names;
  for (const SelectedBss& r : records) names.push_back(r.ssid + "/" + r.freq);
  return names;
}

TEST_F(ScanStoreTest, FiltersMatchSsidAndChannelByPrefix) {
  const FilterCase cases[] = {
      {"any network",
       {filter("AnySSID", kAny, {65535})},
       {"/2412", "Net/2437", "Net5/5845", "NetTwo/2462", "Office/5180"},
       {{"", {"/2412"}},
        {"Net", {"Net/2437"}},
        {"NetTwo", {"NetTwo/2462"}},
        {"Office", {"Office/5180"}},
        {"Net5", {"Net5/5845"}}}},
      {"ssid prefix in the 2.4 GHz band",
       {filter("Net", kAny, {1})},
       {"Net/2437", "NetTwo/2462"},
       {{"Net", {"Net/2437", "NetTwo/2462"}}}},
      // Code 5 is a frequency text: it prefix-matches 5180, 5845 and the 5ghtz keys.
      {"code 5",
       {filter("AnySSID", kAny, {5})},
       {"Net5/5845", "Office/5180"},
       {{"Office", {"Office/5180"}}, {"Net5", {"Net5/5845"}}}},
      {"one bssid, any channel",
       {filter("AnySSID", "02:00:00:00:00:03", {65535})},
       {"Office/5180"},
       {{"Office", {"Office/5180"}}}},
      {"one bssid, its band and a wrong frequency",
       {filter("Office", "02:00:00:00:00:03", {3, 5200})},
       {"Office/5180"},
       {{"Office", {"Office/5180"}}}},
      // Upper-case hex never meets the supplicant's lower-case text, broadcast included.
      {"upper-case bssid",
       {filter("AnySSID", "02:00:00:00:00:0A", {65535}),
        filter("AnySSID", "FF:FF:FF:FF:FF:FF", {65535})},
       {},
       {}},
      // A named SSID keeps its first group; a miss still makes an empty one.
      {"named ssid twice",
       {filter("Net", kAny, {2437}), filter("Net", kAny, {2462})},
       {"Net/2437", "NetTwo/2462"},
       {{"Net", {"Net/2437"}}}},
      {"named ssid misses", {filter("Home", kAny, {1})}, {}, {{"Home", {}}}},
      {"nothing in range makes no group", {filter("Home", kAny, {2484})}, {}, {}},
      {"a bssid of another network makes the group",
       {filter("Office", "02:00:00:00:00:02", {1, 2437}), filter("Home", "02:00:00:00:00:09", {1})},
       {},
       {{"Office", {}}}},
      {"a named ssid by bssid, any channel and a frequency",
       {filter("NetTwo", "02:00:00:00:00:04", {2462, 65535}),
        filter("Net", "02:00:00:00:00:0a", {5, 3, 65535})},
       {"NetTwo/2462", "NetTwo/2462", "Net5/5845"},
       {{"NetTwo", {"NetTwo/2462"}}, {"Net", {"Net5/5845"}}}},
      // Any SSID merges into the groups already there.
      {"any after named",
       {filter("Net", kAny, {2437}), filter("AnySSID", kAny, {2437})},
       {"Net/2437", "Net/2437"},
       {{"Net", {"Net/2437", "Net/2437"}}}},
  };
  // Each case also runs on one store that the cases before it filled and filtered, cleared
  // as the info provider clears its store for each scan: nothing of theirs may remain; and
  // on one that walks its indexes for every filter, as it does when lines share keys.
  WifiScanResult reused;
  for (const FilterCase& c : cases) {
    WifiScanResult fresh;
    WifiScanResult walking;
    walking.filterByIndexWalkOnly(true);
    for (WifiScanResult* store : {&fresh, &reused, &walking}) {
      store->clear();
      store->addData("02:00:00:00:00:01", "2412", -40, "");
      store->addData("02:00:00:00:00:02", "2437", -50, "Net");
      store->addData("02:00:00:00:00:04", "2462", -55, "NetTwo");
      store->addData("02:00:00:00:00:03", "5180", -60, "Office");
      store->addData("02:00:00:00:00:0a", "5845", -70, "Net5");
      std::list<MeasurementRequestReport> requests = c.requests;
      store->filterData(requests);
      EXPECT_EQ(namesOf(store->filteredList), c.listed) << c.name;
      std::map<std::string, std::vector<std::string>> groups;
      for (const auto& [ssid, records] : store->filteredBySsid) groups[ssid] = namesOf(records);
      EXPECT_EQ(groups, c.groups) << c.name;
    }
  }
}

// Lines that share keys: a filter takes the BSS once, as the line under the first key its
// walk meets, the key's first line.
TEST_F(ScanStoreTest, LinesSharingKeysGiveTheLineOfTheFirstKeyMet) {
  const struct {
    const char* bssid;
    uint16_t code;
    const char* listed;  // as freq/rssi
  } cases[] = {
      {kAny.c_str(), 1, "2437/-60"},     // 24ghtz&B: the first line
      {kAny.c_str(), 2412, "2412/-80"},  // 2412&B: the third
      {kAny.c_str(), 24, "2412/-80"},    // 2412&B sorts before 2437&B and 24ghtz&B
      {"02:00:00:00:00:01", 65535, "2412/-80"},
      {"02:00:00:00:00:01", 1, "2437/-60"},
      {"02:00:00:00:00:01", 2437, "2437/-60"},
  };
  for (const auto& c : cases) {
    WifiScanResult store;
    store.addData("02:00:00:00:00:01", "2437", -60, "Net");
    store.addData("02:00:00:00:00:01", "2437", -70, "Net");
    store.addData("02:00:00:00:00:01", "2412", -80, "Net");
    std::list<MeasurementRequestReport> requests = {filter("Net", c.bssid, {c.code})};
    store.filterData(requests);
    ASSERT_EQ(store.filteredList.size(), 1u) << c.bssid << " " << c.code;
    const SelectedBss& only = store.filteredList[0];
    EXPECT_EQ(only.freq + "/" + std::to_string(only.rssi), c.listed) << c.bssid << " " << c.code;
  }
}

// The ranges end at prefix + "~" in unsigned byte order: a name continuing with '~' or
// with a byte above it (DEL, UTF-8) is outside, one continuing below '~' inside.
TEST_F(ScanStoreTest, PrefixRangesEndAtTheTildeInUnsignedByteOrder) {
  const struct {
    const char* ssid;
    bool grouped;  // under the filter "Net"
  } cases[] = {
      // The grouped ones in "ssid&bssid" key order: '!' sorts before '&', and a key's fifth
      // byte outranks its sixth.
      {"Net!", true},         {"Net", true},   {"Net}", true},   {"Net}xB", true},
      {"Net}yA", true},       {"Net~", false}, {"Net~1", false}, {"Net\x7f", false},
      {"Net\xc3\xa9", false}, {"Nes", false},  {"Neu", false},   {"Ne", false},
  };
  WifiScanResult store;
  std::vector<std::string> expected;
  int n = 0;
  for (const auto& c : cases) {
    char bssid[18];
    std::snprintf(bssid, sizeof bssid, "02:00:00:00:00:%02x", ++n);
    store.addData(bssid, "2437", -50, c.ssid);
    if (c.grouped) expected.push_back(std::string(c.ssid) + "/2437");
  }
  std::list<MeasurementRequestReport> requests = {filter("Net", kAny, {65535})};
  store.filterData(requests);
  EXPECT_EQ(namesOf(store.filteredBySsid.at("Net")), expected);
}

// A channel code that is no band is looked up as its decimal text: by prefix under any
// BSSID, exactly under a named one.
TEST_F(ScanStoreTest, ChannelCodesAreMatchedAsTheirDecimalText) {
  const struct {
    uint16_t code;
    std::string bssid;
    std::vector<std::string> listed;
  } cases[] = {
      {0, kAny, {"A/0"}},
      {0, "02:00:00:00:00:01", {"A/0"}},  // once lost: 0 taken for a band code
      {10, kAny, {"B/10", "C/100"}},
      {10, "02:00:00:00:00:03", {}},
      {100, kAny, {"C/100"}},
      {65534, kAny, {"D/65534"}},
  };
  for (const auto& c : cases) {
    // Through a request list, and as the one filter findPartialKey runs.
    for (const bool alone : {false, true}) {
      WifiScanResult store;
      store.addData("02:00:00:00:00:01", "0", -40, "A");
      store.addData("02:00:00:00:00:02", "10", -40, "B");
      store.addData("02:00:00:00:00:03", "100", -40, "C");
      store.addData("02:00:00:00:00:04", "65534", -40, "D");
      std::list<MeasurementRequestReport> requests = {filter("AnySSID", c.bssid, {c.code})};
      if (alone) {
        store.findPartialKey("AnySSID", c.bssid, c.code);
      } else {
        store.filterData(requests);
      }
      EXPECT_EQ(namesOf(store.filteredList), c.listed)
          << c.code << " " << c.bssid << (alone ? " alone" : "");
    }
  }
}

TEST_F(ScanStoreTest, MovedStoreFiltersAndDumpsItsGroups) {
  WifiScanResult parsed;
  parsed.addData("02:00:00:00:00:02", "2437", -50, "Net");
  WifiScanResult store;
  store.addData("02:00:00:00:00:09", "5180", -70, "Old");
  store = std::move(parsed);
  EXPECT_TRUE(parsed.byFreqBssidSsid.empty() && parsed.byBssidFreq.empty());
  std::list<MeasurementRequestReport> requests = {filter("Net", kAny, {1})};
  store.filterData(requests);
  for (const char* line : {"WifiScanResult::findPartialKey  Net ff:ff:ff:ff:ff:ff 1",
                           "dumpReport after filterData", "ssid :Net", "bssid lsit length :1",
                           "RawMeasurement bssid channel 02:00:00:00:00:02  2437  -50"}) {
    EXPECT_TRUE(logged(line, 1)) << line;
  }
  EXPECT_EQ(host.logger.lines().size(), 5u);
}

}  // namespace
