// The default profile's WLAN availability records for the station, the soft AP and P2P,
// built from real wpa_supplicant and hostapd replies.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "WqeProfileFixture.h"

namespace {

class WlanAvailabilityTest : public WqeTest {
 protected:
  void SetUp() override {
    WqeTest::SetUp();
    manager->createDefaultProfile(dsd());
  }

  // The station associated with LabNet (02:00:00:00:00:00) on 2437 MHz.
  void scriptStation(std::string bss = readTestData("hwsim/bss.txt")) {
    host.scripted()->setReply("SIGNAL_POLL", readTestData("hwsim/signal_poll.txt"));
    host.scripted()->setReply("STATUS", readTestData("hwsim/status.txt"));
    host.scripted()->setReply("BSS 02:00:00:00:00:00", std::move(bss));
  }

  static CasWlanNetConfigType station(int32_t connState, const char* ssid) {
    auto config = netConfig(CAS_NET_TYPE_STATION);
    config.connState = connState;
    std::snprintf(config.ssidText, sizeof config.ssidText, "%s", ssid);
    std::strcpy(config.bssidText, "02:00:00:00:00:00");
    return config;
  }

  static CasWlanNetConfigType link(int32_t netType, bool up) {
    auto config = netConfig(netType);
    config.enabled = up ? 1 : 0;
    return config;
  }

  // Delivers one change to the default profile and returns the availability record sent.
  nexhost::ModemMessage deliver(const CasWlanNetConfigType& config) {
    host.modem.clear();
    EXPECT_EQ(host.engine.deliverConfig(config, ""), 1);
    const auto sent = host.modem.messagesOfType("wlan_available");
    EXPECT_EQ(sent.size(), 1u);
    return sent.empty() ? nexhost::ModemMessage{} : sent[0];
  }

