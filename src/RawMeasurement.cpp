#include "RawMeasurement.h"

#include <cstring>
#include <iterator>

#include "Log.h"
#include "TextNumber.h"
#include "WifiInfoProvider.h"
#include "WifiParser.h"
#include "nex/NexMdxDsd.h"
#include "nex/NexSupplicantWrapper.h"
#include "nex/NexTimer.h"

using RawMeasurement = WifiMeasurementRequest::RawMeasurement;

namespace {

constexpr uint64_t kReportedRssi = DSD_WIFI_MEAS_PARAM_RSSI_V01;
constexpr uint64_t kReportedRssiAndLoad =
    DSD_WIFI_MEAS_PARAM_RSSI_V01 | DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01;

// The one record of a report about the current link: its BSSID and frequency, and the
// given RSSI.
void fillLinkRecord(dsd_wifi_meas_report_req_msg_v01& message, const WifiStatus& status,
                    int16_t rssi) {
  message.bss_info_valid = 1;
  message.bss_info_len = 1;
  dsd_wifi_bss_info_type_v01& record = message.bss_info[0];
  WifiParser::getBSSID(record.bssid, status.bssid.c_str());
  record.frequency = status.frequency;
  record.reported_params = kReportedRssi;
  record.rssi = rssi;
  record.channel_utilization = 0;
}

}  // namespace

RawMeasurement::RawMeasurement(NexMdxDsd& client, NexCom& /*com*/, NexTimer& timer,
                               NexSupplicantWrapper& supplicant, WifiInfoProvider& infoProvider,
                               dsd_start_wifi_meas_ind_msg_v01 indication,
                               CompletionCallback /*callback*/)
    : client(&client),
      timer(&timer),
      supplicant(&supplicant),
      infoProvider(&infoProvider),
      indication(indication) {
  MDX_LOG(2, "RawMeasurement Xtor");
}

RawMeasurement::~RawMeasurement() { MDX_LOG(2, "RawMeasurement D-Xtor"); }

// ---------------------------------------------------------------------------------------
// Running: timers, scans, averaging.

bool RawMeasurement::startMeasurement() {
  request = decodeRawRequest(indication);
  if (!request.configParamOk) return false;
  MDX_LOG(1, "startMeasurement  mdx ssid %s",
          ssidFieldText(indication.wifi_ident[0].ssid_info).c_str());
  MDX_LOG(1, "RawMeasurement::startMeasurement isScanReport: %d",
          static_cast<int>(request.isScanReport));

  if (request.isScanReport) {
    requestScan();
  } else {
    samplingTimerId = timer->addTimedCallback(static_cast<long long>(request.samplingInterval),
                                              &samplingTimerExprCb, this);
  }
  reportingTimerId = timer->addTimedCallback(static_cast<long long>(request.reportingInterval),
                                             &reportingTimerExprCb, this);
  return true;
}

void RawMeasurement::requestScan() {
  infoProvider->startScan(request.reports, request.channelFilter, request.bssidFilter,
                          request.measurementId, &scanResultsCb, this);
}

void RawMeasurement::stopMeasurement() {
  reportId = 1;
  if (!request.isScanReport) timer->removeTimedCallback(samplingTimerId);
  timer->removeTimedCallback(reportingTimerId);
  // The provider holds one callback for every raw request: this silences them all.
  infoProvider->cleanUp();
}

int RawMeasurement::samplingTimerExprCb(void* self) {
  if (self == nullptr) {
    MDX_LOG(3, "arg is null");
    return -1;
  }
  static_cast<RawMeasurement*>(self)->getMeasurementData();
  return 0;
}

int RawMeasurement::reportingTimerExprCb(void* self) {
  if (self == nullptr) {
    MDX_LOG(3, "arg is null");
    return -1;
  }
  auto* raw = static_cast<RawMeasurement*>(self);
  if (raw->request.isScanReport) {
    raw->requestScan();
  } else {
    raw->sendAndsfReport();
  }
  return 0;
}

void RawMeasurement::scanResultsCb(void* result, void* self) {
  MDX_LOG(1, "LTEU callback RawMeasurement scanResultsCb called ");
  if (self == nullptr) {
    MDX_LOG(4, "RawMeasurement self is null");
    return;
  }
  auto* raw = static_cast<RawMeasurement*>(self);
  // The result belongs to the provider and lives only during this call.
  raw->scanResult = static_cast<WifiScanResult*>(result);
  if (raw->request.isScanReport) {
    raw->sendScanReport();
  } else {
    raw->sendAndsfReport();
  }
  raw->scanResult = nullptr;
}

void RawMeasurement::computeAvgRSSI(int16_t sample) {
  if (!rssiSampled) {
    avgRssi = sample;
    prevAvgRssi = sample;
    rssiSampled = true;
    return;
  }
  // Each product and the sum in its own float, so that no target fuses a multiply-add
  // and truncates differently.
  const float previousPart = request.alpha * static_cast<float>(prevAvgRssi);
  const float samplePart = (1.0f - request.alpha) * static_cast<float>(sample);
  const float average = previousPart + samplePart;
  avgRssi = static_cast<int16_t>(static_cast<int>(average));  // truncates toward zero
  prevAvgRssi = avgRssi;
}

