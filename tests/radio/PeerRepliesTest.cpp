// The peers' live replies against the recorded ones the unit tests replay: same keys in
// the same order, same table layout, same stable values. When a peer changes its format
// this fails here before the recordings mislead every other test.
#include <algorithm>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "RadioResults.h"

namespace {

using radio::lines;
using radio::readFile;
using radio::readResult;

std::string recorded(const std::string& name) {
  return readFile(std::string(MDX_TEST_DATA_DIR) + "/hwsim/" + name);
}

// The keys of a key=value reply in order; a line without '=' counts as its own key.
std::vector<std::string> keys(const std::string& text, const std::set<std::string>& optional) {
  std::vector<std::string> out;
  for (const std::string& line : lines(text)) {
    const std::string key = line.substr(0, line.find('='));
    if (optional.count(key) == 0) out.push_back(key);
  }
  return out;
}

std::string valueOf(const std::string& text, const std::string& key) {
  for (const std::string& line : lines(text)) {
    if (line.rfind(key + "=", 0) == 0) return line.substr(key.size() + 1);
  }
  return "<absent>";
}

struct ReplyCase {
  const char* file;
  // Keys that come and go with the run or the lab's configuration.
  std::set<std::string> optional;
  // Keys whose values are the same in every run and in the recording.
  std::vector<std::string> stable;
};

void PrintTo(const ReplyCase& c, std::ostream* os) { *os << c.file; }

class PeerReplyTest : public ::testing::TestWithParam<ReplyCase> {};

TEST_P(PeerReplyTest, HasTheRecordedKeysAndStableValues) {
  const ReplyCase& c = GetParam();
  const std::string live = readResult(std::string("peers/") + c.file);
  const std::string old = recorded(c.file);
  EXPECT_EQ(keys(live, c.optional), keys(old, c.optional)) << "live reply:\n" << live;
  for (const std::string& key : c.stable) {
    EXPECT_EQ(valueOf(live, key), valueOf(old, key)) << key;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Peers, PeerReplyTest,
    ::testing::Values(
        ReplyCase{"status.txt", {}, {"bssid", "freq", "ssid", "mode", "wpa_state", "address"}},
        ReplyCase{"signal_poll.txt", {}, {"RSSI", "NOISE", "FREQUENCY", "WIDTH"}},
        ReplyCase{"bss.txt", {"beacon_ie"}, {"bssid", "freq", "level", "noise", "ssid"}},
        ReplyCase{"bss_5ghz.txt", {"beacon_ie"}, {"bssid", "freq", "level", "noise", "ssid"}},
        ReplyCase{"hostapd_status.txt", {}, {"freq", "channel", "bssid[0]", "ssid[0]"}},
        // This lab's 5 GHz access point keeps no load average.
        ReplyCase{"hostapd_status_5ghz.txt",
                  {"chan_util_avg"},
                  {"freq", "channel", "vht_oper_chwidth", "bssid[0]", "ssid[0]"}},
        ReplyCase{"hostapd_all_sta.txt", {}, {"flags", "signal"}}),
    [](const auto& info) {
      std::string name = info.param.file;
      name = name.substr(0, name.find('.'));
      name.erase(std::remove(name.begin(), name.end(), '_'), name.end());
      return name;
    });

// One row per access point, tab-separated, in whatever order the supplicant keeps them.
TEST(PeerScanResults, ListBothAccessPointsInTheRecordedLayout) {
  std::vector<std::string> live = lines(readResult("peers/scan_results.txt"));
  std::vector<std::string> old = lines(recorded("scan_results.txt"));
  ASSERT_FALSE(live.empty());
  EXPECT_EQ(live.front(), old.front());
  std::sort(live.begin() + 1, live.end());
  std::sort(old.begin() + 1, old.end());
  EXPECT_EQ(std::vector<std::string>(live.begin() + 1, live.end()),
            std::vector<std::string>(old.begin() + 1, old.end()));
}

TEST(PeerSoftAp, AnswersOnTheHandsetControlPath) {
  const std::string status = readResult("peers/softap_status.txt");
  EXPECT_EQ(valueOf(status, "state"), "ENABLED");
  EXPECT_EQ(valueOf(status, "ssid[0]"), "LabHotspot");
  EXPECT_EQ(valueOf(status, "bssid[0]"), "42:00:00:00:01:00");
  EXPECT_EQ(valueOf(status, "freq"), "2437");
}

}  // namespace
