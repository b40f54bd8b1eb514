// The fields of each modem record, as nexhost prints them: a record's bytes read into its
// struct and rendered member by member, every count clamped to its array and every text
// bounded by its field.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "modem/Records.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

std::string ipv6Text(const uint8_t* bytes) {
  char text[40];
  std::snprintf(text, sizeof text,
                "%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x", bytes[0],
                bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7], bytes[8],
                bytes[9], bytes[10], bytes[11], bytes[12], bytes[13], bytes[14], bytes[15]);
  return text;
}

// A host-order word whose most significant byte is the first octet.
std::string ipv4Text(uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "%u.%u.%u.%u", (value >> 24) & 0xFFu, (value >> 16) & 0xFFu,
                (value >> 8) & 0xFFu, value & 0xFFu);
  return text;
}

std::size_t clampLen(uint32_t len, std::size_t max) { return len < max ? len : max; }

// A word in network byte order: its first byte in memory is the first octet.
std::string networkIpv4Text(uint32_t value) {
  uint8_t octets[4];
  std::memcpy(octets, &value, sizeof octets);
  char text[16];
  std::snprintf(text, sizeof text, "%u.%u.%u.%u", octets[0], octets[1], octets[2], octets[3]);
  return text;
}

// A text field up to its first NUL, never beyond the field.
std::string boundedText(const char* field, std::size_t size) {
  std::size_t n = 0;
  while (n < size && field[n] != '\0') ++n;
  return printableBytes(field, n);
}

// Shortest decimal text that reads back as the same float.
double floatValue(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
  return std::strtod(text, nullptr);
}

// JSON has no NaN or infinity: those print as the texts a scenario takes for them.
Json floatJson(float value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  return floatValue(value);
}

}  // namespace