void RawMeasurement::getMeasurementData() {
  // Without a wrapper there is no poll: the sample is skipped.
  if (supplicant == nullptr ||
      supplicant->sendCommandToSupplicant(NexSupplicantWrapper::signalPollCmd) == 0) {
    return;
  }
  computeAvgRSSI(supplicant->rssi);
}

// ---------------------------------------------------------------------------------------
// Reports.

void RawMeasurement::advanceReportId(uint32_t& reportId) {
  if (reportId == 0xFFFFFFFFu) reportId = 0;
  ++reportId;
}

void RawMeasurement::beginReport(dsd_wifi_meas_report_req_msg_v01& message, const std::string& ssid,
                                 bool last) {
  std::memset(&message, 0, sizeof message);
  message.wifi_meas_id = request.measurementId;
  message.reserved = 0;
  message.report_id = reportId;
  if (last) {
    message.is_last_report = 1;
    advanceReportId(reportId);
  }
  const std::size_t length =
      ssid.size() < DSD_WIFI_SSID_MAX_V01 ? ssid.size() : DSD_WIFI_SSID_MAX_V01;
  message.ssid_len = static_cast<uint32_t>(length);
  std::memcpy(message.ssid, ssid.data(), length);
}

void RawMeasurement::sendReport() {
  if (request.isScanReport) {
    sendScanReport();
  } else {
    sendAndsfReport();
  }
}

void RawMeasurement::sendScanReport() {
  if (scanResult == nullptr) return;
  const auto& groups = scanResult->filteredBySsid;
  for (auto group = groups.begin(); group != groups.end(); ++group) {
    const std::string& ssid = group->first;
    const std::vector<SelectedBss>& bssids = group->second;

    // Every network of one scan goes under one report id; the last one closes the report.
    dsd_wifi_meas_report_req_msg_v01 message;
    beginReport(message, ssid, std::next(group) == groups.end());
    MDX_LOG(1, "sendScanReport ssid called %s", ssid.c_str());
    MDX_LOG(1, "sendScanReport bssid lenght :%d ssid length:%d ", static_cast<int>(bssids.size()),
            static_cast<int>(groups.size()));

    uint32_t written = 0;
    for (const SelectedBss& info : bssids) {
      if (written == DSD_WIFI_BSS_INFO_MAX_V01) break;  // the message holds 58
      dsd_wifi_bss_info_type_v01& record = message.bss_info[written++];
      record.rssi = info.rssi;
      record.frequency = static_cast<uint16_t>(textToInt(info.freq.c_str()));
      record.reported_params = info.bssLoadValid ? kReportedRssiAndLoad : kReportedRssi;
      record.channel_utilization = info.bssLoad.channelUtilization;
      WifiParser::StringToMac(record.bssid, info.bssid.c_str());
      MDX_LOG(1, "sendScanReport bssid %x:%x:%x:%x:%x:%x", static_cast<unsigned>(record.bssid[0]),
              static_cast<unsigned>(record.bssid[1]), static_cast<unsigned>(record.bssid[2]),
              static_cast<unsigned>(record.bssid[3]), static_cast<unsigned>(record.bssid[4]),
              static_cast<unsigned>(record.bssid[5]));
      message.bss_info_valid = 1;
      message.bss_info_len = written;
    }
    client->sendWifiMeasurementReport(message);
  }
}

void RawMeasurement::sendAndsfReport() {
  MDX_LOG(0, "%s:%d", "sendAndsfReport", __LINE__);
  const WifiStatus status = infoProvider->getSTAStatus();
  dsd_wifi_meas_report_req_msg_v01 message;
  beginReport(message, status.ssid, true);
  fillLinkRecord(message, status, avgRssi);
  client->sendWifiMeasurementReport(message);
}

// The link as the supplicant sees it now, with its own RSSI, inside the current report.
void RawMeasurement::sendConnectedReport() {
  MDX_LOG(0, " sending connected report %s:%d", "sendConnectedReport", __LINE__);
  const WifiStatus status = infoProvider->getSTAStatus();
  MDX_LOG(1, "sendConnectedReport ssid called %s", status.ssid.c_str());
  dsd_wifi_meas_report_req_msg_v01 message;
  beginReport(message, status.ssid, false);
  fillLinkRecord(message, status, status.rssi);
  const dsd_wifi_bss_info_type_v01& record = message.bss_info[0];
  MDX_LOG(1, "sendConnectedReport channel :%d  signal :%d", static_cast<int>(status.frequency),
          static_cast<int>(status.rssi));
  MDX_LOG(1, "sendConnectedReport bssid %x:%x:%x:%x:%x:%x", static_cast<unsigned>(record.bssid[0]),
          static_cast<unsigned>(record.bssid[1]), static_cast<unsigned>(record.bssid[2]),
          static_cast<unsigned>(record.bssid[3]), static_cast<unsigned>(record.bssid[4]),
          static_cast<unsigned>(record.bssid[5]));
  client->sendWifiMeasurementReport(message);
}
