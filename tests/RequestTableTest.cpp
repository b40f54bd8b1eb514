// The manager's request table: keys, duplicates, stop and stop-all.
#include <gtest/gtest.h>

#include "TestHost.h"

namespace {

using RequestTableTest = PluginTest;

std::size_t entriesOf(const MdxWifiClientMgr& m, NexMdxDsd* client) {
  std::size_t n = 0;
  for (const auto& [key, info] : m.requests()) n += key.client == client ? 1 : 0;
  return n;
}

TEST(RequestKeyTest, OrdersByClientThenIdThenProfileType) {
  auto* a = reinterpret_cast<NexMdxDsd*>(0x1000);
  auto* b = reinterpret_cast<NexMdxDsd*>(0x2000);
  struct Case {
    WifiMeasurementRequestKey lhs, rhs;
    bool less;
  } cases[] = {
      {{a, 9, INT32_MAX}, {b, 0, 0}, true},    {{a, 1, INT32_MAX}, {a, 2, 0}, true},
      {{a, 0xFFFFFFFFu, 0}, {a, 1, 0}, false},  // ids compare unsigned
      {{a, 0, -1}, {a, 0, 0}, true},            // profile types compare signed
      {{a, 5, 4}, {a, 5, 4}, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.lhs < c.rhs, c.less) << c.lhs.measurement_id << " vs " << c.rhs.measurement_id;
  }
}

TEST_F(RequestTableTest, InitReturnsTheSameManagerEveryTime) {
  EXPECT_EQ(init(), init());
  EXPECT_EQ(init(), MdxWifiClientMgr::getInstance());
  EXPECT_STREQ(default_operator, "ROW");
}

TEST_F(RequestTableTest, DuplicateIdsArePerClient) {
  auto ind = rssiIndication(5);
  EXPECT_TRUE(manager->startWifiMeasurement(&host.client(0), ind));
  EXPECT_FALSE(manager->startWifiMeasurement(&host.client(0), ind));
  EXPECT_TRUE(host.logger.contains("Measurement ID: 5 already exists"));
  EXPECT_TRUE(manager->startWifiMeasurement(&host.client(1), ind));
  EXPECT_EQ(entriesOf(*manager, &host.client(0)), 1u);
  EXPECT_EQ(entriesOf(*manager, &host.client(1)), 1u);
}

TEST_F(RequestTableTest, StoppedIdCanStartAgain) {
  auto ind = rssiIndication(5);
  ASSERT_TRUE(manager->startWifiMeasurement(&host.client(), ind));
  dsd_stop_wifi_meas_ind_msg_v01 stop{5};
  manager->stopWifiMeasurement(&host.client(), stop);
  EXPECT_EQ(entriesOf(*manager, &host.client()), 0u);
  EXPECT_TRUE(manager->startWifiMeasurement(&host.client(), ind));
}

TEST_F(RequestTableTest, StoppingAnUnknownIdDoesNothing) {
  auto ind = rssiIndication(5);
  ASSERT_TRUE(manager->startWifiMeasurement(&host.client(), ind));
  host.logger.clear();
  dsd_stop_wifi_meas_ind_msg_v01 stop{6};
  manager->stopWifiMeasurement(&host.client(), stop);
  manager->stopWifiMeasurement(&host.client(1), stop);
  EXPECT_EQ(entriesOf(*manager, &host.client()), 1u);
  ASSERT_EQ(host.logger.lines().size(), 2u);  // the two entry traces, nothing else
}

TEST_F(RequestTableTest, StopAllKeepsDefaultProfileAndOtherClients) {
  auto ind = rssiIndication(1);
  ASSERT_TRUE(manager->startWifiMeasurement(&host.client(0), ind));
  ind.wifi_meas_id = 2;
  ASSERT_TRUE(manager->startWifiMeasurement(&host.client(0), ind));
  ASSERT_TRUE(manager->startWifiMeasurement(&host.client(1), ind));
  // Profile entries of client 0: the default profile (0) and a modem profile (7).
  ProfileInfoType info{DSD_WQE_PROFILE_DEFAULT_V01, 1, 1, "ROW"};
  manager->createWqeProfile(&host.client(0), info);
  info.profileType = static_cast<dsd_wqe_profile_type_enum_v01>(7);
  manager->createWqeProfile(&host.client(0), info);
  ASSERT_EQ(entriesOf(*manager, &host.client(0)), 4u);

  manager->stopAllRequests(&host.client(0));

  ASSERT_EQ(entriesOf(*manager, &host.client(0)), 1u);
  for (const auto& [key, value] : manager->requests()) {
    if (key.client == &host.client(0)) {
      EXPECT_EQ(key.profile_type, 0);
    }
  }
  EXPECT_EQ(entriesOf(*manager, &host.client(1)), 1u);
  // Leave the default profile to the fixture's clean-up path.
  manager->destroyWqeProfile(&host.client(0), DSD_WQE_PROFILE_DEFAULT_V01);
}

}  // namespace
