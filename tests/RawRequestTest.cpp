// Decoding a raw measurement's start indication, on indications alone: no timers, no
// supplicant, no modem; only a logger to read the lines the modem team reads.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "Indications.h"
#include "MallocFailure.h"
#include "RawRequest.h"
#include "events/Trace.h"
#include "framework/Logger.h"
#include "nex/NexMsg.h"

namespace {

using testind::anySsid;
using testind::connected;
using testind::indication;
using testind::named;

constexpr uint64_t kRssi = DSD_WIFI_MEAS_PARAM_RSSI_V01;
constexpr uint64_t kRssiAndLoad = DSD_WIFI_MEAS_PARAM_RSSI_V01 | DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01;
constexpr testind::Mac kLabNet = {0x02, 0, 0, 0, 0x00, 0};
constexpr testind::Mac kLabNet5 = {0x02, 0, 0, 0, 0x02, 0};

class RawRequestTest : public ::testing::Test {
 protected:
  void SetUp() override {
    logger.setJournal(nexhost::Logger::Journal::kKeep);
    NexMsg::globalLogger = &msg;
  }
  void TearDown() override { NexMsg::globalLogger = nullptr; }

  bool logged(const std::string& text, int level) const {
    const nexhost::LogLine* line = logger.find(text);
    return line != nullptr && line->level == level;
  }

