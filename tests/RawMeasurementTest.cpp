// Raw measurements end to end: decoding the start indication, scan and connected reports,
// stopping, and the request's odd but deliberate rules.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Indications.h"
#include "RawMeasurement.h"
#include "TestHost.h"
#include "WifiInfoProvider.h"

namespace {

using nexhost::Json;
using testind::anySsid;
using testind::Bssid;
using testind::connected;
using testind::indication;
using testind::named;
using ::testing::ElementsAre;

constexpr uint64_t kRssi = DSD_WIFI_MEAS_PARAM_RSSI_V01;
constexpr uint64_t kRssiAndLoad = DSD_WIFI_MEAS_PARAM_RSSI_V01 | DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01;
constexpr testind::Mac kLabNet = {0x02, 0, 0, 0, 0x00, 0};
constexpr testind::Mac kLabNet5 = {0x02, 0, 0, 0, 0x02, 0};

class RawMeasurementTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    scripted = host.scripted();
    scripted->setReply("SCAN", "OK");
    scripted->setReply("SCAN_RESULTS", readTestData("hwsim/scan_results.txt"));
    scripted->setReply("BSS 02:00:00:00:00:00", readTestData("hwsim/bss.txt"));
    scripted->setReply("BSS 02:00:00:00:02:00", readTestData("hwsim/bss_5ghz.txt"));
  }

  bool start(dsd_start_wifi_meas_ind_msg_v01 ind, int client = 0) {
    return manager->startWifiMeasurement(&host.client(client), ind);
  }
  void stop(uint32_t id, int client = 0) {
    dsd_stop_wifi_meas_ind_msg_v01 ind{id};
    manager->stopWifiMeasurement(&host.client(client), ind);
  }
  std::vector<Json> reports() {
    std::vector<Json> out;
    for (const auto& m : host.modem.messagesOfType("wifi_meas_report")) out.push_back(m.fields);
    return out;
  }
  // A worker built directly, for the decoding rules.
  std::unique_ptr<WifiMeasurementRequest::RawMeasurement> worker(
      const dsd_start_wifi_meas_ind_msg_v01& ind) {
    return std::make_unique<WifiMeasurementRequest::RawMeasurement>(
        host.client(), host.com, host.timer, host.supplicant(), *WifiInfoProvider::getInstance(),
        ind, &MdxWifiClientMgr::deleteClient);
  }

  nexhost::ScriptedSupplicant* scripted = nullptr;
};

// ---- Decoding the indication

TEST_F(RawMeasurementTest, DecodingRulesForSsidsBssidsAndChannels) {
  struct Case {
    const char* name;
    std::vector<testind::Network> networks;
    std::vector<std::string> ssids;
    std::string bssidText, channelText;
    std::set<uint16_t> firstSet;
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
    SCOPED_TRACE(c.name);
    auto raw = worker(indication(1, kRssiAndLoad, c.networks));
    raw->parseMeasurementRequestMdxMessage();
    std::vector<std::string> ssids;
    for (const auto& r : raw->requestReports()) ssids.push_back(r.ssid);
    EXPECT_EQ(ssids, c.ssids);
    EXPECT_EQ(raw->bssidFilterText(), c.bssidText);
    EXPECT_EQ(raw->channelFilterText(), c.channelText);
    EXPECT_EQ(raw->requestReports().front().bssidChannels.begin()->second, c.firstSet);
    EXPECT_TRUE(raw->requestReports().front().rssiRequested);
    EXPECT_TRUE(raw->requestReports().front().bssLoadRequested);
  }
}

TEST_F(RawMeasurementTest, ConfigurationTakesIntervalsAsGivenAndAlphaOnlyInsideZeroOne) {
  struct Case {
    float alpha;
    float expected;
  } cases[] = {{1.0f, 0.5f}, {0.0f, 0.5f}, {-0.3f, 0.5f}, {0.25f, 0.25f}, {0.999f, 0.999f}};
  for (const Case& c : cases) {
    auto ind = indication(1, kRssi, {});
    testind::setIntervals(ind, 0, -3);
    ind.alpha_valid = 1;
    ind.alpha = c.alpha;
    auto raw = worker(ind);
    EXPECT_TRUE(raw->isConfigParamOk());
    EXPECT_FLOAT_EQ(raw->averageWeight(), c.expected);
    EXPECT_EQ(raw->samplingPeriod(), 0);
    EXPECT_EQ(raw->reportingPeriod(), -3);
  }
}

