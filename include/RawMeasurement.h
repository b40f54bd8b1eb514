#pragma once

#include <cstdint>
#include <string>

#include "RawRequest.h"
#include "WifiMeasurementRequest.h"
#include "WifiScanResult.h"
#include "dsd/dsd_messages_v01.h"

// Runs a raw measurement: decodes its indication at start (RawRequest.h), then owns the
// timers, the RSSI average and the reports until the modem stops it.
class WifiMeasurementRequest::RawMeasurement : public WifiMeasurementRequest::MeasurementImpl {
 public:
  RawMeasurement(NexMdxDsd& client, NexCom& com, NexTimer& timer, NexSupplicantWrapper& supplicant,
                 WifiInfoProvider& infoProvider, dsd_start_wifi_meas_ind_msg_v01 indication,
                 CompletionCallback callback);
  ~RawMeasurement() override;

  bool startMeasurement() override;
  void stopMeasurement() override;

  static int samplingTimerExprCb(void* self);
  static int reportingTimerExprCb(void* self);
  static void scanResultsCb(void* result, void* self);

  void computeAvgRSSI(int16_t sample);
  void getMeasurementData();
  void sendReport();
  void sendScanReport();
  void sendAndsfReport();
  void sendConnectedReport();

  // Report ids run 1..0xFFFFFFFF and then start again at 1.
  static void advanceReportId(uint32_t& reportId);

  int16_t averageRssi() const { return avgRssi; }

 private:
  // A zeroed report message of this measurement under the current report id, with `ssid`
  // cut to its field. The last message of a report moves the id on.
  void beginReport(dsd_wifi_meas_report_req_msg_v01& message, const std::string& ssid, bool last);
  // Asks the provider for a scan filtered by the request; the report follows its results.
  void requestScan();

  NexMdxDsd* client;
  NexTimer* timer;
  NexSupplicantWrapper* supplicant;
  WifiInfoProvider* infoProvider;
  WifiScanResult* scanResult = nullptr;
  int32_t samplingTimerId = 0;
  int32_t reportingTimerId = 0;
  int16_t avgRssi = 0;
  int16_t prevAvgRssi = 0;
  uint32_t reportId = 1;
  bool rssiSampled = false;
  dsd_start_wifi_meas_ind_msg_v01 indication;
  // What the indication asks for, decoded at start; the defaults until then.
  RawRequest request;
};
