// What the plug-in told the modem while `nexhost live` ran it against the lab's real
// wpa_supplicant and hostapd (tests/radio/guest/cases). Only radio-dependent values are
// checked loosely: RSSI within a few dB, any channel utilisation byte.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "RadioResults.h"

namespace {

using Json = nlohmann::json;
using radio::lines;
using radio::readResult;

// How far a live RSSI may stray from what the lab's radios have always given.
constexpr int kRssiTolerance = 8;

// The modem messages of one case, in order ("fields" of each "modem" event).
std::vector<Json> modemMessages(const std::string& name, const std::string& message) {
  std::vector<Json> out;
  for (const std::string& line : lines(readResult("cases/" + name + ".jsonl"))) {
    const Json event = Json::parse(line, nullptr, false);
    if (event.is_discarded()) {
      ADD_FAILURE() << name << ": not JSON: " << line;
      continue;
    }
    if (event.value("kind", "") == "modem" && event.value("message", "") == message) {
      out.push_back(event["fields"]);
    }
  }
  return out;
}

// A value from one of the peers' own replies that the guest captured.
std::string peerValue(const std::string& file, const std::string& key) {
  for (const std::string& line : lines(readResult("peers/" + file))) {
    if (line.rfind(key + "=", 0) == 0) return line.substr(key.size() + 1);
  }
  return "<absent>";
}

void expectRssiNear(const Json& rssi, int nominal, const std::string& what) {
  ASSERT_TRUE(rssi.is_number_integer()) << what;
  EXPECT_NEAR(rssi.get<int>(), nominal, kRssiTolerance) << what;
}

TEST(LiveCase, EveryRunEndsCleanly) {
  for (const char* name : {"any-ssid", "one-network", "connected", "default-profile"}) {
    EXPECT_EQ(readResult(std::string("cases/") + name + ".exit"), "0\n")
        << name << ": " << readResult(std::string("cases/") + name + ".err");
  }
}

struct AccessPoint {
  const char* ssid;
  const char* bssid;
  int frequency;
  int rssi;            // what the lab's radios give, within kRssiTolerance
  int reportedParams;  // 5 with a BSS Load element, else 1
};

const AccessPoint kLabNet{"LabNet", "02:00:00:00:00:00", 2437, -30, 5};
const AccessPoint kLabNet5{"LabNet5", "02:00:00:00:02:00", 5180, -27, 1};

struct ScanCase {
  const char* name;
  std::vector<AccessPoint> expected;
};

void PrintTo(const ScanCase& c, std::ostream* os) { *os << c.name; }

class LiveScanTest : public ::testing::TestWithParam<ScanCase> {};

// Every complete report (the messages of one report id, the last flagged) lists exactly
// the expected access points, each under its own SSID.
TEST_P(LiveScanTest, ReportsExactlyTheExpectedAccessPoints) {
  const ScanCase& c = GetParam();
  std::map<unsigned, std::map<std::string, Json>> byReport;  // report id -> bssid -> entry
  std::map<unsigned, bool> complete;
  for (const Json& m : modemMessages(c.name, "wifi_meas_report")) {
    const unsigned id = m["report_id"];
    if (m["is_last_report"] == 1) complete[id] = true;
    for (const Json& entry : m["bss_info"]) {
      Json withSsid = entry;
      withSsid["ssid"] = m["ssid"];
      byReport[id][entry["bssid"]] = withSsid;
    }
  }
  ASSERT_FALSE(complete.empty()) << c.name << ": no complete report";
  for (const auto& [id, done] : complete) {
    const std::map<std::string, Json>& seen = byReport[id];
    EXPECT_EQ(seen.size(), c.expected.size()) << c.name << " report " << id;
    for (const AccessPoint& ap : c.expected) {
      const auto it = seen.find(ap.bssid);
      if (it == seen.end()) {
        ADD_FAILURE() << c.name << " report " << id << " lacks " << ap.bssid;
        continue;
      }
      const Json& e = it->second;
      const std::string what = std::string(c.name) + " " + ap.bssid;
      EXPECT_EQ(e["ssid"], ap.ssid) << what;
      EXPECT_EQ(e["frequency"], ap.frequency) << what;
      EXPECT_EQ(e["reported_params"], ap.reportedParams) << what;
      expectRssiNear(e["rssi"], ap.rssi, what);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Live, LiveScanTest,
                         ::testing::Values(
                             // Any SSID with BSS load: both access points, load where sent.
                             ScanCase{"any-ssid", {kLabNet, kLabNet5}},
                             // SSID, BSSID and channel filter: LabNet alone.
                             ScanCase{"one-network", {kLabNet}}),
                         [](const auto& info) {
                           std::string name = info.param.name;
                           name.erase(name.find('-'), 1);
                           return name;
                         });

// Connected mode reports the link the station holds, with the averaged RSSI: the sampling
// ran before the first report, so no report carries the empty average 0.
TEST(LiveConnected, ReportsTheLinkWithItsAveragedRssi) {
  const std::vector<Json> reports = modemMessages("connected", "wifi_meas_report");
  ASSERT_FALSE(reports.empty());
  for (const Json& m : reports) {
    EXPECT_EQ(m["ssid"], kLabNet.ssid);
    ASSERT_EQ(m["bss_info_len"], 1);
    const Json& link = m["bss_info"][0];
    EXPECT_EQ(link["bssid"], kLabNet.bssid);
    EXPECT_EQ(link["frequency"], kLabNet.frequency);
    expectRssiNear(link["rssi"], kLabNet.rssi, "connected link");
  }
}

// A record field that must equal a value from a peer's own reply in the guest.
struct PeerField {
  const char* field;
  const char* file;
  const char* key;
  bool number;
};

struct AvailabilityCase {
  const char* what;
  int connectionType;
  Json fixed;
  std::vector<PeerField> fromPeers;
};

void PrintTo(const AvailabilityCase& c, std::ostream* os) { *os << c.what; }

class LiveAvailabilityTest : public ::testing::TestWithParam<AvailabilityCase> {};

TEST_P(LiveAvailabilityTest, CarriesWhatThePeersReport) {
  const AvailabilityCase& c = GetParam();
  std::vector<Json> records;
  for (const Json& m : modemMessages("default-profile", "wlan_available")) {
    if (m["connection_type"] == c.connectionType) records.push_back(m);
  }
  ASSERT_EQ(records.size(), 1u) << c.what;
  const Json& record = records[0];
  for (const auto& [key, value] : c.fixed.items()) {
    EXPECT_EQ(record[key], value) << c.what << ": " << key;
  }
  for (const PeerField& p : c.fromPeers) {
    const std::string text = peerValue(p.file, p.key);
    const Json value = p.number ? Json(std::atoi(text.c_str())) : Json(text);
    EXPECT_EQ(record[p.field], value) << c.what << ": " << p.field << " vs " << p.file;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Live, LiveAvailabilityTest,
    ::testing::Values(
        // Station: the live link's frequency, HT (802.11n) mode and the access point's
        // country, since the engine gave no location country.
        AvailabilityCase{"station",
                         2,
                         {{"ssid", "LabNet"},
                          {"frequency_valid", 1},
                          {"wifi_mode_valid", 1},
                          {"wifi_mode", 5},
                          {"country_code_valid", 1},
                          {"country_code", "DE"},
                          {"link_status", 2}},
                         {{"bssid", "status.txt", "bssid", false},
                          {"frequency", "status.txt", "freq", true}}},
        // Soft AP: name, address and frequency from hostapd_cli STATUS on the handset's
        // control path.
        AvailabilityCase{"soft AP",
                         3,
                         {{"ssid_valid", 1}, {"frequency_valid", 1}, {"link_status", 1}},
                         {{"ssid", "softap_status.txt", "ssid[0]", false},
                          {"bssid", "softap_status.txt", "bssid[0]", false},
                          {"frequency", "softap_status.txt", "freq", true}}}),
    [](const auto& info) { return info.param.connectionType == 2 ? "Station" : "SoftAp"; });

// The plug-in's own hostapd_cli line reached the soft AP's real control socket as it is.
TEST(LiveSoftAp, AnswersThePluginsCommandLineUnchanged) {
  int runs = 0;
  for (const std::string& line : lines(readResult("cases/default-profile.jsonl"))) {
    const Json event = Json::parse(line, nullptr, false);
    if (event.is_discarded() || event.value("kind", "") != "hostapd") continue;
    if (!event.contains("command_line")) continue;  // the plug-in asking the chipset type
    ++runs;
    EXPECT_EQ(event["command_line"],
              "hostapd_cli -p /data/vendor/wifi/hostapd/ctrl -s /data/vendor/wifi/hostapd/ctrl"
              " -i softap0 STATUS");
    EXPECT_EQ(event["exit_code"], 0);
  }
  EXPECT_GT(runs, 0);
}

#ifdef MDX_NEXHOST
// The `bytes` of every modem event, in order.
std::vector<std::string> modemBytes(const std::vector<std::string>& events) {
  std::vector<std::string> out;
  for (const std::string& line : events) {
    const Json event = Json::parse(line, nullptr, false);
    if (!event.is_discarded() && event.value("kind", "") == "modem") out.push_back(event["bytes"]);
  }
  return out;
}

// A session recorded in the guest, replayed here on the virtual clock: the modem gets the
// same bytes, and every event comes at the same time.
TEST(LiveRecording, ReplaysIntoTheSameEvents) {
  for (const char* name : {"one-network", "default-profile"}) {
    const std::vector<std::string> live =
        lines(readResult(std::string("cases/") + name + ".jsonl"));
    const std::string command = std::string(MDX_NEXHOST) + " run --json --log-level 1 '" +
                                radio::resultsDir() + "/cases/" + name + ".recorded.json'";
    std::string output;
    std::FILE* replay = popen(command.c_str(), "r");
    ASSERT_NE(replay, nullptr) << command;
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, replay)) > 0;) {
      output.append(buffer, n);
    }
    EXPECT_EQ(pclose(replay), 0) << command;
    const std::vector<std::string> replayed = lines(output);
    EXPECT_FALSE(modemBytes(live).empty()) << name;
    EXPECT_EQ(modemBytes(live), modemBytes(replayed)) << name;
    for (std::size_t i = 0; i < std::min(live.size(), replayed.size()); ++i) {
      ASSERT_EQ(live[i], replayed[i]) << name << ": event " << i + 1 << " of " << live.size();
    }
    EXPECT_EQ(live.size(), replayed.size()) << name;
  }
}
#endif

}  // namespace
