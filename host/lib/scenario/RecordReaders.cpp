// The records a step hands over, from their fields or their exact bytes.
#include "scenario/RecordReaders.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <limits>

namespace nexhost {

namespace {

// {"record": "<hex>"} (with the client) instead of the fields: the indication's exact
// bytes. False when the step gives fields.
template <typename Record>
bool readRecord(const Node& n, ScenarioStep* step, const std::string& what,
                std::initializer_list<const char*> keys = {"client", "record"}) {
  const auto hex = n.find("record");
  if (!hex) return false;
  n.requireObject(what + " record {\"record\"}", keys);
  step->client = readClient(n);
  const std::string size = std::to_string(sizeof(Record));
  const std::string expected = "the " + size + " bytes of " + what + " as hex digit pairs";
  const std::vector<uint8_t> bytes = hex->hex(expected);
  if (bytes.size() != sizeof(Record)) {
    hex->refuse("expected " + size + " bytes (" + what + "), got " + std::to_string(bytes.size()));
  }
  Record record;
  std::memcpy(&record, bytes.data(), sizeof record);
  step->record = PackedRecord(record);
  return true;
}

// A valid flag: as given, else set when its value is given.
uint8_t validFlag(const Node& n, const char* key, bool valuePresent) {
  const auto given = n.find(key);
  return given ? given->flagByte() : valuePresent ? 1 : 0;
}
// A list's count: as given (any 32-bit value; the reader bounds it), else the entries'.
uint32_t count(const Node& n, const char* key, std::size_t entries) {
  const auto given = n.find(key);
  return given ? static_cast<uint32_t>(given->integer(0, UINT32_MAX))
               : static_cast<uint32_t>(entries);
}

// A float, or "nan", "inf" and "-inf" for what JSON cannot write.
float alphaValue(const Node& n) {
  if (!n.value().is_string()) return n.real32();
  const std::string text = n.value().get<std::string>();
  if (text == "nan") return std::numeric_limits<float>::quiet_NaN();
  if (text == "inf") return std::numeric_limits<float>::infinity();
  if (text == "-inf") return -std::numeric_limits<float>::infinity();
  n.fail("a number, \"nan\", \"inf\" or \"-inf\"");
}

uint64_t mask64(const Node& n) {
  const std::string what = "a 64-bit mask (a number or a \"0x...\" text)";
  if (n.value().is_number_unsigned()) return n.value().get<uint64_t>();
  if (n.value().is_number_integer()) return static_cast<uint64_t>(n.integer(0, INT64_MAX));
  if (!n.value().is_string()) n.fail(what);
  const std::string text = n.value().get<std::string>();
  if (text.size() < 3 || text.size() > 18 || text.compare(0, 2, "0x") != 0 ||
      text.find_first_not_of("0123456789abcdefABCDEF", 2) != std::string::npos) {
    n.fail(what);
  }
  return std::stoull(text.substr(2), nullptr, 16);
}

bool parseMac(const std::string& text, uint8_t* mac) {
  if (text.size() != 17) return false;
  for (int i = 0; i < 6; ++i) {
    const std::string pair = text.substr(static_cast<std::size_t>(i) * 3, 2);
    if (!std::isxdigit(static_cast<unsigned char>(pair[0])) ||
        !std::isxdigit(static_cast<unsigned char>(pair[1])) ||
        (i < 5 && text[static_cast<std::size_t>(i) * 3 + 2] != ':')) {
      return false;
    }
    mac[i] = static_cast<uint8_t>(std::stoul(pair, nullptr, 16));
  }
  return true;
}

void accessPoint(const Node& n, dsd_wifi_bssid_type_v01* entry) {
  n.requireObject("an access point {\"bssid\", \"channels\"}",
                  {"bssid", "channel_list_len", "channels"});
  const Node bssid = n.at("bssid", "a BSSID");
  if (!parseMac(bssid.text("a BSSID like 02:00:00:00:00:00", 17), entry->bssid)) {
    bssid.fail("a BSSID like 02:00:00:00:00:00");
  }
  std::size_t given = 0;
  if (auto list = n.find("channels")) {
    const auto codes =
        list->elements("a list of at most 16 channel codes", DSD_WIFI_CHANNEL_LIST_MAX_V01);
    given = codes.size();
    for (std::size_t i = 0; i < codes.size(); ++i) {
      entry->channel_list[i] = static_cast<uint16_t>(codes[i].integer(0, UINT16_MAX));
    }
  }
  entry->channel_list_len = count(n, "channel_list_len", given);
}

void network(const Node& n, dsd_wifi_ident_type_v01* entry) {
  n.requireObject("a network {\"ssid\", \"bssids\"}", {"ssid", "bssid_list_len", "bssids"});
  // The words are matched as written: "\x61ny" is the three bytes of a network's name.
  const std::string what = "a name of at most 32 bytes, \"any\" or \"connected\"";
  const Node ssid = n.at("ssid", what);
  if (ssid.value() == "any") {
    std::memset(entry->ssid_info.ssid, 0xFF, sizeof entry->ssid_info.ssid);
  } else if (ssid.value() != "connected") {
    const std::string name = ssid.bytes(what, DSD_WIFI_SSID_MAX_V01);
    std::memcpy(entry->ssid_info.ssid, name.data(), name.size());
  }
  std::size_t given = 0;
  if (auto list = n.find("bssids")) {
    const auto bssids =
        list->elements("a list of at most 16 access points", DSD_WIFI_BSSID_LIST_MAX_V01);
    given = bssids.size();
    for (std::size_t i = 0; i < bssids.size(); ++i) accessPoint(bssids[i], &entry->bssid_list[i]);
  }
  entry->bssid_list_len = count(n, "bssid_list_len", given);
}

// Kept in network byte order, as the engine delivers it.
uint32_t ipv4(const Node& n) {
  in_addr address{};
  if (inet_pton(AF_INET, n.text("an IPv4 address like 192.168.1.2", 15).c_str(), &address) != 1) {
    n.fail("an IPv4 address like 192.168.1.2");
  }
  return address.s_addr;
}

void ipv6(const Node& n, uint8_t* out) {
  in6_addr address{};
  if (inet_pton(AF_INET6, n.text("an IPv6 address like fe80::1", 45).c_str(), &address) != 1) {
    n.fail("an IPv6 address like fe80::1");
  }
  std::memcpy(out, &address, 16);
}

void copyText(const Node& n, char* field, std::size_t maxBytes) {
  const std::string text =
      n.bytes("a text of at most " + std::to_string(maxBytes) + " bytes", maxBytes);
  std::memcpy(field, text.data(), text.size());
}

int32_t netType(const Node& type) {
  const std::string what = "\"station\", \"softap\", \"p2p\" or a number";
  if (!type.value().is_string()) return static_cast<int32_t>(type.integer(INT32_MIN, INT32_MAX));
  const std::string kind = type.value().get<std::string>();
  if (kind == "station") return CAS_NET_TYPE_STATION;
  if (kind == "softap") return CAS_NET_TYPE_SOFTAP;
  if (kind == "p2p") return CAS_NET_TYPE_P2P;
  type.fail(what);
}

}  // namespace

int readClient(const Node& n) {
  auto c = n.find("client");
  return c ? static_cast<int>(c->integer(0, scenario_limits::kLastClient)) : 0;
}

void readStart(const Node& n, ScenarioStep* step) {
  if (readRecord<dsd_start_wifi_meas_ind_msg_v01>(n, step, "a measurement start")) return;
  n.requireObject("a measurement start", {"client", "id", "quantities", "mask", "wifi_ident_valid",
                                          "wifi_ident_len", "networks", "sampling_interval_valid",
                                          "sampling_interval", "reporting_interval_valid",
                                          "reporting_interval", "alpha_valid", "alpha", "record"});
  step->client = readClient(n);
  dsd_start_wifi_meas_ind_msg_v01 ind;
  std::memset(&ind, 0, sizeof ind);
  ind.wifi_meas_id = static_cast<uint32_t>(n.at("id", "the measurement id").integer(0, UINT32_MAX));
  if (auto q = n.find("quantities")) {
    if (n.find("mask")) q->refuse("give quantities or mask, not both");
    for (const Node& item : q->elements("a list of \"rssi\" and \"bss_load\"", 2)) {
      const std::string name = item.text("\"rssi\" or \"bss_load\"", 16);
      if (name == "rssi") {
        ind.meas_param_mask |= DSD_WIFI_MEAS_PARAM_RSSI_V01;
      } else if (name == "bss_load") {
        ind.meas_param_mask |= DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01;
      } else {
        item.fail("\"rssi\" or \"bss_load\"");
      }
    }
  } else {
    ind.meas_param_mask = mask64(n.at("mask", "quantities (or a raw mask)"));
  }
  const auto list = n.find("networks");
  std::size_t networks = 0;
  if (list) {
    const auto items = list->elements("a list of at most 8 networks", DSD_WIFI_IDENT_MAX_V01);
    networks = items.size();
    for (std::size_t i = 0; i < items.size(); ++i) network(items[i], &ind.wifi_ident[i]);
  }
  ind.wifi_ident_valid = validFlag(n, "wifi_ident_valid", list.has_value());
  ind.wifi_ident_len = count(n, "wifi_ident_len", networks);
  const auto sampling = n.find("sampling_interval");
  if (sampling)
    ind.sampling_interval = static_cast<int32_t>(sampling->integer(INT32_MIN, INT32_MAX));
  ind.sampling_interval_valid = validFlag(n, "sampling_interval_valid", sampling.has_value());
  const auto reporting = n.find("reporting_interval");
  if (reporting) {
    ind.reporting_interval = static_cast<int32_t>(reporting->integer(INT32_MIN, INT32_MAX));
  }
  ind.reporting_interval_valid = validFlag(n, "reporting_interval_valid", reporting.has_value());
  const auto alpha = n.find("alpha");
  if (alpha) ind.alpha = alphaValue(*alpha);
  ind.alpha_valid = validFlag(n, "alpha_valid", alpha.has_value());
  step->record = PackedRecord(ind);
}

void readProfileInit(const Node& n, ScenarioStep* step) {
  if (readRecord<dsd_wqe_profile_init_ind_msg_v01>(n, step, "a profile init")) return;
  n.requireObject("a profile init",
                  {"client", "profile", "rssi_high_override_valid", "rssi_high_override",
                   "rssi_low_override_valid", "rssi_low_override", "iccid_valid", "iccid_len",
                   "iccid", "iccid_bytes", "record"});
  step->client = readClient(n);
  dsd_wqe_profile_init_ind_msg_v01 ind;
  std::memset(&ind, 0, sizeof ind);
  ind.profile_type =
      static_cast<uint32_t>(n.at("profile", "the profile number").integer(0, UINT32_MAX));
  const auto high = n.find("rssi_high_override");
  if (high) ind.rssi_high_override = static_cast<int16_t>(high->integer(INT16_MIN, INT16_MAX));
  ind.rssi_high_override_valid = validFlag(n, "rssi_high_override_valid", high.has_value());
  const auto low = n.find("rssi_low_override");
  if (low) ind.rssi_low_override = static_cast<int16_t>(low->integer(INT16_MIN, INT16_MAX));
  ind.rssi_low_override_valid = validFlag(n, "rssi_low_override_valid", low.has_value());
  const auto digitsNode = n.find("iccid");
  const auto bytesNode = n.find("iccid_bytes");
  std::size_t length = 0;
  if (digitsNode && bytesNode) bytesNode->fail("iccid or iccid_bytes, not both");
  if (digitsNode) {
    const std::string what = "ICCID digits (at most 20)";
    const std::string digits = digitsNode->text(what, 2 * DSD_ICCID_MAX_V01);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
      digitsNode->fail(what);
    }
    // Packed BCD, low nibble first; an odd count ends with the filler nibble F.
    for (std::size_t i = 0; i < digits.size(); ++i) {
      const auto digit = static_cast<uint8_t>(digits[i] - '0');
      ind.iccid[i / 2] |= (i % 2 == 0) ? digit : static_cast<uint8_t>(digit << 4);
    }
    if (digits.size() % 2 != 0) ind.iccid[digits.size() / 2] |= 0xF0;
    length = (digits.size() + 1) / 2;
  } else if (bytesNode) {
    const std::string what = "at most 10 ICCID bytes as hex digit pairs";
    const std::vector<uint8_t> bytes = bytesNode->hex(what);
    if (bytes.size() > DSD_ICCID_MAX_V01) bytesNode->fail(what);
    std::copy(bytes.begin(), bytes.end(), ind.iccid);
    length = bytes.size();
  }
  ind.iccid_valid = validFlag(n, "iccid_valid", digitsNode || bytesNode);
  ind.iccid_len = count(n, "iccid_len", length);
  step->record = PackedRecord(ind);
}

