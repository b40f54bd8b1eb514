// The Wi-Fi information provider: status queries, BSS load and scan delivery.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TestHost.h"
#include "WifiInfoProvider.h"

namespace {

using ::testing::ElementsAre;

class WifiInfoProviderTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    provider = WifiInfoProvider::getInstance();
    scripted = host.scripted();
  }

  static void countDelivery(void* result, void* context) {
    auto* self = static_cast<WifiInfoProviderTest*>(context);
    ++self->deliveries;
    self->lastGroups = static_cast<WifiScanResult*>(result)->filteredBySsid.size();
  }

  static MeasurementRequestReport anyReport(bool bssLoad) {
    MeasurementRequestReport report;
    report.ssid = "AnySSID";
    report.rssiRequested = true;
    report.bssLoadRequested = bssLoad;
    report.bssidChannels["ff:ff:ff:ff:ff:ff"] = {65535};
    return report;
  }

  WifiInfoProvider* provider = nullptr;
  nexhost::ScriptedSupplicant* scripted = nullptr;
  int deliveries = 0;
  std::size_t lastGroups = 0;
};

TEST_F(WifiInfoProviderTest, NotAssociatedSendsNoBssCommand) {
  scripted->setReply("SIGNAL_POLL", "RSSI=-90\n");
  scripted->setReply("STATUS", "wpa_state=SCANNING\naddress=02:00:00:00:01:00\n");
  const WifiStatus status = provider->getSTAStatus();
  EXPECT_THAT(scripted->commandTexts(), ElementsAre("SIGNAL_POLL", "STATUS"));
  EXPECT_EQ(status.wifiMode, -1);
  EXPECT_EQ(status.wpaState, "SCANNING");
}

TEST_F(WifiInfoProviderTest, FailedSignalPollStopsTheQueryWithAResetRecord) {
  scripted->setFailure("SIGNAL_POLL");
  scripted->setReply("STATUS", readTestData("hwsim/status.txt"));
  const WifiStatus status = provider->getSTAStatus();
  EXPECT_THAT(scripted->commandTexts(), ElementsAre("SIGNAL_POLL"));
  EXPECT_EQ(status.wifiMode, -1);
  EXPECT_EQ(status.ssid, "");
  EXPECT_EQ(status.frequency, 0);
  EXPECT_TRUE(host.logger.contains("Signal Poll command returned error"));
}

TEST_F(WifiInfoProviderTest, FailedBssCommandKeepsWhatWasParsed) {
  scripted->setReply("SIGNAL_POLL", readTestData("hwsim/signal_poll.txt"));
  scripted->setReply("STATUS", readTestData("hwsim/status.txt"));
  scripted->setFailure("BSS 02:00:00:00:00:00");
  const WifiStatus status = provider->getSTAStatus();
  EXPECT_EQ(status.ssid, "LabNet");
  EXPECT_EQ(status.wifiMode, -1);
  EXPECT_TRUE(host.logger.contains("Bss command returned error"));
}

TEST_F(WifiInfoProviderTest, P2pQueryUsesTheP2pInterfaceAndDisconnects) {
  scripted->setReply(SUPPLICANT_P2P, "STATUS",
                     "bssid=02:00:00:00:03:00\nfreq=2412\nssid=DIRECT-xy\nmode=P2P GO\n"
                     "wpa_state=COMPLETED\nip_address=192.168.49.1\n");
  const WifiStatus status = provider->getP2pStatus();
  EXPECT_EQ(status.mode, "P2P GO");
  EXPECT_EQ(status.ssid, "DIRECT-xy");
  EXPECT_EQ(status.wifiMode, 0);
  EXPECT_THAT(scripted->commandTexts(SUPPLICANT_P2P), ElementsAre("STATUS"));
  EXPECT_EQ(scripted->connects(SUPPLICANT_P2P), 1);
  EXPECT_EQ(scripted->disconnects(SUPPLICANT_P2P), 1);
}

TEST_F(WifiInfoProviderTest, FailedP2pConnectStillDisconnectsOnce) {
  scripted->setConnectResult(SUPPLICANT_P2P, false);
  const WifiStatus status = provider->getP2pStatus();
  EXPECT_TRUE(scripted->commandTexts(SUPPLICANT_P2P).empty());
  EXPECT_EQ(scripted->disconnects(SUPPLICANT_P2P), 1);
  EXPECT_EQ(status.wifiMode, 0);
  EXPECT_TRUE(host.logger.contains("Error: connectToSupplicant error"));
}