TEST_F(RawMeasurementTest, RefusedRequestsArmNothingAndFreeTheirId) {
  struct Case {
    uint64_t mask;
    const char* message;
  } cases[] = {{0, "No params specified for measurement"},
               {DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01, "Measurement parameters does not include RSSI"}};
  for (const Case& c : cases) {
    host.logger.clear();
    EXPECT_FALSE(start(indication(4, c.mask, {anySsid()})));
    ASSERT_TRUE(host.logger.contains(c.message));
    EXPECT_EQ(host.logger.find(c.message)->level, 1);
    EXPECT_EQ(host.scheduler.activeTimers(), 0u);
    EXPECT_TRUE(scripted->commands().empty());
  }
  EXPECT_TRUE(start(indication(4, kRssi, {anySsid()})));
  EXPECT_FALSE(host.logger.contains("Measurement ID: 4 already exists"));
}

// ---- Scan reports

TEST_F(RawMeasurementTest, AnySsidReportsOneMessagePerNetworkUnderOneReportId) {
  ASSERT_TRUE(start(indication(21, kRssi, {anySsid()})));
  EXPECT_THAT(scripted->commandTexts(), ElementsAre("SCAN"));  // the first scan goes out at once
  scripted->fireScanReady();

  auto sent = reports();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0]["ssid"], "LabNet");
  EXPECT_EQ(sent[0]["is_last_report"], 0);
  EXPECT_EQ(sent[1]["ssid"], "LabNet5");
  EXPECT_EQ(sent[1]["is_last_report"], 1);
  for (const Json& r : sent) {
    EXPECT_EQ(r["wifi_meas_id"], 21);
    EXPECT_EQ(r["report_id"], 1);
    EXPECT_EQ(r["bss_info_valid"], 1);
    EXPECT_EQ(r["bss_info_len"], 1);
    EXPECT_EQ(r["bss_info"][0]["reported_params"], 1);
  }

  host.scheduler.advanceBy(5);  // the reporting period asks for the next scan
  EXPECT_EQ(scripted->countCommand("SCAN"), 2u);
  scripted->fireScanReady();
  sent = reports();
  ASSERT_EQ(sent.size(), 4u);
  EXPECT_EQ(sent[2]["report_id"], 2);
  EXPECT_EQ(sent[3]["report_id"], 2);
}

TEST_F(RawMeasurementTest, BssLoadIsQueriedPerEntryAndFlagsReportedParams) {
  // LabNet's reply carries no BSS Load element this time.
  scripted->setReply("BSS 02:00:00:00:00:00",
                     "id=1\nbssid=02:00:00:00:00:00\nie=00064c61624e6574\n");
  ASSERT_TRUE(start(indication(3, kRssiAndLoad, {anySsid()})));
  scripted->fireScanReady();
  EXPECT_EQ(scripted->countCommand("BSS 02:00:00:00:00:00"), 1u);
  EXPECT_EQ(scripted->countCommand("BSS 02:00:00:00:02:00"), 1u);
  auto sent = reports();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0]["bss_info"][0]["reported_params"], 1);
  EXPECT_EQ(sent[0]["bss_info"][0]["channel_utilization"], 65535);  // copied even when unknown
  EXPECT_EQ(sent[1]["bss_info"][0]["reported_params"], 5);
  EXPECT_EQ(sent[1]["bss_info"][0]["channel_utilization"], 30);
}

TEST_F(RawMeasurementTest, FailedBssQueryCountsAsZeroLoad) {
  scripted->setFailure("BSS 02:00:00:00:00:00");
  ASSERT_TRUE(start(indication(3, kRssiAndLoad, {named("LabNet")})));
  scripted->fireScanReady();
  auto sent = reports();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0]["bss_info"][0]["reported_params"], 5);
  EXPECT_EQ(sent[0]["bss_info"][0]["channel_utilization"], 0);
}

TEST_F(RawMeasurementTest, SsidWithoutMatchIsReportedEmpty) {
  ASSERT_TRUE(start(indication(5, kRssi, {named("Other")})));
  scripted->fireScanReady();
  auto sent = reports();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0]["ssid"], "Other");
  EXPECT_EQ(sent[0]["bss_info_valid"], 0);
  EXPECT_EQ(sent[0]["bss_info_len"], 0);
  EXPECT_EQ(sent[0]["is_last_report"], 1);
}

