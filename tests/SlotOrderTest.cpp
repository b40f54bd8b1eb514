// The plug-in loaded as the handset loads it (dlopen, init), driven only through the
// host's own nine-slot view of the manager: each call must land in its operation.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "nexhost/ClientManager.h"
#include "nexhost/Host.h"
#include "nexhost/Plugin.h"

namespace {

TEST(SlotOrderTest, EveryHostCallLandsInItsOperation) {
  nexhost::Host host;
  host.keepJournals();
  std::string error;
  auto plugin = nexhost::Plugin::load(MDX_PLUGIN_PATH, &error);
  ASSERT_TRUE(plugin) << error;
  nexhost::ClientManager* manager = plugin->manager();
  NexMdxDsd* client = &host.client();

  struct Step {
    const char* operation;
    std::function<void()> call;
    const char* expectedLog;
  };
  dsd_start_wifi_meas_ind_msg_v01 start;
  std::memset(&start, 0, sizeof start);
  start.wifi_meas_id = 77;
  start.meas_param_mask = DSD_WIFI_MEAS_PARAM_RSSI_V01;
  dsd_wqe_profile_init_ind_msg_v01 profileInit;
  std::memset(&profileInit, 0, sizeof profileInit);
  profileInit.profile_type = 3;
  dsd_wqe_profile_type_ind_msg_v01 mask{0};
  dsd_stop_wifi_meas_ind_msg_v01 stop{78};
  bool started = false;

  const Step steps[] = {
      {"initializeLinks",
       [&] { manager->initializeLinks(&host.com, &host.timer, &host.supplicant()); },
       "MdxWifiClientMgr::initializeLinks"},
      {"startWifiMeasurement", [&] { started = manager->startWifiMeasurement(client, start); },
       "WifiMeasurementRequest Xtor Raw"},
      {"wqeProfileInit", [&] { manager->wqeProfileInit(client, profileInit); },
       "Invalid profile number 3"},
      {"setWqeProfile", [&] { manager->setWqeProfile(client, mask); }, "setWqeProfile 0 "},
      {"stopWifiMeasurement", [&] { manager->stopWifiMeasurement(client, stop); },
       "stopWifiMeasurement"},
      {"createDefaultProfile", [&] { manager->createDefaultProfile(client); },
       "WifiMeasurementRequest Xtor Quality"},
      {"stopAllRequests", [&] { manager->stopAllRequests(client); },
       "WifiMeasurementRequest D-Xtor"},
  };
  for (const Step& step : steps) {
    host.logger.clear();
    step.call();
    bool found = false;
    for (const nexhost::LogLine& line : host.logger.lines()) {
      found = found || line.text.find(step.expectedLog) != std::string::npos;
    }
    EXPECT_TRUE(found) << step.operation << " did not reach its operation";
  }
  EXPECT_TRUE(started);
  EXPECT_TRUE(host.supplicantBackend().scanReadyRegistered());
}

}  // namespace