  std::string ssidOf(const CasWlanNetConfigType& config) {
    const auto fields = deliver(config).fields;
    EXPECT_EQ(fields["ssid_valid"], 1);
    return fields["ssid"].get<std::string>();
  }
};

TEST_F(WlanAvailabilityTest, StationCountryAndHessidComeFromLocationOrTheAccessPoint) {
  std::string withHessid = readTestData("hwsim/bss.txt");
  const std::size_t ie = withHessid.find("\nie=");
  ASSERT_NE(ie, std::string::npos);
  withHessid.insert(ie + 4, "6b07010a1b2c3d4e5f");  // interworking element with a HESSID
  struct Case {
    const char* what;
    bool scripted;
    std::string bss;
    const char* location;  // "" = none
    int countryValid;
    const char* country;
    const char* log;
    int hessidValid;
  } cases[] = {
      {"location wins", true, readTestData("hwsim/bss.txt"), "FR", 1, "FR",
       "CountryCode obtained from location services: FR", 0},
      {"access point", true, withHessid, "", 1, "DE", "CountryCode obtained from Wifi AP: DE", 1},
      // The first byte alone says whether location services gave a code.
      {"location's first byte", true, readTestData("hwsim/bss.txt"), "F", 1, "F\\x00",
       "CountryCode obtained from location services: F", 0},
      {"no live status", false, "", "", 0, "\\x00\\x00", "Country Code not populated", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    if (c.scripted) {
      scriptStation(c.bss);
    } else {
      host.scripted()->setFailure("SIGNAL_POLL");
      host.scripted()->setFailure("STATUS");
    }
    auto config = station(1, "LabNet");
    std::memcpy(config.locationCountryCode, c.location, std::strlen(c.location));
    host.logger.clear();
    const auto f = deliver(config).fields;
    EXPECT_EQ(f["country_code_valid"], c.countryValid);
    EXPECT_EQ(f["country_code"], c.country);
    EXPECT_TRUE(host.logger.contains(c.log));
    EXPECT_EQ(f["hessid_valid"], c.hessidValid);
    if (c.hessidValid) {
      EXPECT_EQ(f["hessid"], "0a:1b:2c:3d:4e:5f");
    }
    EXPECT_EQ(f["wifi_mode_valid"], c.scripted ? 1 : 0);
    EXPECT_EQ(f["frequency_valid"], c.scripted ? 1 : 0);
  }
}

TEST_F(WlanAvailabilityTest, StationAddressesKeepTheirByteOrder) {
  auto config = station(1, "LabNet");
  inet_pton(AF_INET, "192.168.1.2", &config.ipv4Address);
  inet_pton(AF_INET, "10.0.0.53", &config.dns1Ipv4);
  inet_pton(AF_INET, "1.2.3.4", &config.dns2Ipv4);
  inet_pton(AF_INET6, "2001:db8::1", config.ipv6Address);
  inet_pton(AF_INET6, "2001:4860:4860::8888", config.dns1Ipv6);
  inet_pton(AF_INET6, "fe80::2", config.dns2Ipv6);
  const auto sent = deliver(config);
  const auto msg = sent.as<dsd_wlan_available_req_msg_v01>();
  // The first octet is the most significant byte.
  EXPECT_EQ(msg.dns2_ipv4_valid, 1);
  EXPECT_EQ(msg.dns2_ipv4, 0x01020304u);
  EXPECT_EQ(msg.dns1_ipv6_valid, 1);
  EXPECT_EQ(std::memcmp(msg.dns1_ipv6, config.dns1Ipv6, 16), 0);
  EXPECT_EQ(msg.dns2_ipv6_valid, 1);
  EXPECT_EQ(std::memcmp(msg.dns2_ipv6, config.dns2Ipv6, 16), 0);
  for (const char* line : {"DNS address 2: 1.2.3.4", "DNS V6 address 1: 2001:4860:4860::8888",
                           "DNS V6 address 2: fe80::2"}) {
    EXPECT_TRUE(host.logger.contains(line)) << line;
  }
}

TEST_F(WlanAvailabilityTest, StationCacheReportsTheLostNetworkOnce) {
  struct Step {
    int32_t netType;
    int32_t connState;  // station; soft AP: 0 = down
    const char* ssidText;
    const char* reported;
  };
  const struct Case {
    const char* what;
    std::vector<Step> steps;
  } cases[] = {
      {"connected then gone",
       {{1, 1, "homenet", "homenet"}, {1, 4, "", "homenet"}, {1, 4, "", ""}}},
      {"overlay without clearing",
       {{1, 1, "homenet", "homenet"}, {1, 1, "ab", "ab"}, {1, 4, "", "abmenet"}}},
      {"only connState 1 fills the cache",
       {{1, 1, "homenet", "homenet"}, {254, 0, "other", "other"}, {1, 4, "", "homenet"}}},
      {"soft AP shares the cache",
       {{1, 1, "homenet", "homenet"}, {100, 0, "", "homenet"}, {1, 4, "", ""}}},
  };
  for (const Case& c : cases) {
    for (const Step& s : c.steps) {
      auto config = s.netType == 100 ? link(100, false) : station(s.connState, s.ssidText);
      config.netType = s.netType;
      EXPECT_EQ(ssidOf(config), s.reported) << c.what << ": " << s.ssidText;
    }
  }
}

TEST_F(WlanAvailabilityTest, StationTextsAreReadWithinTheirFields) {
  auto config = station(1, "");
  std::memset(config.ssidText, 'x', sizeof config.ssidText);  // no terminator
  std::memcpy(config.bssidText, "02:00:00:00:00:00:aa:bb:c", sizeof config.bssidText);
  const auto f = deliver(config).fields;
  EXPECT_EQ(f["ssid_len"], 32);
  EXPECT_EQ(f["ssid"], std::string(32, 'x'));
  EXPECT_EQ(f["bssid"], "02:00:00:00:00:00");
  EXPECT_TRUE(host.logger.contains("BSSID: 02:00:00:00:00:00:aa:bb:c"));
  // The 32 characters went to the cache as well.
  config.connState = 4;
  EXPECT_EQ(ssidOf(config), std::string(32, 'x'));
}

std::string p2pStatus(const char* mode, const char* state, const char* ip) {
  return std::string("bssid=42:00:00:00:01:00\nfreq=2412\nssid=DIRECT-ab\nid=0\nmode=") + mode +
         "\npairwise_cipher=CCMP\ngroup_cipher=CCMP\nkey_mgmt=WPA2-PSK\nwpa_state=" + state +
         "\nip_address=" + ip + "\naddress=42:00:00:00:01:00\n";
}

TEST_F(WlanAvailabilityTest, P2pModeAndStateBecomeConnectionTypeAndLinkStatus) {
  struct Case {
    const char* mode;
    const char* state;
    int connectionType, linkStatus;
  } cases[] = {
      {"P2P GO", "COMPLETED", 0, 2},
      {"station", "ASSOCIATED", 1, 1},
      {"station", "4WAY_HANDSHAKE", 1, 0},
      {"P2P GO - group formation", "COMPLETED", 0, 2},  // unknown mode keeps the zero
  };
  for (const Case& c : cases) {
    host.scripted()->setReply(SUPPLICANT_P2P, "STATUS", p2pStatus(c.mode, c.state, "192.168.49.1"));
    const auto sent = deliver(link(CAS_NET_TYPE_P2P, true));
    const auto& f = sent.fields;
    EXPECT_EQ(f["connection_type_valid"], 1);
    EXPECT_EQ(f["connection_type"], c.connectionType) << c.mode;
    EXPECT_EQ(f["link_status_valid"], 1);
    EXPECT_EQ(f["link_status"], c.linkStatus) << c.state;
    EXPECT_EQ(f["ssid"], "DIRECT-ab");
    EXPECT_EQ(f["bssid"], "42:00:00:00:01:00");
    EXPECT_EQ(f["frequency"], 2412);
    EXPECT_EQ(f["ipv6_addr_valid"], 0);
    // The address keeps inet_pton's byte order: octets in memory order.
    const auto msg = sent.as<dsd_wlan_available_req_msg_v01>();
    EXPECT_EQ(msg.ipv4_addr_valid, 1);
    const uint8_t octets[4] = {192, 168, 49, 1};
    EXPECT_EQ(std::memcmp(&msg.ipv4_addr, octets, 4), 0);
  }
  // A P2P device in no group has no frequency to give.
  host.scripted()->setReply(SUPPLICANT_P2P, "STATUS", "mode=station\nwpa_state=INACTIVE\n");
  EXPECT_EQ(deliver(link(CAS_NET_TYPE_P2P, true)).fields["frequency_valid"], 0);
}

TEST_F(WlanAvailabilityTest, P2pKeepsItsOwnCacheAndFlagsABadAddress) {
  host.scripted()->setReply(SUPPLICANT_P2P, "STATUS", p2pStatus("P2P GO", "COMPLETED", "bad"));
  const auto up = deliver(link(CAS_NET_TYPE_P2P, true)).fields;
  EXPECT_EQ(up["ipv4_addr_valid"], 1);
  const nexhost::LogLine* line =
      host.logger.find("inet_pton return 0, unable to convert ipv4 from string to uint32_t");
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->level, 4);

  EXPECT_EQ(ssidOf(station(4, "")), "");  // the station's cache is not the P2P one
  const auto down = deliver(link(CAS_NET_TYPE_P2P, false)).fields;
  EXPECT_EQ(down["link_status"], 0);
  EXPECT_EQ(down["ssid"], "DIRECT-ab");
  EXPECT_EQ(ssidOf(link(CAS_NET_TYPE_P2P, false)), "");
}

}  // namespace