TEST_F(RawMeasurementTest, RequestWithoutNetworksScansButNeverReports) {
  ASSERT_TRUE(start(indication(6, kRssi, {})));
  for (int period = 0; period < 3; ++period) {
    scripted->fireScanReady();
    host.scheduler.advanceBy(5);
  }
  EXPECT_EQ(scripted->countCommand("SCAN"), 4u);
  EXPECT_TRUE(reports().empty());
}

TEST_F(RawMeasurementTest, ReportHoldsAtMost58AccessPointsAndCutsLongSsids) {
  std::string listing = "bssid / frequency / signal level / flags / ssid\n";
  // 60 lines of 67 bytes still fit the 4095-byte reply.
  const std::string longName(33, 'L');
  for (int i = 0; i < 60; ++i) {
    char line[128];
    std::snprintf(line, sizeof line, "02:00:00:00:%02x:00\t2412\t-%d\t[ESS]\t%s\n", i, 40 + i,
                  longName.c_str());
    listing += line;
  }
  scripted->setReply("SCAN_RESULTS", listing);
  ASSERT_TRUE(start(indication(7, kRssi, {anySsid()})));
  scripted->fireScanReady();
  auto sent = reports();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0]["bss_info_len"], 58);
  EXPECT_EQ(sent[0]["bss_info"].size(), 58u);
  EXPECT_EQ(sent[0]["ssid_len"], 32);
  EXPECT_EQ(sent[0]["ssid"], std::string(32, 'L'));
  EXPECT_TRUE(host.logger.contains("sendScanReport bssid lenght :60 ssid length:1 "));
}

// ---- Connected (ANDSF) reports

TEST_F(RawMeasurementTest, ConnectedModeReportsTheWeightedAverage) {
  std::vector<nexhost::SupplicantBackend::Reply> polls;
  for (int rssi : {-60, -71, -71, -71}) {
    polls.push_back({true, "RSSI=" + std::to_string(rssi) + "\nFREQUENCY=2437\n"});
  }
  scripted->setSequence(SUPPLICANT_STA, "SIGNAL_POLL", polls);
  scripted->setReply("STATUS", readTestData("hwsim/status.txt"));
  auto ind = indication(9, kRssi, {connected()});
  testind::setIntervals(ind, 2, 5);
  ASSERT_TRUE(start(ind));
  EXPECT_EQ(scripted->countCommand("SCAN"), 0u);
  EXPECT_EQ(host.scheduler.activeTimers(), 2u);

  // Samples at 2 (-60) and 4 (-71); the report at 5 polls once for the link status.
  host.scheduler.advanceTo(5);
  auto sent = reports();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0]["bss_info"][0]["rssi"], -65);
  EXPECT_EQ(sent[0]["is_last_report"], 1);
  // Samples of -71 at 6, 8 and 10 give -68, then -69.5 truncated to -69, then -70; the
  // sample at 10 runs before the report due at the same time.
  host.scheduler.advanceTo(10);
  sent = reports();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[1]["bss_info"][0]["rssi"], -70);
  EXPECT_EQ(sent[1]["report_id"], 2);
}

TEST_F(RawMeasurementTest, ConnectedReportGoesOutEvenWithoutALink) {
  scripted->setFailure("SIGNAL_POLL");
  auto ind = indication(10, kRssi, {connected()});
  testind::setIntervals(ind, 50, 5);
  ASSERT_TRUE(start(ind));
  host.scheduler.advanceTo(5);
  auto sent = reports();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0]["ssid_len"], 0);
  EXPECT_EQ(sent[0]["bss_info"][0]["bssid"], "00:00:00:00:00:00");
  EXPECT_EQ(sent[0]["bss_info"][0]["frequency"], 0);
  EXPECT_EQ(sent[0]["bss_info"][0]["rssi"], 0);  // no sample yet
}

TEST_F(RawMeasurementTest, ConnectedModeNeedsTheNetworkListFlag) {
  auto ind = indication(11, kRssi, {connected()});
  ind.wifi_ident_valid = 0;  // all-zero SSID, but no list: scan mode
  ASSERT_TRUE(start(ind));
  EXPECT_EQ(scripted->countCommand("SCAN"), 1u);
  EXPECT_EQ(host.scheduler.activeTimers(), 1u);
}

// ---- Stopping

