// WQE profile lifecycle: init indications, the profile mask, the default profile, and
// what happens without a decision engine.
#include <gtest/gtest.h>

#include "WqeProfileFixture.h"

namespace {

using Proxy = WifiMeasurementRequest::CasProxy;
using WqeProfileTest = WqeTest;

constexpr const char* kRegister = "registerForWifiNotification";
constexpr const char* kDeregisterProfile = "deregisterForNoninternetService";

TEST_F(WqeProfileTest, InitCarriesOverridesAndOperatorIntoTheRegistration) {
  host.platform.operators["89014103211118510720"] = "OperatorA";
  host.platform.operators["89014103"] = "OperatorB";
  // ICCID 89014103211118510720, BCD with the low nibble first.
  const uint8_t iccid[10] = {0x98, 0x10, 0x14, 0x30, 0x12, 0x11, 0x81, 0x15, 0x70, 0x02};
  struct Case {
    uint32_t profile;
    bool low, high;            // override present
    uint32_t iccidLen;         // 0: no ICCID
    const char* operatorName;  // null: the lookup fails and nothing is created
    int16_t wantHigh, wantLow;
  } cases[] = {
      {35, true, true, 0, "ROW", -60, -85},  // the record holds low before high
      {6, false, true, 0, "ROW", -60, 1},
      {8, false, false, 0x0304, "OperatorB", 1, 1},  // only the length's low byte counts
      {9, false, false, 2, nullptr, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.profile);
    auto ind = initIndication(c.profile);
    ind.rssi_low_override_valid = c.low;
    ind.rssi_low_override = -85;
    ind.rssi_high_override_valid = c.high;
    ind.rssi_high_override = -60;
    ind.iccid_valid = c.iccidLen != 0;
    ind.iccid_len = c.iccidLen;
    std::memcpy(ind.iccid, iccid, sizeof iccid);
    manager->wqeProfileInit(dsd(), ind);
    if (c.operatorName == nullptr) {
      EXPECT_EQ(stateOf(c.profile), -1);
      EXPECT_TRUE(host.logger.contains("Invalid Naming Convention for operator"));
      continue;
    }
    host.engine.clearJournal();
    setMask(bitOf(c.profile));
    ASSERT_EQ(calls(kRegister).size(), 1u);
    const auto call = calls(kRegister)[0];
    EXPECT_EQ(call.operatorName, c.operatorName);
    EXPECT_EQ(call.overrides->rssiHighOverride, c.wantHigh);
    EXPECT_EQ(call.overrides->rssiLowOverride, c.wantLow);
    setMask(0);
  }
}

TEST_F(WqeProfileTest, ProfileNumbersOutsideFourToThirtyFiveAreRefused) {
  for (uint32_t profile : {0u, 3u, 36u, 0xFFFFFFFFu}) {
    initProfile(profile);
    EXPECT_EQ(manager->requests().count({dsd(), 0, static_cast<int32_t>(profile)}), 0u);
    EXPECT_TRUE(host.logger.contains("Invalid profile number " +
                                     std::to_string(static_cast<int32_t>(profile))));
  }
  initProfile(4);
  initProfile(35);
  EXPECT_EQ(stateOf(4), 1);
  EXPECT_EQ(stateOf(35), 1);
}

TEST_F(WqeProfileTest, DuplicateInitKeepsTheFirstProfileInEitherState) {
  auto first = initIndication(5);
  first.rssi_high_override_valid = 1;
  first.rssi_high_override = -55;
  manager->wqeProfileInit(dsd(), first);
  auto second = first;
  second.rssi_high_override = -70;
  manager->wqeProfileInit(dsd(), second);
  setMask(bitOf(5));
  manager->wqeProfileInit(dsd(), second);
  EXPECT_EQ(host.logger.count("Profile 5 already initialized/started"), 2u);
  EXPECT_EQ(stateOf(5), 2);
  ASSERT_EQ(calls(kRegister).size(), 1u);
  EXPECT_EQ(calls(kRegister)[0].overrides->rssiHighOverride, -55);
}

TEST_F(WqeProfileTest, MaskBitPPlus28StartsProfilePUnderNameNumberMinusThree) {
  struct Case {
    int bit;
    int profile;
    const char* name;
  } cases[] = {{32, 4, "profile1"}, {40, 12, "profile9"}, {63, 35, "profile32"}};
  for (const Case& c : cases) {
    for (uint32_t p = 4; p <= 35; ++p) initProfile(p);
    host.engine.clearJournal();
    setMask(uint64_t{1} << c.bit);
    ASSERT_EQ(calls(kRegister).size(), 1u) << c.bit;
    const auto call = calls(kRegister)[0];
    EXPECT_EQ(call.name, c.name);
    EXPECT_EQ(call.clientCallback, &Proxy::updateWqeProfileStatus);
    EXPECT_EQ(call.callback, &Proxy::updateWqeProfileStatus);
    EXPECT_EQ(call.clientContext, call.context);
    EXPECT_EQ(stateOf(c.profile), 2);
    EXPECT_EQ(manager->requests().size(), 1u);  // every clear bit removed its profile
    setMask(0);
  }
}

TEST_F(WqeProfileTest, LowWordOfTheMaskSelectsNothingAndStopsEveryProfile) {
  for (uint32_t p = 4; p <= 35; ++p) initProfile(p);
  setMask(bitOf(4) | bitOf(20));
  for (uint32_t p = 4; p <= 35; ++p) initProfile(p);  // again, as the others went
  host.engine.clearJournal();
  setMask(0xFFFFFFFFu);
  EXPECT_TRUE(calls(kRegister).empty());
  EXPECT_EQ(calls(kDeregisterProfile).size(), 32u);  // initialised ones are stopped too
  EXPECT_TRUE(manager->requests().empty());
  EXPECT_TRUE(host.logger.contains("Profile 35 stopped "));
}

TEST_F(WqeProfileTest, FirstSetBitOfAnUninitialisedProfileEndsTheMask) {
  initProfile(4);
  setMask(bitOf(4));
  initProfile(9);
  host.engine.clearJournal();
  setMask(bitOf(5) | bitOf(9));
  EXPECT_EQ(stateOf(4), -1);  // handled before the stop, so it stays removed
  ASSERT_EQ(calls(kDeregisterProfile).size(), 1u);
  EXPECT_EQ(calls(kDeregisterProfile)[0].name, "profile1");
  EXPECT_TRUE(host.logger.contains("Profile 5 not yet initialized"));
  EXPECT_EQ(stateOf(9), 1);  // never reached
  EXPECT_TRUE(calls(kRegister).empty());
}

TEST_F(WqeProfileTest, RunningProfileIsNotStartedAgainAndAClearedOneMustBeInitialised) {
  initProfile(4);
  initProfile(6);
  setMask(bitOf(4) | bitOf(6));
  setMask(bitOf(4) | bitOf(6));
  EXPECT_EQ(host.logger.count("Profile 4 started "), 1u);
  EXPECT_EQ(calls(kRegister).size(), 2u);

  setMask(bitOf(4));
  setMask(bitOf(4) | bitOf(6));
  EXPECT_TRUE(host.logger.contains("Profile 6 not yet initialized"));
  EXPECT_EQ(stateOf(6), -1);
}

TEST_F(WqeProfileTest, DefaultProfileIgnoresTheMaskAndStopAll) {
  manager->createDefaultProfile(dsd());
  ASSERT_EQ(host.engine.calls().size(), 2u);
  const auto listen = host.engine.calls()[0];
  EXPECT_EQ(listen.stateCallback, &Proxy::updateWifiStateChangeCb);
  const auto reg = host.engine.calls()[1];
  EXPECT_EQ(reg.operation, kRegister);
  EXPECT_EQ(reg.clientCallback, &Proxy::updateWifiStatus);
  EXPECT_EQ(reg.callback, &Proxy::updateWifiStatus);
  EXPECT_EQ(reg.context, listen.context);

  initProfile(4);
  setMask(bitOf(4));
  setMask(0);
  initProfile(5);
  manager->stopAllRequests(dsd());
  EXPECT_EQ(stateOf(5), -1);
  EXPECT_EQ(stateOf(0), 2);
  EXPECT_EQ(host.engine.clientCount(), 1u);

  manager->destroyWqeProfile(dsd(), DSD_WQE_PROFILE_DEFAULT_V01);
  const auto dereg = host.engine.calls().back();
  EXPECT_EQ(dereg.operation, "deregisterForWlanNetConfigChange");
  EXPECT_EQ(dereg.clientContext, reg.context);
  EXPECT_EQ(stateOf(0), -1);
  EXPECT_EQ(host.engine.clientCount(), 0u);
}

TEST_F(WqeProfileTest, WithoutAnEngineStartsFailAndTheEntryIsGone) {
  host.setEnginePresent(false);
  initProfile(4);
  EXPECT_EQ(stateOf(4), 1);
  setMask(bitOf(4));
  manager->createDefaultProfile(dsd());
  EXPECT_EQ(stateOf(4), -1);
  EXPECT_EQ(stateOf(0), -1);
  EXPECT_EQ(host.logger.count("CAS is NULL"), 2u);
  EXPECT_EQ(host.logger.find("CAS is NULL")->level, 1);
  EXPECT_TRUE(host.logger.contains("Unable to start the request for profile 4"));
  EXPECT_TRUE(host.logger.contains("Unable to start the request for profile 0"));
  // A failed start drops the front without stopping its worker.
  EXPECT_FALSE(host.logger.contains("Request deregistered for profile: 4"));
  EXPECT_EQ(host.logger.count("WifiMeasurementRequest D-Xtor"), 2u);
  EXPECT_TRUE(host.engine.calls().empty());
}

TEST_F(WqeProfileTest, ProfileMadeWithoutAnEngineCanStillBeRemoved) {
  host.setEnginePresent(false);
  for (uint32_t p : {4, 5, 6}) initProfile(p);
  setMask(0);
  for (uint32_t p : {4, 5}) initProfile(p);
  manager->stopAllRequests(dsd());
  initProfile(6);
  manager->destroyWqeProfile(dsd(), static_cast<dsd_wqe_profile_type_enum_v01>(6));
  EXPECT_TRUE(manager->requests().empty());
  for (const char* text :
       {"Request deregistered for profile: 4", "Request deregistered for profile: 5",
        "Request deregistered for profile: 6"}) {
    EXPECT_EQ(host.logger.count(text), 2u) << text;
  }
}

}  // namespace
