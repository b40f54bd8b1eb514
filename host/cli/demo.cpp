// Smallest run of the plug-in on the test host: load it, hand over the links, and ask
// for one raw measurement.
#include <cstdio>
#include <cstring>

#include "nexhost/Host.h"
#include "nexhost/Plugin.h"

int main(int argc, char** argv) {
  const char* path = argc > 1 ? argv[1] : NEXHOST_DEFAULT_PLUGIN;
  nexhost::Host host;
  std::string error;
  auto plugin = nexhost::Plugin::load(path, &error);
  if (!plugin) {
    std::fprintf(stderr, "nexhost-demo: %s\n", error.c_str());
    return 1;
  }
  nexhost::ClientManager* manager = plugin->manager();
  manager->initializeLinks(&host.com, &host.timer, &host.supplicant());

  dsd_start_wifi_meas_ind_msg_v01 ind;
  std::memset(&ind, 0, sizeof ind);
  ind.wifi_meas_id = 7;
  ind.meas_param_mask = DSD_WIFI_MEAS_PARAM_RSSI_V01;
  const bool started = manager->startWifiMeasurement(&host.client(), ind);
  std::printf("start measurement 7: %s\n", started ? "accepted" : "refused");
  host.scheduler.advanceBy(10);
  dsd_stop_wifi_meas_ind_msg_v01 stop{7};
  manager->stopWifiMeasurement(&host.client(), stop);

  for (const nexhost::LogLine& line : host.logger.lines()) {
    std::printf("log [%d] %d %s\n", line.level, line.module, line.text.c_str());
  }
  for (const nexhost::ModemMessage& m : host.modem.messages()) {
    std::printf("modem %s %s\n", m.type.c_str(), m.fields.dump().c_str());
  }
  return 0;
}
