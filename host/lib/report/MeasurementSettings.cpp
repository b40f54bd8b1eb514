#include "report/MeasurementSettings.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "dsd/dsd_messages_v01.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

// The plug-in's rules, on the record it was handed.
MeasurementSettings fromRecord(const dsd_start_wifi_meas_ind_msg_v01& start) {
  MeasurementSettings settings;
  const uint8_t* ssid = reinterpret_cast<const uint8_t*>(start.wifi_ident[0].ssid_info.ssid);
  bool zero = true;
  for (std::size_t i = 0; i < sizeof start.wifi_ident[0].ssid_info.ssid; ++i) {
    zero = zero && ssid[i] == 0;
  }
  settings.connected = start.wifi_ident_valid != 0 && zero;
  if (start.sampling_interval_valid != 0) settings.samplingPeriod = start.sampling_interval;
  if (start.reporting_interval_valid != 0) settings.reportingPeriod = start.reporting_interval;
  // NaN fails both comparisons and keeps the default, as in the plug-in.
  if (start.alpha_valid != 0 && start.alpha > 0.0f && start.alpha < 1.0f) {
    settings.alpha = start.alpha;
  }
  return settings;
}

long long number(const Json& object, const char* key) {
  auto it = object.find(key);
  return it != object.end() && it->is_number() ? it->get<long long>() : 0;
}

// A saved run without the bytes: the record rebuilt from the fields that decide the
// settings. A text alpha is one of "nan", "inf" and "-inf", all outside (0, 1).
void fillFromFields(const Json& fields, dsd_start_wifi_meas_ind_msg_v01* start) {
  start->wifi_ident_valid = static_cast<uint8_t>(number(fields, "wifi_ident_valid"));
  const Json networks = fields.value("wifi_ident", Json::array());
  if (networks.is_array() && !networks.empty() && networks[0].is_object()) {
    const std::optional<std::string> ssid =
        bytesFromEscaped(networks[0].value("ssid", std::string()));
    if (ssid) {
      std::memcpy(start->wifi_ident[0].ssid_info.ssid, ssid->data(),
                  std::min(ssid->size(), sizeof start->wifi_ident[0].ssid_info.ssid));
    }
  }
  start->sampling_interval_valid = static_cast<uint8_t>(number(fields, "sampling_interval_valid"));
  start->sampling_interval = static_cast<int32_t>(number(fields, "sampling_interval"));
  start->reporting_interval_valid =
      static_cast<uint8_t>(number(fields, "reporting_interval_valid"));
  start->reporting_interval = static_cast<int32_t>(number(fields, "reporting_interval"));
  start->alpha_valid = static_cast<uint8_t>(number(fields, "alpha_valid"));
  const Json alpha = fields.value("alpha", Json());
  start->alpha = alpha.is_number() ? alpha.get<float>() : -1.0f;
}

}  // namespace

std::optional<MeasurementSettings> measurementSettings(const Json& stepEvent) {
  dsd_start_wifi_meas_ind_msg_v01 start;
  std::memset(&start, 0, sizeof start);
  auto bytes = stepEvent.find("bytes");
  if (bytes != stepEvent.end() && bytes->is_string()) {
    std::string error;
    const std::optional<std::vector<uint8_t>> record =
        bytesFromHex(bytes->get<std::string>(), &error);
    if (record && record->size() == sizeof start) {
      std::memcpy(&start, record->data(), sizeof start);
      return fromRecord(start);
    }
  }
  auto fields = stepEvent.find("indication");
  if (fields == stepEvent.end() || !fields->is_object()) return std::nullopt;
  fillFromFields(*fields, &start);
  return fromRecord(start);
}

}  // namespace nexhost
