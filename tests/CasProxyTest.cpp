// The quality proxy's engine callbacks: profile verdicts, Wi-Fi on/off, and what the
// default profile sends for each kind of WLAN configuration change.
#include <gtest/gtest.h>

#include <climits>

#include "WqeProfileFixture.h"

namespace {

using Proxy = WifiMeasurementRequest::CasProxy;

class CasProxyTest : public WqeTest {
 protected:
  void startProfile4() {
    initProfile(4);
    setMask(bitOf(4));
  }
};

TEST_F(CasProxyTest, ProfileVerdictMapsTheEngineReasonToTheModemCode) {
  startProfile4();
  struct Case {
    uint8_t enabled;
    int32_t reason;
    uint32_t status, code;
  } cases[] = {
      {1, 13, 0, 0}, {0, 10, 1, 1}, {0, 11, 1, 2},        {0, 12, 1, 3},        {0, 13, 1, 5},
      {0, 14, 1, 4}, {0, 15, 1, 4}, {0, 9, 1, 0},         {0, 16, 1, 0},        {0, 0, 1, 0},
      {0, -1, 1, 0}, {0, 5, 1, 0},  {0, INT32_MIN, 1, 0}, {0, INT32_MAX, 1, 0},
  };
  for (const Case& c : cases) {
    host.modem.clear();
    auto config = netConfig(CAS_NET_TYPE_STATION);  // the kind plays no part here
    config.enabled = c.enabled;
    config.resultReason = c.reason;
    ASSERT_EQ(host.engine.deliverConfig(config, "profile1"), 1);
    ASSERT_EQ(modemTypes(), std::vector<std::string>{"wqe_profile_quality_status"});
    const auto& f = host.modem.messages()[0].fields;
    EXPECT_EQ(f["profile_type"], 4u);
    EXPECT_EQ(f["quality_status_valid"], 1);
    EXPECT_EQ(f["quality_status"], c.status) << c.reason;
    EXPECT_EQ(f["reason_valid"], 1);
    EXPECT_EQ(f["reason"], c.code) << c.reason;
  }
}

// The default profile's records for on and off are in the examples' expected output.
TEST_F(CasProxyTest, OnlyTheDefaultProfileFollowsWifiOnOff) {
  startProfile4();
  host.engine.setWifiState(true);
  EXPECT_TRUE(host.modem.messages().empty());
}

TEST_F(CasProxyTest, DefaultProfileSendsOneAvailabilityRecordPerChange) {
  manager->createDefaultProfile(dsd());
  const std::vector<std::string> station{"wqe_profile_quality_status", "wlan_available"};
  const std::vector<std::string> other{"wlan_available"};
  struct Case {
    int32_t netType;
    std::vector<std::string> sent;
    uint32_t connectionType;
  } cases[] = {{1, station, 2}, {254, station, 2}, {100, other, 3},
               {101, other, 0}, {7, other, 0},     {-1, other, 0}};
  for (const Case& c : cases) {
    host.modem.clear();
    // Interfaces down, so only the callback decides the kind.
    ASSERT_EQ(host.engine.deliverConfig(netConfig(c.netType), ""), 1);
    EXPECT_EQ(modemTypes(), c.sent) << c.netType;
    EXPECT_EQ(host.modem.messages().back().fields["connection_type_valid"], 1);
    EXPECT_EQ(host.modem.messages().back().fields["connection_type"], c.connectionType);
  }

  // An unknown kind sends nothing but the connection-type flag, whatever the config says.
  auto config = netConfig(7);
  config.enabled = 1;
  config.connState = 1;
  config.ipv4Address = 0x0201A8C0;
  std::strcpy(config.ssidText, "homenet");
  host.modem.clear();
  host.engine.deliverConfig(config, "");
  dsd_wlan_available_req_msg_v01 expected;
  std::memset(&expected, 0, sizeof expected);
  expected.connection_type_valid = 1;
  const auto sent = host.modem.messages()[0].as<dsd_wlan_available_req_msg_v01>();
  EXPECT_EQ(std::memcmp(&sent, &expected, sizeof expected), 0);
}

TEST_F(CasProxyTest, StationQualityIsMetOnlyWhenConnectedLinkedAndFull) {
  manager->createDefaultProfile(dsd());
  for (int32_t connState : {0, 1, 2, 4}) {
    for (uint8_t linkFlag : {0, 1}) {
      for (uint8_t full : {0, 1}) {
        host.modem.clear();
        auto config = netConfig(CAS_NET_TYPE_STATION);
        config.connState = connState;
        config.linkFlag = linkFlag;
        config.fullConnection = full;
        config.resultReason = NEX_WQE_RESULT_LOW_RSSI;  // not used for the station
        host.engine.deliverConfig(config, "");
        SCOPED_TRACE(::testing::Message() << connState << "/" << +linkFlag << "/" << +full);
        // The quality status goes first, then the availability record.
        ASSERT_EQ(modemTypes(),
                  (std::vector<std::string>{"wqe_profile_quality_status", "wlan_available"}));
        const auto& q = host.modem.messages()[0].fields;
        EXPECT_EQ(q["quality_status"], connState == 1 && linkFlag && full ? 0 : 1);
        EXPECT_EQ(q["profile_type"], 0);
        EXPECT_EQ(q["quality_status_valid"], 1);
        EXPECT_EQ(q["reason_valid"], 0);
        EXPECT_EQ(q["reason"], 0);
        // Link status: 2 fully connected, 1 associated (also connState 0), else down.
        const int link = connState == 1 ? (full ? 2 : 1) : connState == 0 ? 1 : 0;
        EXPECT_EQ(host.modem.messages()[1].fields["link_status"], link);
        EXPECT_EQ(host.modem.messages()[1].fields["link_flag"], linkFlag);
      }
    }
  }
}

TEST_F(CasProxyTest, DeregisteredProfileHearsNothingMore) {
  startProfile4();
  setMask(0);
  const auto dereg = host.engine.calls().back();
  EXPECT_EQ(dereg.operation, "deregisterForNoninternetService");
  EXPECT_EQ(dereg.operatorName, "ROW");
  EXPECT_EQ(dereg.clientCallback, &Proxy::updateWqeProfileStatus);
  EXPECT_EQ(dereg.context, host.engine.calls().front().context);
  EXPECT_EQ(host.engine.deliverConfig(netConfig(CAS_NET_TYPE_STATION), "profile1"), 0);
}

TEST_F(CasProxyTest, NullCallbackArgumentsAreLoggedAndIgnored) {
  manager->createDefaultProfile(dsd());
  void* proxy = host.engine.calls().back().context;
  auto config = netConfig(CAS_NET_TYPE_STATION);
  const char* const kEither = "CasProxy/CasWlanNetConfigType is null";
  Proxy::updateWqeProfileStatus(nullptr, proxy);
  Proxy::updateWqeProfileStatus(&config, nullptr);
  Proxy::updateWifiStatus(nullptr, proxy);
  Proxy::updateWifiStatus(&config, nullptr);
  Proxy::updateWifiStateChangeCb(true, nullptr);
  Proxy::sendDefaultWqeProfileStatus(nullptr, &config);
  Proxy::sendDefaultWqeProfileStatus(static_cast<Proxy*>(proxy), nullptr);
  std::string levels;  // the verdict's two lines, then the change's
  for (const auto& line : host.logger.lines()) {
    if (line.text == kEither) levels += std::to_string(line.level);
  }
  EXPECT_EQ(levels, "3344");
  ASSERT_TRUE(host.logger.contains("CasProxy is null"));
  EXPECT_EQ(host.logger.find("CasProxy is null")->level, 4);
  EXPECT_EQ(host.logger.count("self pointer or CasWlanNetConfigType is null"), 2u);
  EXPECT_TRUE(host.modem.messages().empty());
}

}  // namespace
