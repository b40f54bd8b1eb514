// Shared fixture of the WQE profile tests: profile indications, engine journal look-ups,
// and clean-up of the default profile, which stop-all leaves in place.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "CasProxy.h"
#include "TestHost.h"

class WqeTest : public PluginTest {
 protected:
  void TearDown() override {
    // Paths that exist but must never be taken.
    for (const char* text : {"CasProxy D-Xtor", "Failed to copy ssid",
                             "Failed to copy ssid to cache", "Failed to update cached ssid"}) {
      EXPECT_FALSE(host.logger.contains(text)) << text;
    }
    manager->destroyWqeProfile(dsd(), DSD_WQE_PROFILE_DEFAULT_V01);
    PluginTest::TearDown();
  }

  NexMdxDsd* dsd() { return &host.client(); }

  static uint64_t bitOf(int profile) { return uint64_t{1} << (profile + 28); }

  static dsd_wqe_profile_init_ind_msg_v01 initIndication(uint32_t profile) {
    dsd_wqe_profile_init_ind_msg_v01 ind;
    std::memset(&ind, 0, sizeof ind);
    ind.profile_type = profile;
    return ind;
  }

  void initProfile(uint32_t profile) {
    auto ind = initIndication(profile);
    manager->wqeProfileInit(dsd(), ind);
  }

  void setMask(uint64_t mask) {
    dsd_wqe_profile_type_ind_msg_v01 ind{mask};
    manager->setWqeProfile(dsd(), ind);
  }

  // The entry's state, or -1 when the profile has no entry.
  int stateOf(int profile) {
    auto it = manager->requests().find({dsd(), 0, profile});
    return it == manager->requests().end() ? -1 : it->second.state;
  }

  std::vector<nexhost::Engine::Call> calls(const std::string& operation) {
    std::vector<nexhost::Engine::Call> out;
    for (const auto& call : host.engine.calls()) {
      if (call.operation == operation) out.push_back(call);
    }
    return out;
  }

  static CasWlanNetConfigType netConfig(int32_t netType) {
    CasWlanNetConfigType config;
    std::memset(&config, 0, sizeof config);
    config.netType = netType;
    return config;
  }

  std::vector<std::string> modemTypes() {
    std::vector<std::string> out;
    for (const auto& message : host.modem.messages()) out.push_back(message.type);
    return out;
  }
};
