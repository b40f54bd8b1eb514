// Raw measurements end to end: starting, scan and connected reports, stopping, and the
// request's odd but deliberate rules. Decoding the indication is RawRequestTest's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Indications.h"
#include "RawMeasurement.h"
#include "TestHost.h"
#include "WifiInfoProvider.h"

namespace {

using nexhost::Json;
using testind::anySsid;
using testind::connected;
using testind::indication;
using testind::named;
using ::testing::ElementsAre;

constexpr uint64_t kRssi = DSD_WIFI_MEAS_PARAM_RSSI_V01;
constexpr uint64_t kRssiAndLoad = DSD_WIFI_MEAS_PARAM_RSSI_V01 | DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01;

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
  // A worker built directly, outside the manager's table.
  std::unique_ptr<WifiMeasurementRequest::RawMeasurement> worker(
      const dsd_start_wifi_meas_ind_msg_v01& ind) {
    return std::make_unique<WifiMeasurementRequest::RawMeasurement>(
        host.client(), host.com, host.timer, host.supplicant(), *WifiInfoProvider::getInstance(),
        ind, &MdxWifiClientMgr::deleteClient);
  }

  nexhost::ScriptedSupplicant* scripted = nullptr;
};

// ---- Starting

TEST_F(RawMeasurementTest, RefusedRequestArmsNothingAndFreesItsId) {
  EXPECT_FALSE(start(indication(4, DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01, {anySsid()})));
  EXPECT_EQ(host.scheduler.activeTimers(), 0u);
  EXPECT_TRUE(scripted->commands().empty());
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

// The three report builders share one set-up: a link report carries the status's own RSSI
// inside the current report, and only a report's last message moves the id on.
TEST_F(RawMeasurementTest, ReportIdMovesOnLastMessagesWrapsToOneAndRestartsAfterStop) {
  uint32_t id = 0xFFFFFFFEu;
  WifiMeasurementRequest::RawMeasurement::advanceReportId(id);
  EXPECT_EQ(id, 0xFFFFFFFFu);
  WifiMeasurementRequest::RawMeasurement::advanceReportId(id);
  EXPECT_EQ(id, 1u);

  scripted->setReply("STATUS", readTestData("hwsim/status.txt"));
  scripted->setReply("SIGNAL_POLL", "RSSI=-58\nFREQUENCY=2437\n");
  auto raw = worker(indication(16, kRssi, {connected()}));
  ASSERT_TRUE(raw->startMeasurement());
  raw->sendAndsfReport();
  raw->sendConnectedReport();
  raw->sendAndsfReport();
  raw->stopMeasurement();
  raw->sendAndsfReport();
  auto sent = reports();
  ASSERT_EQ(sent.size(), 4u);
  // The ANDSF reports carry the average (0: no sample yet), the connected one the status's.
  const struct {
    int reportId, last, rssi;
  } expected[] = {{1, 1, 0}, {2, 0, -58}, {2, 1, 0}, {1, 1, 0}};
  for (std::size_t i = 0; i < sent.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(sent[i]["wifi_meas_id"], 16);
    EXPECT_EQ(sent[i]["report_id"], expected[i].reportId);
    EXPECT_EQ(sent[i]["is_last_report"], expected[i].last);
    EXPECT_EQ(sent[i]["ssid"], "LabNet");
    EXPECT_EQ(sent[i]["bss_info_len"], 1);
    EXPECT_EQ(sent[i]["bss_info"][0]["bssid"], "02:00:00:00:00:00");
    EXPECT_EQ(sent[i]["bss_info"][0]["frequency"], 2437);
    EXPECT_EQ(sent[i]["bss_info"][0]["rssi"], expected[i].rssi);
  }
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

// The counts are cut in decoding (RawRequestTest); this runs the cut request through a scan.
TEST_F(RawMeasurementTest, HostileIndicationRunsAScanAndStops) {
  const dsd_start_wifi_meas_ind_msg_v01 ind = testind::hostile(kRssiAndLoad);
  auto raw = worker(ind);
  ASSERT_TRUE(raw->startMeasurement());
  EXPECT_TRUE(host.logger.contains("startMeasurement  mdx ssid " + std::string(32, 'A')));
  scripted->fireScanReady();
  raw->stopMeasurement();
}

}  // namespace
