#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "WifiMeasurementRequest.h"
#include "WifiScanResult.h"
#include "dsd/dsd_messages_v01.h"

class WifiMeasurementRequest::RawMeasurement : public WifiMeasurementRequest::MeasurementImpl {
 public:
  RawMeasurement(NexMdxDsd& client, NexCom& com, NexTimer& timer,
                 NexSupplicantWrapper& supplicant, WifiInfoProvider& infoProvider,
                 dsd_start_wifi_meas_ind_msg_v01 indication, CompletionCallback callback);
  ~RawMeasurement() override;

  bool startMeasurement() override;
  void stopMeasurement() override;

  bool isConfigParamOk();
  void parseMeasurementRequestMdxMessage();
  bool isAnySsid(dsd_wifi_ident_ssid_type_v01& ssid);

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

  // Read-only views for tests and diagnostics.
  const std::list<MeasurementRequestReport>& requestReports() const { return reports; }
  const std::string& bssidFilterText() const { return bssidFilter; }
  const std::string& channelFilterText() const { return channelFilter; }
  int32_t samplingPeriod() const { return samplingInterval; }
  int32_t reportingPeriod() const { return reportingInterval; }
  float averageWeight() const { return alpha; }
  int16_t averageRssi() const { return avgRssi; }
  bool scanMode() const { return isScanReport; }

 private:
  NexMdxDsd* client;
  NexTimer* timer;
  NexSupplicantWrapper* supplicant;
  WifiInfoProvider* infoProvider;
  WifiScanResult* scanResult = nullptr;
  uint32_t measurementId = 0;
  int32_t samplingTimerId = 0;
  int32_t reportingTimerId = 0;
  int16_t avgRssi = 0;
  int16_t prevAvgRssi = 0;
  int32_t samplingInterval = 2;
  int32_t reportingInterval = 5;
  float alpha = 0.5f;
  uint32_t reportId = 1;
  bool rssiSampled = false;
  bool isScanReport = true;
  dsd_start_wifi_meas_ind_msg_v01 indication;
  std::list<MeasurementRequestReport> reports;
  std::string bssidFilter;
  std::string channelFilter;
};
