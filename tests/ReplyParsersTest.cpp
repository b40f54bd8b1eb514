// The supplicant and hostapd reply parsers, on real replies and on broken ones.
#include <functional>

#include "MallocFailure.h"
#include "ParserTest.h"
#include "TestHost.h"

namespace {

using ReplyParsersTest = ParserTest;

TEST_F(ReplyParsersTest, BssRepliesGiveLoadAndMode) {
  const struct {
    const char* file;
    uint16_t frequency, utilization, bandwidth;
    int32_t mode;
  } cases[] = {
      {"hwsim/bss.txt", 2437, 0, 20000, 5},
      {"hwsim/bss_5ghz.txt", 5180, 30, 20000, 7},
      {"hwsim/status.txt", 2437, 65535, 0, -1},  // no "ie" at all
  };
  for (const auto& c : cases) {
    const std::string reply = readTestData(c.file);
    BssLoad load = {0, 1, 0, 2, 3};
    parser.parseBssLoadCmdData(reply.c_str(), load);
    EXPECT_EQ(load.channelUtilization, c.utilization) << c.file;
    EXPECT_EQ(load.channelBandwidth, c.bandwidth) << c.file;
    EXPECT_EQ(load.lowestChannel, 0) << c.file;

    WifiStatus status;
    status.frequency = c.frequency;
    status.hessid = status.countryCode = "stale";
    parser.parseBssCmdWifiInfo(reply.c_str(), status);
    EXPECT_EQ(status.wifiMode, c.mode) << c.file;
    EXPECT_EQ(status.countryCode, c.mode == -1 ? "" : "DE") << c.file;
    EXPECT_EQ(status.hessid, "") << c.file;
  }

  // Every "ie" key adds to one map.
  WifiStatus status;
  parser.parseBssCmdWifiInfo(("ie=" + htOperation(0) + "\nie=" + vhtOperation(1, 42)).c_str(),
                             status);
  EXPECT_EQ(status.wifiMode, 7);
}

TEST_F(ReplyParsersTest, ApP2pAndHostapdReadTheirOwnKeys) {
  const std::string ap = readTestData("hwsim/hostapd_status.txt");
  const std::string station = readTestData("hwsim/status.txt");
  WifiStatus fromStation;
  parser.parseApStatusCmdData(station.c_str(), fromStation);
  EXPECT_EQ(fromStation.ssid + fromStation.bssid, "");  // no indexed keys there

  // P2P takes the indexed name but the plain BSSID.
  WifiStatus p2pFromAp, p2pFromStation;
  parser.parseP2pStatusCmdData(ap.c_str(), p2pFromAp);
  parser.parseP2pStatusCmdData(station.c_str(), p2pFromStation);
  EXPECT_EQ(p2pFromAp.ssid + "|" + p2pFromAp.bssid, "LabNet|");
  EXPECT_EQ(p2pFromStation.ssid + "|" + p2pFromStation.bssid, "|02:00:00:00:00:00");

  // hostapd's "bssid[0]" is the link's own address.
  const WifiStatus hostapd =
      parser.hostapdStatus(readTestData("hwsim/hostapd_status_5ghz.txt").c_str());
  EXPECT_EQ(hostapd.ssid + "|" + hostapd.bssid + "|" + hostapd.address,
            "LabNet5||02:00:00:00:02:00");
  EXPECT_EQ(hostapd.frequency, 5180);
  EXPECT_EQ(hostapd.wifiMode, 0);
  EXPECT_TRUE(host.logger.lines().empty());
}

TEST_F(ReplyParsersTest, ValuesFollowStrtokAndNumbersKeep16Bits) {
  const struct {
    const char* reply;
    const char* ssid;
    uint16_t frequency;
    const char* nullKey;  // logged as "Value is null for key: ..."
  } cases[] = {
      {"ssid=LabNet\nfreq=70000\n", "LabNet", 4464, nullptr},
      {"freq=99999999999\n", "", 65535, nullptr},  // saturates, then keeps 16 bits
      {"freq=-2147483647\n", "", 1, nullptr},      // the last value before saturation
      {"freq=ab\n", "", 0, nullptr},
      // An empty value takes the next line's key; the walk continues from there.
      {"ssid=\nbssid=02:00:00:00:00:00\n", "bssid", 0, "02:00:00:00:00:00\n"},
      {"ssid=a=b\n", "a", 0, "b\n"},  // a value stops at "="
      {"ssid", "", 0, "ssid"},
  };
  for (const auto& c : cases) {
    host.logger.clear();
    WifiStatus status;
    parser.parseStatusCmdData(c.reply, status);
    EXPECT_EQ(status.ssid, c.ssid) << c.reply;
    EXPECT_EQ(status.frequency, c.frequency) << c.reply;
    EXPECT_EQ(status.bssid, "") << c.reply;
    EXPECT_TRUE(!c.nullKey || logged(std::string("Value is null for key: ") + c.nullKey, 1));
  }
}

TEST_F(ReplyParsersTest, ScanResultsBecomeTheScanStore) {
  const WifiScanResult scan = parser.parseScanData(readTestData("hwsim/scan_results.txt").c_str());
  ASSERT_EQ(scan.byFreqBssidSsid.size(), 2u);
  EXPECT_EQ(scan.byFreqBssidSsid.at("5180&02:00:00:00:02:00&LabNet5").rssi, -27);
  EXPECT_EQ(scan.byBssidFreq.at("02:00:00:00:00:00&24ghtz").rssi, -30);
  EXPECT_TRUE(parser.parseScanData("bssid / frequency / signal level / flags / ssid\n")
                  .byFreqBssidSsid.empty());

  // An empty SSID column takes the next line's BSSID as the SSID; the columns are then out
  // of step.
  const WifiScanResult hidden = parser.parseScanData(
      "header\n02:00:00:00:00:01\t2412\t-40\t[ESS]\t\n02:00:00:00:00:02\t2437\t-50\t[ESS]\tNet\n");
  EXPECT_EQ(hidden.byFreqBssidSsid.count("2412&02:00:00:00:00:01&02:00:00:00:00:02"), 1u);
  EXPECT_EQ(hidden.byFreqBssidSsid.count("-50&2437&02:00:00:00:00:02"), 1u);
}

TEST_F(ReplyParsersTest, NullRepliesAreLoggedAndChangeNothing) {
  WifiStatus status;
  status.wifiMode = -1;
  BssLoad load = {0, 1, 0, 2, 3};
  const struct {
    std::function<void(const char*)> parse;
    const char* nullMessage;
  } cases[] = {
      {[&](const char* t) { parser.parseSignalPollCmdData(t, status); }, "rspData is NULL"},
      {[&](const char* t) { parser.parseStatusCmdData(t, status); }, "rspData is NULL"},
      {[&](const char* t) { parser.parseApStatusCmdData(t, status); }, "rspData is NULL"},
      {[&](const char* t) { parser.parseP2pStatusCmdData(t, status); }, "rspData is NULL"},
      {[&](const char* t) { parser.parseBssCmdWifiInfo(t, status); }, "rspData is NULL"},
      {[&](const char* t) { parser.parseBssLoadCmdData(t, load); }, "rspData is NULL"},
      {[&](const char* t) { status = parser.hostapdStatus(t); }, "a_tag_list is NULL"},
  };
  for (const auto& c : cases) {
    host.logger.clear();
    c.parse(nullptr);
    EXPECT_TRUE(logged(c.nullMessage, 4)) << c.nullMessage;
    EXPECT_EQ(host.logger.lines().size(), 1u) << c.nullMessage;
  }
  EXPECT_EQ(status.ssid + std::to_string(status.frequency), "0");
  EXPECT_EQ(load.channelUtilization, 1);
  EXPECT_TRUE(parser.parseScanData(nullptr).byBssidFreq.empty());
}

TEST_F(ReplyParsersTest, RepliesAreReadInPlaceSoAFailingHeapChangesNothing) {
  // Nothing is copied, so no parser has an allocation to fail.
  const char* reply = "ssid=x\nfreq=1\nRSSI=1\nie=0b050000010000\n";
  WifiStatus status;
  BssLoad load = {};
  failMallocAfter(0);
  parser.parseStatusCmdData(reply, status);
  parser.parseSignalPollCmdData(reply, status);
  parser.parseBssLoadCmdData(reply, load);
  failMallocAfter(-1);
  EXPECT_EQ(status.ssid + std::to_string(status.frequency) + std::to_string(status.rssi), "x11");
  EXPECT_EQ(load.channelUtilization, 1);
  for (const auto& line : host.logger.lines()) {
    EXPECT_EQ(line.text.find("Unable to allocate"), std::string::npos) << line.text;
  }
}

}  // namespace