  nexhost::Clock clock;
  nexhost::Trace trace{clock};
  nexhost::Logger logger{trace};
  NexMsg msg{logger};
};

TEST_F(RawRequestTest, NetworksBecomeOneFilterEachAndTheLastOnesTexts) {
  struct Case {
    const char* why;
    std::vector<testind::Network> networks;
    std::vector<std::string> ssids;
    std::string bssidText, channelText;
    std::set<uint16_t> lowestBssidSet;  // of the first network's lowest BSSID text
    int failedAllocation = -1;          // this channel code's text buffer is not to be had
  } cases[] = {
      {"BSSIDs join with commas, channel groups too, an empty one included",
       {named("Home", {{{0xaa, 0xbb, 0xcc, 0, 0, 1}, {2412, 2437}},
                       {{0, 0, 0, 0, 0, 2}, {}},
                       {{0, 0, 0, 0, 0, 3}, {5180}}})},
       {"Home"},
       "aa:bb:cc:00:00:01,00:00:00:00:00:02,00:00:00:00:00:03",
       "2412,2437,,5180",
       {}},
      {"duplicate codes keep their text but collapse in the set",
       {named("N", {{kLabNet, {5180, 2412, 5180}}})},
       {"N"},
       "02:00:00:00:00:00",
       "5180,2412,5180",
       {2412, 5180}},
      {"a code without memory for its text keeps its comma and its place in the set",
       {named("N", {{kLabNet, {2412, 2437, 5180}}})},
       {"N"},
       "02:00:00:00:00:00",
       "2412,,5180",
       {2412, 2437, 5180},
       1},
      {"a BSSID listed twice keeps its first channels",
       {named("N", {{kLabNet, {1}}, {kLabNet, {3}}})},
       {"N"},
       "02:00:00:00:00:00,02:00:00:00:00:00",
       "1,3",
       {1}},
      {"all 0xFF is any network", {anySsid()}, {"AnySSID"}, "ff:ff:ff:ff:ff:ff", "65535", {65535}},
      {"a leading 0xFF alone is text",
       {named("\xff"
              "abc")},
       {"\xff"
        "abc"},
       "ff:ff:ff:ff:ff:ff",
       "65535",
       {65535}},
      {"32 bytes without a terminator stay 32 bytes",
       {named(std::string(32, 'S'))},
       {std::string(32, 'S')},
       "ff:ff:ff:ff:ff:ff",
       "65535",
       {65535}},
      {"the last network's filter texts win",
       {named("A", {{kLabNet, {1}}}), named("B", {{kLabNet5, {3}}})},
       {"A", "B"},
       "02:00:00:00:02:00",
       "3",
       {1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    logger.clear();
    const auto ind = indication(1, kRssiAndLoad, c.networks);
    failMallocAfter(c.failedAllocation);
    const RawRequest request = decodeRawRequest(ind);
    failMallocAfter(-1);
    std::vector<std::string> ssids;
    for (const auto& report : request.reports) ssids.push_back(report.ssid);
    EXPECT_EQ(ssids, c.ssids);
    EXPECT_EQ(request.bssidFilter, c.bssidText);
    EXPECT_EQ(request.channelFilter, c.channelText);
    EXPECT_EQ(request.reports.front().bssidChannels.begin()->second, c.lowestBssidSet);
    EXPECT_TRUE(request.reports.front().rssiRequested);
    EXPECT_TRUE(request.reports.front().bssLoadRequested);
    EXPECT_EQ(logged("buf is NULL. Unable to allocate memory", 4), c.failedAllocation >= 0);
  }
}

TEST_F(RawRequestTest, ConfigurationTakesIntervalsAsGivenAndAlphaOnlyInsideZeroOne) {
  struct Case {
    const char* why;
    uint64_t mask;
    bool valuesGiven;  // the three validity flags, with intervals 0 and -3
    float alpha;
    float expectedAlpha;
    const char* refusal;  // null: the request may start
  } cases[] = {
      {"RSSI alone is enough; 0 and negative periods pass", kRssi, true, 0.25f, 0.25f, nullptr},
      {"a weight of 1 is outside: the default stays", kRssi, true, 1.0f, 0.5f, nullptr},
      {"a weight of 0 is outside", kRssi, true, 0.0f, 0.5f, nullptr},
      {"a negative weight is outside", kRssi, true, -0.3f, 0.5f, nullptr},
      {"just below 1 is inside", kRssi, true, 0.999f, 0.999f, nullptr},
      {"values without their flags are not read", kRssi, false, 0.25f, 0.5f, nullptr},
      {"nothing asked for: refused, the values still read", 0, true, 0.25f, 0.25f,
       "No params specified for measurement"},
      {"BSS load without RSSI: refused", DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01, true, 0.25f, 0.25f,
       "Measurement parameters does not include RSSI"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    logger.clear();
    auto ind = indication(1, c.mask, {anySsid()});
    testind::setIntervals(ind, 0, -3);
    ind.alpha = c.alpha;
    ind.alpha_valid = 1;
    if (!c.valuesGiven) {
      ind.sampling_interval_valid = ind.reporting_interval_valid = ind.alpha_valid = 0;
    }
    const RawRequest request = decodeRawRequest(ind);
    EXPECT_EQ(request.configParamOk, c.refusal == nullptr);
    EXPECT_EQ(request.samplingInterval, c.valuesGiven ? 0 : 2);
    EXPECT_EQ(request.reportingInterval, c.valuesGiven ? -3 : 5);
    EXPECT_FLOAT_EQ(request.alpha, c.expectedAlpha);
    if (c.refusal == nullptr) continue;
    EXPECT_TRUE(logged(c.refusal, 1));
    // A refused request's networks are never decoded, nor traced.
    EXPECT_TRUE(request.reports.empty());
    EXPECT_FALSE(logger.contains("Any SSID found "));
  }
}

TEST_F(RawRequestTest, OnlyAnAllZeroFirstSsidInAListAsksForTheConnectedLink) {
  struct Case {
    const char* why;
    std::vector<testind::Network> networks;
    bool listFlag;
    bool scan;
  } cases[] = {
      {"all-zero first SSID: the connected link, reported as an empty SSID",
       {connected()},
       true,
       false},
      {"the same entry without the list's flag", {connected()}, false, true},
      {"only the first entry counts", {named("A"), connected()}, true, true},
      {"a zero first byte before text is no all-zero SSID",
       {named(std::string("\0abc", 4))},
       true,
       true},
      {"any network", {anySsid()}, true, true},
      {"no networks at all", {}, false, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    auto ind = indication(42, kRssi, c.networks);
    ind.wifi_ident_valid = c.listFlag;
    const RawRequest request = decodeRawRequest(ind);
    EXPECT_EQ(request.isScanReport, c.scan);
    EXPECT_EQ(request.measurementId, 42u);
  }
  const RawRequest link = decodeRawRequest(indication(1, kRssi, {connected()}));
  ASSERT_EQ(link.reports.size(), 1u);
  EXPECT_EQ(link.reports.front().ssid, "");
}

TEST_F(RawRequestTest, HostileCountsAreCutToTheRecord) {
  const dsd_start_wifi_meas_ind_msg_v01 ind = testind::hostile(kRssiAndLoad);
  const RawRequest request = decodeRawRequest(ind);
  ASSERT_TRUE(request.configParamOk);
  ASSERT_EQ(request.reports.size(), 8u);
  EXPECT_EQ(request.reports.front().ssid, std::string(32, 'A'));
  const std::string oneBssid = "41:41:41:41:41:41";
  EXPECT_EQ(request.bssidFilter.size(), 16 * oneBssid.size() + 15);
  EXPECT_EQ(request.channelFilter.size(), 16 * 16 * 5 + 255);  // "16705" x 256, commas
}

}  // namespace