TEST_F(WifiInfoProviderTest, BssLoadQueries) {
  scripted->setReply("BSS 02:00:00:00:02:00", readTestData("hwsim/bss_5ghz.txt"));
  scripted->setFailure("BSS 02:00:00:00:00:00");
  const BssLoad fiveGhz = provider->getBssLoadInfo("02:00:00:00:02:00");
  EXPECT_EQ(fiveGhz.channelUtilization, 30);
  const BssLoad failed = provider->getBssLoadInfo("02:00:00:00:00:00");
  EXPECT_EQ(failed.channelUtilization, 0);  // all zero: reads as a valid load
  EXPECT_EQ(failed.channelBandwidth, 0);
  const nexhost::LogLine* line = host.logger.find("Signal Poll command returned error");
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->level, 1);
  provider->getBssLoadInfo("");
  EXPECT_EQ(scripted->commandTexts().back(), "");
}

TEST_F(WifiInfoProviderTest, ScanSetsFiltersInOrderThenScans) {
  std::list<MeasurementRequestReport> reports{anyReport(false)};
  provider->startScan(reports, "2437,5180", "02:00:00:00:00:00", 9, &countDelivery, this);
  EXPECT_THAT(scripted->bssidFilters(), ElementsAre("02:00:00:00:00:00"));
  EXPECT_THAT(scripted->frequencyFilters(), ElementsAre("2437,5180"));
  EXPECT_THAT(scripted->commandTexts(), ElementsAre("SCAN"));
  provider->cleanUp();
}

TEST_F(WifiInfoProviderTest, ScanReadyDeliversUntilCleanUp) {
  scripted->setReply("SCAN_RESULTS", readTestData("hwsim/scan_results.txt"));
  std::list<MeasurementRequestReport> reports{anyReport(false)};
  provider->startScan(reports, "", "", 0, &countDelivery, this);
  scripted->fireScanReady();
  scripted->fireScanReady();  // another party's scan reaches the same callback
  EXPECT_EQ(deliveries, 2);
  EXPECT_EQ(lastGroups, 2u);
  provider->cleanUp();
  scripted->fireScanReady();
  EXPECT_EQ(deliveries, 2);
  EXPECT_EQ(scripted->countCommand("SCAN_RESULTS"), 3u);  // still fetched and filtered
}

TEST_F(WifiInfoProviderTest, ScanReadyWithoutContextDoesNothing) {
  WifiInfoProvider::scanResultsReadyCb(nullptr, nullptr);
  EXPECT_EQ(scripted->countCommand("SCAN_RESULTS"), 0u);
  EXPECT_TRUE(host.logger.contains("WifiInfoProvider scanResultsReadyCb called"));
}

TEST_F(WifiInfoProviderTest, OnlyTheFirstReportDecidesOnBssLoad) {
  scripted->setReply("SCAN_RESULTS", readTestData("hwsim/scan_results.txt"));
  struct Case {
    std::list<MeasurementRequestReport> reports;
    std::size_t bssCommands;
  } cases[] = {
      {{}, 0},
      {{anyReport(false), anyReport(true)}, 0},
      {{anyReport(true), anyReport(false)}, 4},  // both groups merged twice
  };
  for (Case& c : cases) {
    scripted->clearJournal();
    host.logger.clear();
    provider->startScan(c.reports, "", "", 0, &countDelivery, this);
    scripted->fireScanReady();
    std::size_t bss = 0;
    for (const std::string& text : scripted->commandTexts()) bss += text.rfind("BSS ", 0) == 0;
    EXPECT_EQ(bss, c.bssCommands);
    if (!c.reports.empty()) {
      const nexhost::LogLine* line = host.logger.find(
          std::string("scanResultsReadyCb isBssLoadMask: ") + (c.bssCommands ? "1" : "0"));
      ASSERT_NE(line, nullptr);
      EXPECT_EQ(line->level, 4);
    }
  }
  provider->cleanUp();
}

}  // namespace
