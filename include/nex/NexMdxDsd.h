#pragma once

#include "dsd/dsd_messages_v01.h"
#include "nex/NexApi.h"

// The host's client of the modem's DSD service: one per modem client. Each operation
// encodes the record and sends it to the modem; the record is not kept after the call.
class NEX_API NexMdxDsd {
 public:
  NexMdxDsd(nexhost::Modem& modem, int clientIndex);

  int sendWifiMeasurementReport(dsd_wifi_meas_report_req_msg_v01& report);
  int sendWqeProfileStatus(dsd_set_wqe_profile_quality_status_req_msg_v01& status);
  int sendNotifyDataSettings(dsd_notify_data_settings_req_msg_v01& settings);
  int sendWifiAvailableStatus(dsd_wlan_available_req_msg_v01& available);

  int clientIndex() const { return clientIndex_; }

 private:
  nexhost::Modem* modem_;
  int clientIndex_;
};