std::string macText(const uint8_t* mac) {
  char text[18];
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

Json decode(const dsd_wifi_meas_report_req_msg_v01& r) {
  Json j;
  j["wifi_meas_id"] = r.wifi_meas_id;
  j["report_id"] = r.report_id;
  j["reserved"] = r.reserved;
  j["is_last_report"] = r.is_last_report;
  j["ssid_len"] = r.ssid_len;
  j["ssid"] = printableBytes(r.ssid, clampLen(r.ssid_len, sizeof r.ssid));
  j["bss_info_valid"] = r.bss_info_valid;
  j["bss_info_len"] = r.bss_info_len;
  Json list = Json::array();
  for (std::size_t i = 0; i < clampLen(r.bss_info_len, DSD_WIFI_BSS_INFO_MAX_V01); ++i) {
    const dsd_wifi_bss_info_type_v01& b = r.bss_info[i];
    list.push_back(Json{{"bssid", macText(b.bssid)},
                        {"frequency", b.frequency},
                        {"reported_params", b.reported_params},
                        {"rssi", b.rssi},
                        {"channel_utilization", b.channel_utilization}});
  }
  j["bss_info"] = list;
  return j;
}

Json decode(const dsd_set_wqe_profile_quality_status_req_msg_v01& s) {
  return Json{{"profile_type", s.profile_type},
              {"quality_status_valid", s.quality_status_valid},
              {"quality_status", s.quality_status},
              {"reason_valid", s.reason_valid},
              {"reason", s.reason}};
}

Json decode(const dsd_notify_data_settings_req_msg_v01& s) {
  return Json{{"wifi_state_valid", s.wifi_state_valid}, {"wifi_state", s.wifi_state}};
}

Json decode(const dsd_wlan_available_req_msg_v01& a) {
  Json j;
  j["bssid"] = macText(a.bssid);
  j["ipv4_addr_valid"] = a.ipv4_addr_valid;
  j["ipv4_addr"] = ipv4Text(a.ipv4_addr);
  j["ipv6_addr_valid"] = a.ipv6_addr_valid;
  j["ipv6_addr"] = ipv6Text(a.ipv6_addr);
  j["ipv6_prefix_len"] = a.ipv6_prefix_len;
  j["station_marker_valid"] = a.station_marker_valid;
  j["station_marker"] = a.station_marker;
  j["dns1_ipv4_valid"] = a.dns1_ipv4_valid;
  j["dns1_ipv4"] = ipv4Text(a.dns1_ipv4);
  j["dns2_ipv4_valid"] = a.dns2_ipv4_valid;
  j["dns2_ipv4"] = ipv4Text(a.dns2_ipv4);
  j["dns1_ipv6_valid"] = a.dns1_ipv6_valid;
  j["dns1_ipv6"] = ipv6Text(a.dns1_ipv6);
  j["dns2_ipv6_valid"] = a.dns2_ipv6_valid;
  j["dns2_ipv6"] = ipv6Text(a.dns2_ipv6);
  j["ssid_valid"] = a.ssid_valid;
  j["ssid_len"] = a.ssid_len;
  j["ssid"] = printableBytes(a.ssid, clampLen(a.ssid_len, sizeof a.ssid));
  j["frequency_valid"] = a.frequency_valid;
  j["frequency"] = a.frequency;
  j["connection_type_valid"] = a.connection_type_valid;
  j["connection_type"] = a.connection_type;
  j["wifi_mode_valid"] = a.wifi_mode_valid;
  j["wifi_mode"] = a.wifi_mode;
  j["link_status_valid"] = a.link_status_valid;
  j["link_status"] = a.link_status;
  j["link_flag_valid"] = a.link_flag_valid;
  j["link_flag"] = a.link_flag;
  j["hessid_valid"] = a.hessid_valid;
  j["hessid"] = macText(a.hessid);
  j["country_code_valid"] = a.country_code_valid;
  j["country_code"] = printableBytes(a.country_code, sizeof a.country_code);
  return j;
}

Json decode(const dsd_start_wifi_meas_ind_msg_v01& s) {
  Json j;
  j["wifi_meas_id"] = s.wifi_meas_id;
  j["meas_param_mask"] = s.meas_param_mask;
  j["wifi_ident_valid"] = s.wifi_ident_valid;
  j["wifi_ident_len"] = s.wifi_ident_len;
  Json networks = Json::array();
  for (std::size_t i = 0; i < clampLen(s.wifi_ident_len, DSD_WIFI_IDENT_MAX_V01); ++i) {
    const dsd_wifi_ident_type_v01& n = s.wifi_ident[i];
    Json bssids = Json::array();
    for (std::size_t b = 0; b < clampLen(n.bssid_list_len, DSD_WIFI_BSSID_LIST_MAX_V01); ++b) {
      const dsd_wifi_bssid_type_v01& entry = n.bssid_list[b];
      Json channels = Json::array();
      for (std::size_t c = 0; c < clampLen(entry.channel_list_len, DSD_WIFI_CHANNEL_LIST_MAX_V01);
           ++c) {
        channels.push_back(entry.channel_list[c]);
      }
      bssids.push_back(Json{{"bssid", macText(entry.bssid)},
                            {"channel_list_len", entry.channel_list_len},
                            {"channel_list", channels}});
    }
    networks.push_back(Json{{"ssid", boundedText(n.ssid_info.ssid, sizeof n.ssid_info.ssid)},
                            {"bssid_list_len", n.bssid_list_len},
                            {"bssid_list", bssids}});
  }
  j["wifi_ident"] = networks;
  j["sampling_interval_valid"] = s.sampling_interval_valid;
  j["sampling_interval"] = s.sampling_interval;
  j["reporting_interval_valid"] = s.reporting_interval_valid;
  j["reporting_interval"] = s.reporting_interval;
  j["alpha_valid"] = s.alpha_valid;
  j["alpha"] = floatJson(s.alpha);
  return j;
}

Json decode(const dsd_stop_wifi_meas_ind_msg_v01& s) {
  return Json{{"wifi_meas_id", s.wifi_meas_id}};
}

Json decode(const dsd_wqe_profile_init_ind_msg_v01& s) {
  return Json{{"profile_type", s.profile_type},
              {"rssi_low_override_valid", s.rssi_low_override_valid},
              {"rssi_low_override", s.rssi_low_override},
              {"rssi_high_override_valid", s.rssi_high_override_valid},
              {"rssi_high_override", s.rssi_high_override},
              {"iccid_valid", s.iccid_valid},
              {"iccid_len", s.iccid_len},
              {"iccid", hexText(s.iccid, clampLen(s.iccid_len & 0xFFu, sizeof s.iccid))}};
}

Json decode(const dsd_wqe_profile_type_ind_msg_v01& s) {
  char mask[19];
  std::snprintf(mask, sizeof mask, "0x%016llx", static_cast<unsigned long long>(s.profile_mask));
  // Profile p is selected by bit p + 28.
  Json profiles = Json::array();
  for (int p = DSD_WQE_PROFILE_FIRST_V01; p <= DSD_WQE_PROFILE_LAST_V01; ++p) {
    if ((s.profile_mask >> (p + 28)) & 1u) profiles.push_back(p);
  }
  return Json{{"profile_mask", mask}, {"profiles", profiles}};
}

Json decode(const CasWlanNetConfigType& c) {
  Json j;
  j["netType"] = c.netType;
  j["ipv4Address"] = networkIpv4Text(c.ipv4Address);
  j["ipv6Address"] = ipv6Text(c.ipv6Address);
  j["linkFlag"] = c.linkFlag;
  j["enabled"] = c.enabled;
  j["bssidText"] = boundedText(c.bssidText, sizeof c.bssidText);
  j["ssidText"] = boundedText(c.ssidText, sizeof c.ssidText);
  j["dns1Ipv4"] = networkIpv4Text(c.dns1Ipv4);
  j["dns2Ipv4"] = networkIpv4Text(c.dns2Ipv4);
  j["dns1Ipv6"] = ipv6Text(c.dns1Ipv6);
  j["dns2Ipv6"] = ipv6Text(c.dns2Ipv6);
  j["connState"] = c.connState;
  j["resultReason"] = c.resultReason;
  j["fullConnection"] = c.fullConnection;
  j["locationCountryCode"] = boundedText(c.locationCountryCode, sizeof c.locationCountryCode);
  return j;
}

}  // namespace nexhost
