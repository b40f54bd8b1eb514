#include "RawMeasurement.h"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <set>

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
const char kAnySsid[] = "AnySSID";

uint32_t clampCount(uint32_t count, uint32_t max) { return count < max ? count : max; }

bool allBytesAre(const char* bytes, std::size_t size, uint8_t value) {
  for (std::size_t i = 0; i < size; ++i) {
    if (static_cast<uint8_t>(bytes[i]) != value) return false;
  }
  return true;
}

// An SSID field is NUL-terminated only when shorter than its 32 bytes.
std::string ssidText(const char (&ssid)[DSD_WIFI_SSID_MAX_V01]) {
  return std::string(ssid, strnlen(ssid, sizeof ssid));
}

void copySsid(dsd_wifi_meas_report_req_msg_v01& message, const std::string& ssid) {
  const std::size_t length = ssid.size() < DSD_WIFI_SSID_MAX_V01 ? ssid.size() : DSD_WIFI_SSID_MAX_V01;
  message.ssid_len = static_cast<uint32_t>(length);
  std::memcpy(message.ssid, ssid.data(), length);
}

// One record about the current link: its SSID, BSSID and frequency, and the given RSSI.
void fillLinkReport(dsd_wifi_meas_report_req_msg_v01& message, const WifiStatus& status,
                    int16_t rssi) {
  copySsid(message, status.ssid);
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
// Decoding the start indication.

bool RawMeasurement::isAnySsid(dsd_wifi_ident_ssid_type_v01& ssid) {
  return allBytesAre(ssid.ssid, sizeof ssid.ssid, 0xFF);
}

bool RawMeasurement::isConfigParamOk() {
  bool ok = true;
  if (indication.meas_param_mask == 0) {
    MDX_LOG(1, "No params specified for measurement");
    ok = false;
  } else if ((indication.meas_param_mask & DSD_WIFI_MEAS_PARAM_RSSI_V01) == 0) {
    MDX_LOG(1, "Measurement parameters does not include RSSI");
    ok = false;
  }
  if (indication.sampling_interval_valid) samplingInterval = indication.sampling_interval;
  if (indication.reporting_interval_valid) reportingInterval = indication.reporting_interval;
  if (indication.alpha_valid && indication.alpha > 0.0f && indication.alpha < 1.0f) {
    alpha = indication.alpha;
  }
  MDX_LOG(0, "samplingInterval  : %u", static_cast<unsigned>(samplingInterval));
  MDX_LOG(0, "reportingInterval : %u", static_cast<unsigned>(reportingInterval));
  MDX_LOG(0, "alpha             : %f", static_cast<double>(alpha));
  return ok;
}

void RawMeasurement::parseMeasurementRequestMdxMessage() {
  const bool rssiRequested = (indication.meas_param_mask & DSD_WIFI_MEAS_PARAM_RSSI_V01) != 0;
  const bool bssLoadRequested =
      (indication.meas_param_mask & DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01) != 0;
  const uint32_t networks =
      indication.wifi_ident_valid ? clampCount(indication.wifi_ident_len, DSD_WIFI_IDENT_MAX_V01) : 0;

  for (uint32_t i = 0; i < networks; ++i) {
    dsd_wifi_ident_type_v01& entry = indication.wifi_ident[i];
    MeasurementRequestReport report;
    if (isAnySsid(entry.ssid_info)) {
      MDX_LOG(1, "Any SSID found ");
      report.ssid = kAnySsid;
    } else {
      report.ssid = ssidText(entry.ssid_info.ssid);
    }
    MDX_LOG(1, rssiRequested ? "Measurement parameters includes RSSI"
                             : "Measurement parameters does not include RSSI");
    MDX_LOG(1, bssLoadRequested ? "Measurement parameters includes BSS Load"
                                : "Measurement parameters does not include BSS Load");
    report.rssiRequested = rssiRequested;
    report.bssLoadRequested = bssLoadRequested;

    std::string bssidText;
    std::string channelText;
    const uint32_t bssids = clampCount(entry.bssid_list_len, DSD_WIFI_BSSID_LIST_MAX_V01);
    for (uint32_t j = 0; j < bssids; ++j) {
      const dsd_wifi_bssid_type_v01& bssidEntry = entry.bssid_list[j];
      const std::string bssid = WifiParser::MacAddressToString(bssidEntry.bssid);
      bssidText += bssid;
      if (j + 1 != bssids) bssidText += ",";
      if (!channelText.empty()) channelText += ",";

      std::set<uint16_t> codes;
      const uint32_t channels =
          clampCount(bssidEntry.channel_list_len, DSD_WIFI_CHANNEL_LIST_MAX_V01);
      for (uint32_t k = 0; k < channels; ++k) {
        const uint16_t code = bssidEntry.channel_list[k];
        char* buf = static_cast<char*>(std::malloc(10));
        if (buf == nullptr) {
          MDX_LOG(4, "buf is NULL. Unable to allocate memory");
        } else {
          std::snprintf(buf, 10, "%lu", static_cast<unsigned long>(code));
          channelText += buf;
          std::free(buf);
        }
        if (k + 1 != channels) channelText += ",";
        codes.insert(code);
      }
      // A BSSID listed twice keeps the channels of its first listing.
      report.bssidChannels.insert({bssid, codes});
    }
    // Each network overwrites the filter texts: the last one's stay.
    bssidFilter = bssidText;
    channelFilter = channelText;
    reports.push_back(report);
  }

  if (!reports.empty()) {
    for (const MeasurementRequestReport& report : reports) {
      MDX_LOG(1, "RawMeasurement bssidfilter: %s ", bssidFilter.c_str());
      MDX_LOG(1, "RawMeasurement channelfilter: %s ", channelFilter.c_str());
      MDX_LOG(1, "RawMeasurement ssid: %s ", report.ssid.c_str());
      for (const auto& [bssid, codes] : report.bssidChannels) {
        MDX_LOG(1, "RawMeasurement bssid: %s ", bssid.c_str());
        for (uint16_t code : codes) MDX_LOG(1, "RawMeasurement channel: %d ", static_cast<int>(code));
      }
    }
  }
  MDX_LOG(0, "bssids   : %s", bssidFilter.c_str());
  MDX_LOG(0, "channels : %s", channelFilter.c_str());
}

// ---------------------------------------------------------------------------------------
// Running: timers, scans, averaging.

bool RawMeasurement::startMeasurement() {
  if (!isConfigParamOk()) return false;
  parseMeasurementRequestMdxMessage();
  measurementId = indication.wifi_meas_id;

  const char (&firstSsid)[DSD_WIFI_SSID_MAX_V01] = indication.wifi_ident[0].ssid_info.ssid;
  // An all-zero first SSID asks for the connected network.
  isScanReport = !(indication.wifi_ident_valid && allBytesAre(firstSsid, sizeof firstSsid, 0));
  MDX_LOG(1, "startMeasurement  mdx ssid %s", ssidText(firstSsid).c_str());
  MDX_LOG(1, "RawMeasurement::startMeasurement isScanReport: %d", static_cast<int>(isScanReport));

  if (isScanReport) {
    infoProvider->startScan(reports, channelFilter, bssidFilter, measurementId, &scanResultsCb,
                            this);
  } else {
    samplingTimerId = timer->addTimedCallback(static_cast<long long>(samplingInterval),
                                              &samplingTimerExprCb, this);
  }
  reportingTimerId = timer->addTimedCallback(static_cast<long long>(reportingInterval),
                                             &reportingTimerExprCb, this);
  return true;
}

void RawMeasurement::stopMeasurement() {
  reportId = 1;
  if (!isScanReport) timer->removeTimedCallback(samplingTimerId);
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
  if (raw->isScanReport) {
    raw->infoProvider->startScan(raw->reports, raw->channelFilter, raw->bssidFilter,
                                 raw->measurementId, &scanResultsCb, raw);
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
  if (raw->isScanReport) {
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
  const float previousPart = alpha * static_cast<float>(prevAvgRssi);
  const float samplePart = (1.0f - alpha) * static_cast<float>(sample);
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

void RawMeasurement::sendReport() {
  if (isScanReport) {
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

    dsd_wifi_meas_report_req_msg_v01 message;
    std::memset(&message, 0, sizeof message);
    message.wifi_meas_id = measurementId;
    message.reserved = 0;
    message.report_id = reportId;
    if (std::next(group) == groups.end()) {
      message.is_last_report = 1;
      advanceReportId(reportId);
    }
    copySsid(message, ssid);
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
  dsd_wifi_meas_report_req_msg_v01 message;
  std::memset(&message, 0, sizeof message);
  message.wifi_meas_id = measurementId;
  message.is_last_report = 1;
  message.report_id = reportId;
  advanceReportId(reportId);

  const WifiStatus status = infoProvider->getSTAStatus();
  fillLinkReport(message, status, avgRssi);
  client->sendWifiMeasurementReport(message);
}

void RawMeasurement::sendConnectedReport() {
  MDX_LOG(0, " sending connected report %s:%d", "sendConnectedReport", __LINE__);
  dsd_wifi_meas_report_req_msg_v01 message;
  std::memset(&message, 0, sizeof message);
  message.wifi_meas_id = measurementId;
  message.is_last_report = 0;
  message.report_id = reportId;

  const WifiStatus status = infoProvider->getSTAStatus();
  MDX_LOG(1, "sendConnectedReport ssid called %s", status.ssid.c_str());
  fillLinkReport(message, status, status.rssi);
  const dsd_wifi_bss_info_type_v01& record = message.bss_info[0];
  MDX_LOG(1, "sendConnectedReport channel :%d  signal :%d", static_cast<int>(status.frequency),
          static_cast<int>(status.rssi));
  MDX_LOG(1, "sendConnectedReport bssid %x:%x:%x:%x:%x:%x", static_cast<unsigned>(record.bssid[0]),
          static_cast<unsigned>(record.bssid[1]), static_cast<unsigned>(record.bssid[2]),
          static_cast<unsigned>(record.bssid[3]), static_cast<unsigned>(record.bssid[4]),
          static_cast<unsigned>(record.bssid[5]));
  client->sendWifiMeasurementReport(message);
}