void readProfileMask(const Node& n, ScenarioStep* step) {
  if (readRecord<dsd_wqe_profile_type_ind_msg_v01>(n, step, "a profile selection")) return;
  n.requireObject("a profile selection {\"profiles\"} or {\"mask\"}",
                  {"client", "profiles", "mask", "record"});
  step->client = readClient(n);
  dsd_wqe_profile_type_ind_msg_v01 ind{};
  auto list = n.find("profiles");
  auto mask = n.find("mask");
  if (list && mask) list->fail("profiles or mask, not both");
  if (list) {
    // Profile p is selected by bit p + 28.
    for (const Node& p : list->elements("a list of profile numbers 4 to 35", 32)) {
      ind.profile_mask |= uint64_t{1} << (p.integer(4, 35) + 28);
    }
  } else if (mask) {
    ind.profile_mask = mask64(*mask);
  } else {
    n.at("profiles", "a list of profile numbers (or a raw mask)");
  }
  step->record = PackedRecord(ind);
}

void readWlanConfig(const Node& n, ScenarioStep* step) {
  if (auto to = n.find("to")) {
    const std::string target = to->text("\"default\" or a registration name", 64);
    step->configTarget = target == "default" ? std::string() : target;
  }
  if (readRecord<CasWlanNetConfigType>(n, step, "a WLAN configuration", {"to", "record"})) return;
  n.requireObject("a WLAN configuration",
                  {"to", "netType", "ipv4Address", "ipv6Address", "linkFlag", "enabled",
                   "bssidText", "ssidText", "dns1Ipv4", "dns2Ipv4", "dns1Ipv6", "dns2Ipv6",
                   "connState", "resultReason", "fullConnection", "locationCountryCode", "record"});
  CasWlanNetConfigType c;
  std::memset(&c, 0, sizeof c);
  if (auto type = n.find("netType")) c.netType = netType(*type);
  if (auto v = n.find("ipv4Address")) c.ipv4Address = ipv4(*v);
  if (auto v = n.find("ipv6Address")) ipv6(*v, c.ipv6Address);
  if (auto v = n.find("linkFlag")) c.linkFlag = v->flag() ? 1 : 0;
  if (auto v = n.find("enabled")) c.enabled = v->flag() ? 1 : 0;
  if (auto v = n.find("bssidText")) copyText(*v, c.bssidText, sizeof c.bssidText - 1);
  if (auto v = n.find("ssidText")) copyText(*v, c.ssidText, sizeof c.ssidText - 1);
  if (auto v = n.find("dns1Ipv4")) c.dns1Ipv4 = ipv4(*v);
  if (auto v = n.find("dns2Ipv4")) c.dns2Ipv4 = ipv4(*v);
  if (auto v = n.find("dns1Ipv6")) ipv6(*v, c.dns1Ipv6);
  if (auto v = n.find("dns2Ipv6")) ipv6(*v, c.dns2Ipv6);
  if (auto v = n.find("connState"))
    c.connState = static_cast<int32_t>(v->integer(INT32_MIN, INT32_MAX));
  if (auto v = n.find("resultReason")) {
    c.resultReason = static_cast<int32_t>(v->integer(INT32_MIN, INT32_MAX));
  }
  if (auto v = n.find("fullConnection")) c.fullConnection = v->flag() ? 1 : 0;
  if (auto v = n.find("locationCountryCode")) {
    const std::string code = v->text("a country code of at most 2 letters", 2);
    std::memcpy(c.locationCountryCode, code.data(), code.size());
  }
  step->record = PackedRecord(c);
}

void readStop(const Node& n, ScenarioStep* step) {
  if (readRecord<dsd_stop_wifi_meas_ind_msg_v01>(n, step, "a measurement stop")) return;
  n.requireObject("a measurement stop {\"id\"}", {"client", "id", "record"});
  step->client = readClient(n);
  dsd_stop_wifi_meas_ind_msg_v01 ind{};
  ind.wifi_meas_id = static_cast<uint32_t>(n.at("id", "the measurement id").integer(0, UINT32_MAX));
  step->record = PackedRecord(ind);
}

}  // namespace nexhost
