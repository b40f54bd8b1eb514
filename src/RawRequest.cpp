#include "RawRequest.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "Log.h"
#include "WifiParser.h"

namespace {

const char kAnySsid[] = "AnySSID";

uint32_t clampCount(uint32_t count, uint32_t max) { return count < max ? count : max; }

bool allBytesAre(const char* bytes, std::size_t size, uint8_t value) {
  for (std::size_t i = 0; i < size; ++i) {
    if (static_cast<uint8_t>(bytes[i]) != value) return false;
  }
  return true;
}

// Whether the request may start, with the periods and the weight it asks for. The values
// are taken even from a refused request, so that its trace shows what it asked.
bool isConfigParamOk(const dsd_start_wifi_meas_ind_msg_v01& indication, RawRequest& request) {
  bool ok = true;
  if (indication.meas_param_mask == 0) {
    MDX_LOG(1, "No params specified for measurement");
    ok = false;
  } else if ((indication.meas_param_mask & DSD_WIFI_MEAS_PARAM_RSSI_V01) == 0) {
    MDX_LOG(1, "Measurement parameters does not include RSSI");
    ok = false;
  }
  if (indication.sampling_interval_valid) request.samplingInterval = indication.sampling_interval;
  if (indication.reporting_interval_valid) {
    request.reportingInterval = indication.reporting_interval;
  }
  if (indication.alpha_valid && indication.alpha > 0.0f && indication.alpha < 1.0f) {
    request.alpha = indication.alpha;
  }
  MDX_LOG(0, "samplingInterval  : %u", static_cast<unsigned>(request.samplingInterval));
  MDX_LOG(0, "reportingInterval : %u", static_cast<unsigned>(request.reportingInterval));
  MDX_LOG(0, "alpha             : %f", static_cast<double>(request.alpha));
  return ok;
}

// Appends one channel code in decimal. The heap buffer and its failure line are the
// system's own; a code that misses its text still counts in the BSSID's set.
void appendChannelCode(std::string& text, uint16_t code) {
  char* buf = static_cast<char*>(std::malloc(10));
  if (buf == nullptr) {
    MDX_LOG(4, "buf is NULL. Unable to allocate memory");
    return;
  }
  std::snprintf(buf, 10, "%lu", static_cast<unsigned long>(code));
  text += buf;
  std::free(buf);
}

// One network entry: its filter, and its BSSID and channel texts.
MeasurementRequestReport decodeNetwork(const dsd_wifi_ident_type_v01& entry, uint64_t mask,
                                       std::string& bssidText, std::string& channelText) {
  const bool rssiRequested = (mask & DSD_WIFI_MEAS_PARAM_RSSI_V01) != 0;
  const bool bssLoadRequested = (mask & DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01) != 0;
  MeasurementRequestReport report;
  if (isAnySsid(entry.ssid_info)) {
    MDX_LOG(1, "Any SSID found ");
    report.ssid = kAnySsid;
  } else {
    report.ssid = ssidFieldText(entry.ssid_info);
  }
  MDX_LOG(1, rssiRequested ? "Measurement parameters includes RSSI"
                           : "Measurement parameters does not include RSSI");
  MDX_LOG(1, bssLoadRequested ? "Measurement parameters includes BSS Load"
                              : "Measurement parameters does not include BSS Load");
  report.rssiRequested = rssiRequested;
  report.bssLoadRequested = bssLoadRequested;

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
      appendChannelCode(channelText, code);
      if (k + 1 != channels) channelText += ",";
      codes.insert(code);
    }
    // A BSSID listed twice keeps the channels of its first listing.
    report.bssidChannels.insert({bssid, codes});
  }
  return report;
}

// Every network's filter; the filter texts of the last network only.
void parseMeasurementRequestMdxMessage(const dsd_start_wifi_meas_ind_msg_v01& indication,
                                       RawRequest& request) {
  const uint32_t networks = indication.wifi_ident_valid
                                ? clampCount(indication.wifi_ident_len, DSD_WIFI_IDENT_MAX_V01)
                                : 0;
  for (uint32_t i = 0; i < networks; ++i) {
    std::string bssidText;
    std::string channelText;
    request.reports.push_back(decodeNetwork(indication.wifi_ident[i], indication.meas_param_mask,
                                            bssidText, channelText));
    request.bssidFilter = bssidText;
    request.channelFilter = channelText;
  }

  for (const MeasurementRequestReport& report : request.reports) {
    MDX_LOG(1, "RawMeasurement bssidfilter: %s ", request.bssidFilter.c_str());
    MDX_LOG(1, "RawMeasurement channelfilter: %s ", request.channelFilter.c_str());
    MDX_LOG(1, "RawMeasurement ssid: %s ", report.ssid.c_str());
    for (const auto& [bssid, codes] : report.bssidChannels) {
      MDX_LOG(1, "RawMeasurement bssid: %s ", bssid.c_str());
      for (uint16_t code : codes) MDX_LOG(1, "RawMeasurement channel: %d ", static_cast<int>(code));
    }
  }
  MDX_LOG(0, "bssids   : %s", request.bssidFilter.c_str());
  MDX_LOG(0, "channels : %s", request.channelFilter.c_str());
}

}  // namespace

bool isAnySsid(const dsd_wifi_ident_ssid_type_v01& ssid) {
  return allBytesAre(ssid.ssid, sizeof ssid.ssid, 0xFF);
}

std::string ssidFieldText(const dsd_wifi_ident_ssid_type_v01& ssid) {
  return std::string(ssid.ssid, strnlen(ssid.ssid, sizeof ssid.ssid));
}

RawRequest decodeRawRequest(const dsd_start_wifi_meas_ind_msg_v01& indication) {
  RawRequest request;
  request.measurementId = indication.wifi_meas_id;
  // An all-zero first SSID asks for the connected network; the entry counts even when
  // the indication's count of networks is 0.
  const char(&firstSsid)[DSD_WIFI_SSID_MAX_V01] = indication.wifi_ident[0].ssid_info.ssid;
  request.isScanReport =
      !(indication.wifi_ident_valid && allBytesAre(firstSsid, sizeof firstSsid, 0));
  request.configParamOk = isConfigParamOk(indication, request);
  if (request.configParamOk) parseMeasurementRequestMdxMessage(indication, request);
  return request;
}
