// Shared fixture: a fresh test host with the plug-in's manager wired to it.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "MdxWifiClientMgr.h"
#include "framework/Host.h"

class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    host.keepJournals();
    manager = MdxWifiClientMgr::getInstance();
    manager->initializeLinks(&host.com, &host.timer, &host.supplicant());
  }
  void TearDown() override {
    for (int i = 0; i < 4; ++i) manager->stopAllRequests(&host.client(i));
  }

  const nexhost::ScriptedSupplicant& supplicant() { return *host.scripted(); }

  nexhost::Host host;
  MdxWifiClientMgr* manager = nullptr;
};

// A start indication asking for RSSI with no networks.
inline dsd_start_wifi_meas_ind_msg_v01 rssiIndication(uint32_t id) {
  dsd_start_wifi_meas_ind_msg_v01 ind;
  std::memset(&ind, 0, sizeof ind);
  ind.wifi_meas_id = id;
  ind.meas_param_mask = DSD_WIFI_MEAS_PARAM_RSSI_V01;
  return ind;
}

std::string readTestData(const std::string& name);