TEST_F(RawMeasurementTest, StopRemovesTimersAndSilencesLateResults) {
  auto ind = indication(12, kRssi, {connected()});
  ASSERT_TRUE(start(ind));
  stop(12);
  EXPECT_EQ(host.scheduler.activeTimers(), 0u);
  ASSERT_TRUE(start(indication(13, kRssi, {anySsid()})));
  stop(13);
  EXPECT_EQ(host.scheduler.activeTimers(), 0u);
  host.scheduler.advanceBy(100);
  scripted->fireScanReady();
  EXPECT_TRUE(reports().empty());
  // The front is gone; its worker deliberately is not.
  EXPECT_EQ(host.logger.count("WifiMeasurementRequest D-Xtor"), 2u);
  EXPECT_FALSE(host.logger.contains("RawMeasurement D-Xtor"));
}

TEST_F(RawMeasurementTest, TheProviderHoldsOneCallbackForAllRawRequests) {
  ASSERT_TRUE(start(indication(14, kRssi, {named("LabNet5")})));
  ASSERT_TRUE(start(indication(15, kRssi, {named("LabNet")})));
  scripted->fireScanReady();
  auto sent = reports();
  ASSERT_EQ(sent.size(), 1u);  // the second start replaced the first one's callback
  EXPECT_EQ(sent[0]["wifi_meas_id"], 15);
  stop(15);
  scripted->fireScanReady();
  EXPECT_EQ(reports().size(), 1u);  // stopping 15 silenced 14 as well ...
  host.scheduler.advanceBy(5);      // ... until 14's next period scans again
  scripted->fireScanReady();
  sent = reports();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[1]["wifi_meas_id"], 14);
}

TEST_F(RawMeasurementTest, ReportIdWrapsToOneAndRestartsAtOneAfterStop) {
  uint32_t id = 0xFFFFFFFEu;
  WifiMeasurementRequest::RawMeasurement::advanceReportId(id);
  EXPECT_EQ(id, 0xFFFFFFFFu);
  WifiMeasurementRequest::RawMeasurement::advanceReportId(id);
  EXPECT_EQ(id, 1u);

  auto raw = worker(indication(16, kRssi, {connected()}));
  ASSERT_TRUE(raw->startMeasurement());
  raw->sendAndsfReport();
  raw->sendAndsfReport();
  raw->stopMeasurement();
  raw->sendAndsfReport();
  auto sent = reports();
  ASSERT_EQ(sent.size(), 3u);
  EXPECT_EQ(sent[0]["report_id"], 1);
  EXPECT_EQ(sent[1]["report_id"], 2);
  EXPECT_EQ(sent[2]["report_id"], 1);
}

TEST_F(RawMeasurementTest, TimerAndScanCallbacksRefuseANullContext) {
  using Raw = WifiMeasurementRequest::RawMeasurement;
  EXPECT_EQ(Raw::samplingTimerExprCb(nullptr), -1);
  EXPECT_EQ(Raw::reportingTimerExprCb(nullptr), -1);
  Raw::scanResultsCb(nullptr, nullptr);
  EXPECT_EQ(host.logger.count("arg is null"), 2u);
  EXPECT_EQ(host.logger.find("RawMeasurement self is null")->level, 4);
}

// ---- Hostile input

TEST_F(RawMeasurementTest, HostileIndicationIsClampedToTheRecord) {
  dsd_start_wifi_meas_ind_msg_v01 ind;
  std::memset(&ind, 'A', sizeof ind);
  ind.meas_param_mask = kRssiAndLoad;
  ind.wifi_ident_valid = 1;
  ind.wifi_ident_len = 0xFFFFFFFFu;
  ind.sampling_interval_valid = 0;
  ind.reporting_interval_valid = 0;
  ind.alpha_valid = 0;
  for (dsd_wifi_ident_type_v01& entry : ind.wifi_ident) {
    entry.bssid_list_len = 0xFFFFFFFFu;
    for (dsd_wifi_bssid_type_v01& b : entry.bssid_list) b.channel_list_len = 0xFFFFFFFFu;
  }
  auto raw = worker(ind);
  ASSERT_TRUE(raw->startMeasurement());
  ASSERT_EQ(raw->requestReports().size(), 8u);
  EXPECT_EQ(raw->requestReports().front().ssid, std::string(32, 'A'));
  const std::string oneBssid = "41:41:41:41:41:41";
  EXPECT_EQ(raw->bssidFilterText().size(), 16 * oneBssid.size() + 15);
  EXPECT_EQ(raw->channelFilterText().size(), 16 * 16 * 5 + 255);  // "16705" x 256, commas
  EXPECT_TRUE(host.logger.contains("startMeasurement  mdx ssid " + std::string(32, 'A')));
  scripted->fireScanReady();
  raw->stopMeasurement();
}

}  // namespace
