#include "nexhost/Modem.h"

#include <cstdio>

namespace nexhost {

namespace {

template <typename Record>
Record load(const uint8_t* bytes, std::size_t size) {
  Record record{};
  std::memcpy(&record, bytes, size < sizeof record ? size : sizeof record);
  return record;
}

std::string ipv6Text(const uint8_t* bytes) {
  char text[40];
  std::snprintf(text, sizeof text,
                "%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x",
                bytes[0], bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7],
                bytes[8], bytes[9], bytes[10], bytes[11], bytes[12], bytes[13], bytes[14],
                bytes[15]);
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

}  // namespace

std::string macText(const uint8_t* mac) {
  char text[18];
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

std::string printableBytes(const char* bytes, std::size_t size) {
  std::string out;
  for (std::size_t i = 0; i < size; ++i) {
    const auto c = static_cast<unsigned char>(bytes[i]);
    if (c >= 0x20 && c < 0x7F && c != '\\') {
      out.push_back(static_cast<char>(c));
    } else {
      char escaped[5];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      out += escaped;
    }
  }
  return out;
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

Json decodeMessage(const std::string& type, const uint8_t* bytes, std::size_t size) {
  if (type == "wifi_meas_report") {
    return decode(load<dsd_wifi_meas_report_req_msg_v01>(bytes, size));
  }
  if (type == "wqe_profile_quality_status") {
    return decode(load<dsd_set_wqe_profile_quality_status_req_msg_v01>(bytes, size));
  }
  if (type == "notify_data_settings") {
    return decode(load<dsd_notify_data_settings_req_msg_v01>(bytes, size));
  }
  if (type == "wlan_available") return decode(load<dsd_wlan_available_req_msg_v01>(bytes, size));
  return Json{{"unknown_type", type}, {"size", size}};
}

void Modem::receive(int client, const char* type, const void* record, std::size_t size) {
  ++received_;
  if (!journal_) return;
  ModemMessage message;
  message.client = client;
  message.type = type;
  const auto* bytes = static_cast<const uint8_t*>(record);
  message.bytes.assign(bytes, bytes + size);
  message.fields = decodeMessage(message.type, bytes, size);
  trace_.record("modem",
                Json{{"client", client}, {"message", message.type}, {"fields", message.fields}});
  messages_.push_back(std::move(message));
}

std::vector<ModemMessage> Modem::messagesOfType(const std::string& type) const {
  std::vector<ModemMessage> out;
  for (const ModemMessage& m : messages_) {
    if (m.type == type) out.push_back(m);
  }
  return out;
}

}  // namespace nexhost
