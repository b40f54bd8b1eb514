// Reads a scenario file into checked records. Every value is read through a Node that
// knows its JSON path, so an error can say exactly where and what was expected.
#include <arpa/inet.h>

#include <cctype>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>

#include "nexhost/Scenario.h"
#include "nexhost/Trace.h"

namespace nexhost {

namespace {

constexpr long long kLatestTime = 1000000000000LL;  // far beyond any scenario; no overflow
constexpr int kLastClient = 7;

std::string shortDump(const Json& value) {
  std::string text = value.dump();
  if (text.size() > 40) text = text.substr(0, 37) + "...";
  return text;
}

bool isIdentifier(const std::string& key) {
  if (key.empty() || std::isdigit(static_cast<unsigned char>(key[0]))) return false;
  for (char c : key) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
  }
  return true;
}

class Node {
 public:
  Node(const Json& value, std::string path, const std::string& file)
      : value_(value), path_(std::move(path)), file_(file) {}

  const Json& value() const { return value_; }
  const std::string& path() const { return path_; }

  [[noreturn]] void fail(const std::string& expected) const {
    throw ScenarioError(file_, path_, "expected " + expected + ", got " + shortDump(value_));
  }

  // An object whose keys all come from `allowed`.
  void requireObject(const std::string& what, std::initializer_list<const char*> allowed) const {
    if (!value_.is_object()) fail(what);
    for (const auto& item : value_.items()) {
      bool known = false;
      std::string list;
      for (const char* key : allowed) {
        known = known || item.key() == key;
        list += std::string(list.empty() ? "" : ", ") + key;
      }
      if (!known) {
        throw ScenarioError(file_, child(item.key()), "unknown key; expected one of: " + list);
      }
    }
  }

  std::optional<Node> find(const std::string& key) const {
    auto it = value_.find(key);
    if (it == value_.end()) return std::nullopt;
    return Node(*it, child(key), file_);
  }
  Node at(const std::string& key, const std::string& what) const {
    auto it = value_.find(key);
    if (it == value_.end()) {
      throw ScenarioError(file_, child(key), "missing; expected " + what);
    }
    return Node(*it, child(key), file_);
  }
  std::vector<Node> elements(const std::string& what, std::size_t max) const {
    if (!value_.is_array() || value_.size() > max) fail(what);
    std::vector<Node> out;
    for (std::size_t i = 0; i < value_.size(); ++i) {
      out.emplace_back(value_[i], path_ + "[" + std::to_string(i) + "]", file_);
    }
    return out;
  }
  std::vector<std::pair<std::string, Node>> members(const std::string& what) const {
    if (!value_.is_object()) fail(what);
    std::vector<std::pair<std::string, Node>> out;
    for (const auto& item : value_.items()) {
      out.emplace_back(item.key(), Node(item.value(), child(item.key()), file_));
    }
    return out;
  }

  long long integer(long long min, long long max) const {
    const std::string what =
        "an integer from " + std::to_string(min) + " to " + std::to_string(max);
    if (!value_.is_number_integer()) fail(what);
    if (value_.is_number_unsigned() &&
        value_.get<unsigned long long>() > static_cast<unsigned long long>(max)) {
      fail(what);
    }
    const long long v = value_.get<long long>();
    if (v < min || v > max) fail(what);
    return v;
  }
  std::string text(const std::string& what, std::size_t maxBytes) const {
    if (!value_.is_string() || value_.get<std::string>().size() > maxBytes) fail(what);
    return value_.get<std::string>();
  }
  bool flag() const {
    if (value_.is_boolean()) return value_.get<bool>();
    return integer(0, 1) != 0;
  }

 private:
  std::string child(const std::string& key) const {
    const std::string step = isIdentifier(key) ? key : "[" + Json(key).dump() + "]";
    if (path_.empty()) return step;
    return step[0] == '[' ? path_ + step : path_ + "." + step;
  }

  const Json& value_;
  std::string path_;
  const std::string& file_;
};

std::string readFile(const std::string& path, bool* ok) {
  std::ifstream in(path, std::ios::binary);
  *ok = in.good();
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string resolve(const std::string& baseDir, const std::string& path) {
  if (path.empty() || path[0] == '/' || baseDir.empty()) return path;
  return baseDir + "/" + path;
}

class Loader {
 public:
  Loader(std::string name, std::string baseDir)
      : name_(std::move(name)), baseDir_(std::move(baseDir)) {}

  Scenario load(const std::string& text) {
    Json root;
    try {
      root = Json::parse(text);
    } catch (const Json::parse_error& e) {
      throw ScenarioError(name_, "", syntaxProblem(text, e));
    }
    Node top(root, "", name_);
    top.requireObject("a scenario object", {"description", "peers", "steps"});
    Scenario scenario;
    scenario.file = name_;
    if (auto d = top.find("description")) scenario.description = d->text("a text", 4096);
    if (auto p = top.find("peers")) scenario.peers = peers(*p);
    scenario.steps = steps(top.at("steps", "a list of steps"));
    return scenario;
  }

  ScenarioStep start(const Node& n) {
    n.requireObject("a measurement start", {"client", "id", "quantities", "mask", "networks",
                                            "sampling_interval", "reporting_interval", "alpha"});
    ScenarioStep step;
    step.action = StepAction::kStart;
    step.client = client(n);
    dsd_start_wifi_meas_ind_msg_v01& ind = step.start;
    std::memset(&ind, 0, sizeof ind);
    ind.wifi_meas_id =
        static_cast<uint32_t>(n.at("id", "the measurement id").integer(0, UINT32_MAX));
    if (auto q = n.find("quantities")) {
      if (n.find("mask"))
        throw ScenarioError(name_, q->path(), "give quantities or mask, not both");
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
    if (auto list = n.find("networks")) {
      ind.wifi_ident_valid = 1;
      const auto networks = list->elements("a list of at most 8 networks", DSD_WIFI_IDENT_MAX_V01);
      ind.wifi_ident_len = static_cast<uint32_t>(networks.size());
      for (std::size_t i = 0; i < networks.size(); ++i) network(networks[i], &ind.wifi_ident[i]);
    }
    if (auto v = n.find("sampling_interval")) {
      ind.sampling_interval_valid = 1;
      ind.sampling_interval = static_cast<int32_t>(v->integer(INT32_MIN, INT32_MAX));
    }
    if (auto v = n.find("reporting_interval")) {
      ind.reporting_interval_valid = 1;
      ind.reporting_interval = static_cast<int32_t>(v->integer(INT32_MIN, INT32_MAX));
    }
    if (auto v = n.find("alpha")) {
      if (!v->value().is_number()) v->fail("a number");
      ind.alpha_valid = 1;
      ind.alpha = v->value().get<float>();
    }
    return step;
  }

 private:
  std::string syntaxProblem(const std::string& text, const Json::parse_error& e) {
    std::size_t line = 1;
    std::size_t column = 1;
    const std::size_t end = std::min<std::size_t>(e.byte == 0 ? 0 : e.byte - 1, text.size());
    for (std::size_t i = 0; i < end; ++i) {
      if (text[i] == '\n') {
        ++line;
        column = 1;
      } else {
        ++column;
      }
    }
    std::string what = e.what();
    const std::size_t colon = what.find("syntax error");
    if (colon != std::string::npos) what = what.substr(colon);
    return "line " + std::to_string(line) + ", column " + std::to_string(column) +
           ": expected valid JSON (" + what + ")";
  }

  int client(const Node& n) {
    auto c = n.find("client");
    return c ? static_cast<int>(c->integer(0, kLastClient)) : 0;
  }

  std::string fileText(const Node& n) {
    const std::string path = resolve(baseDir_, n.text("a file path", 4096));
    bool ok = false;
    std::string text = readFile(path, &ok);
    if (!ok) n.fail("a readable file (looked for " + path + ")");
    return text;
  }

  // One reply: "text", {"reply": "text"}, {"reply_file": "path"} or {"failure": true}.
  SupplicantBackend::Reply reply(const Node& n) {
    if (n.value().is_string()) return {true, n.value().get<std::string>()};
    n.requireObject(
        "a reply: a text, {\"reply\": ...}, {\"reply_file\": ...} or {\"failure\": true}",
        {"reply", "reply_file", "failure"});
    if (n.value().size() != 1) {
      n.fail("exactly one of reply, reply_file, failure");
    }
    if (auto r = n.find("reply")) return {true, r->text("a text", 1 << 20)};
    if (auto f = n.find("reply_file")) return {true, fileText(*f)};
    const Node failure = n.at("failure", "true");
    if (!failure.value().is_boolean() || !failure.value().get<bool>()) failure.fail("true");
    return {false, ""};
  }

  std::map<std::string, std::vector<SupplicantBackend::Reply>> replies(const Node& n) {
    std::map<std::string, std::vector<SupplicantBackend::Reply>> out;
    for (const auto& [command, value] : n.members("an object of replies by command text")) {
      if (value.value().is_object() && value.value().contains("sequence")) {
        value.requireObject("a sequence", {"sequence"});
        const Node list = value.at("sequence", "a list of replies");
        auto items = list.elements("a non-empty list of replies", 10000);
        if (items.empty()) list.fail("a non-empty list of replies");
        for (const Node& item : items) out[command].push_back(reply(item));
      } else {
        out[command].push_back(reply(value));
      }
    }
    return out;
  }

  ScenarioPeers peers(const Node& n) {
    n.requireObject("the peers", {"supplicant", "hostapd", "chipset", "engine", "operators"});
    ScenarioPeers p;
    if (auto s = n.find("supplicant")) {
      s->requireObject("the supplicant", {"sta", "p2p", "scan_ready_after", "p2p_connects"});
      if (auto sta = s->find("sta")) p.station = replies(*sta);
      if (auto p2p = s->find("p2p")) p.p2p = replies(*p2p);
      if (auto after = s->find("scan_ready_after")) {
        if (!after->value().is_null()) p.scanReadyAfter = after->integer(0, kLatestTime);
      }
      if (auto c = s->find("p2p_connects")) p.p2pConnects = c->flag();
    }
    if (auto h = n.find("hostapd")) {
      for (const auto& [line, value] : h->members("an object of results by command line")) {
        value.requireObject("a result {\"output\" or \"output_file\", \"exit_code\"}",
                            {"output", "output_file", "exit_code"});
        Platform::ForkResult result;
        if (auto o = value.find("output")) result.output = o->text("a text", 1 << 20);
        if (auto f = value.find("output_file")) {
          if (value.find("output")) f->fail("output or output_file, not both");
          result.output = fileText(*f);
        }
        if (auto code = value.find("exit_code"))
          result.exitCode = static_cast<int>(code->integer(0, 255));
        p.hostapd[line] = result;
      }
    }
    if (auto c = n.find("chipset")) p.chipset = static_cast<int>(c->integer(INT32_MIN, INT32_MAX));
    if (auto e = n.find("engine")) {
      if (!e->value().is_boolean()) e->fail("true or false");
      p.engine = e->value().get<bool>();
    }
    if (auto o = n.find("operators")) {
      for (const auto& [iccid, name] : o->members("an object of operator names by ICCID digits")) {
        p.operators[iccid] = name.text("an operator name", 256);
      }
    }
    return p;
  }

  std::vector<ScenarioStep> steps(const Node& n) {
    std::vector<ScenarioStep> out;
    long long now = 0;
    for (const Node& item : n.elements("a list of steps", 100000)) {
      item.requireObject(
          "a step", {"at", "start", "stop", "stop_all", "wqe_profile_init", "set_wqe_profile",
                     "create_default_profile", "wifi", "wlan_config", "scan_ready", "advance"});
      if (auto at = item.find("at")) {
        const long long t = at->integer(0, kLatestTime);
        if (t < now)
          at->fail("a time at or after " + std::to_string(now) + " (the previous step's)");
        now = t;
      }
      if (item.value().size() != (item.find("at") ? 2u : 1u)) {
        item.fail(
            "one action: start, stop, stop_all, wqe_profile_init, set_wqe_profile, "
            "create_default_profile, wifi, wlan_config, scan_ready or advance");
      }
      for (const auto& [key, value] : item.members("a step")) {
        if (key == "at") continue;
        ScenarioStep step = action(key, value, now);
        step.name = key;
        now = step.at = step.action == StepAction::kAdvance ? now + advanceBy(value) : now;
        out.push_back(step);
      }
    }
    return out;
  }

  long long advanceBy(const Node& n) { return n.integer(0, kLatestTime); }

  ScenarioStep action(const std::string& key, const Node& n, long long now) {
    if (key == "start") return start(n);
    ScenarioStep step;
    if (key == "stop") {
      n.requireObject("a measurement stop {\"id\"}", {"client", "id"});
      step.action = StepAction::kStop;
      step.client = client(n);
      step.stop.wifi_meas_id =
          static_cast<uint32_t>(n.at("id", "the measurement id").integer(0, UINT32_MAX));
    } else if (key == "stop_all" || key == "create_default_profile" || key == "scan_ready") {
      n.requireObject("an object (optionally with the client)", {"client"});
      step.action = key == "stop_all"     ? StepAction::kStopAll
                    : key == "scan_ready" ? StepAction::kScanReady
                                          : StepAction::kCreateDefaultProfile;
      step.client = client(n);
    } else if (key == "wqe_profile_init") {
      step.action = StepAction::kWqeProfileInit;
      profileInit(n, &step);
    } else if (key == "set_wqe_profile") {
      step.action = StepAction::kSetWqeProfile;
      profileMask(n, &step);
    } else if (key == "wifi") {
      step.action = StepAction::kWifi;
      const std::string state = n.text("\"on\" or \"off\"", 3);
      if (state != "on" && state != "off") n.fail("\"on\" or \"off\"");
      step.wifiOn = state == "on";
    } else if (key == "wlan_config") {
      step.action = StepAction::kWlanConfig;
      wlanConfig(n, &step);
    } else {
      step.action = StepAction::kAdvance;
      advanceBy(n);
    }
    step.at = now;
    return step;
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

  void network(const Node& n, dsd_wifi_ident_type_v01* entry) {
    n.requireObject("a network {\"ssid\", \"bssids\"}", {"ssid", "bssids"});
    const Node ssid = n.at("ssid", "a text of at most 32 bytes, \"any\" or \"connected\"");
    const std::string name = ssid.text("a text of at most 32 bytes, \"any\" or \"connected\"", 32);
    if (name == "any") {
      std::memset(entry->ssid_info.ssid, 0xFF, sizeof entry->ssid_info.ssid);
    } else if (name != "connected") {
      std::memcpy(entry->ssid_info.ssid, name.data(), name.size());
    }
    if (auto list = n.find("bssids")) {
      const auto bssids =
          list->elements("a list of at most 16 access points", DSD_WIFI_BSSID_LIST_MAX_V01);
      entry->bssid_list_len = static_cast<uint32_t>(bssids.size());
      for (std::size_t i = 0; i < bssids.size(); ++i) accessPoint(bssids[i], &entry->bssid_list[i]);
    }
  }

  void accessPoint(const Node& n, dsd_wifi_bssid_type_v01* entry) {
    n.requireObject("an access point {\"bssid\", \"channels\"}", {"bssid", "channels"});
    const Node bssid = n.at("bssid", "a BSSID");
    if (!parseMac(bssid.text("a BSSID like 02:00:00:00:00:00", 17), entry->bssid)) {
      bssid.fail("a BSSID like 02:00:00:00:00:00");
    }
    if (auto list = n.find("channels")) {
      const auto codes =
          list->elements("a list of at most 16 channel codes", DSD_WIFI_CHANNEL_LIST_MAX_V01);
      entry->channel_list_len = static_cast<uint32_t>(codes.size());
      for (std::size_t i = 0; i < codes.size(); ++i) {
        entry->channel_list[i] = static_cast<uint16_t>(codes[i].integer(0, UINT16_MAX));
      }
    }
  }

  void profileInit(const Node& n, ScenarioStep* step) {
    n.requireObject("a profile init",
                    {"client", "profile", "rssi_high_override", "rssi_low_override", "iccid"});
    step->client = client(n);
    dsd_wqe_profile_init_ind_msg_v01& ind = step->profileInit;
    std::memset(&ind, 0, sizeof ind);
    ind.profile_type =
        static_cast<uint32_t>(n.at("profile", "the profile number").integer(0, UINT32_MAX));
    if (auto v = n.find("rssi_high_override")) {
      ind.rssi_high_override_valid = 1;
      ind.rssi_high_override = static_cast<int16_t>(v->integer(INT16_MIN, INT16_MAX));
    }
    if (auto v = n.find("rssi_low_override")) {
      ind.rssi_low_override_valid = 1;
      ind.rssi_low_override = static_cast<int16_t>(v->integer(INT16_MIN, INT16_MAX));
    }
    if (auto v = n.find("iccid")) {
      const std::string what = "ICCID digits (at most 20)";
      const std::string digits = v->text(what, 2 * DSD_ICCID_MAX_V01);
      if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
        v->fail(what);
      }
      ind.iccid_valid = 1;
      // Packed BCD, low nibble first; an odd count ends with the filler nibble F.
      for (std::size_t i = 0; i < digits.size(); ++i) {
        const auto digit = static_cast<uint8_t>(digits[i] - '0');
        ind.iccid[i / 2] |= (i % 2 == 0) ? digit : static_cast<uint8_t>(digit << 4);
      }
      if (digits.size() % 2 != 0) ind.iccid[digits.size() / 2] |= 0xF0;
      ind.iccid_len = static_cast<uint32_t>((digits.size() + 1) / 2);
    }
  }

  void profileMask(const Node& n, ScenarioStep* step) {
    n.requireObject("a profile selection {\"profiles\"} or {\"mask\"}",
                    {"client", "profiles", "mask"});
    step->client = client(n);
    auto list = n.find("profiles");
    auto mask = n.find("mask");
    if (list && mask) list->fail("profiles or mask, not both");
    if (list) {
      // Profile p is selected by bit p + 28.
      for (const Node& p : list->elements("a list of profile numbers 4 to 35", 32)) {
        step->profileMask.profile_mask |= uint64_t{1} << (p.integer(4, 35) + 28);
      }
    } else if (mask) {
      step->profileMask.profile_mask = mask64(*mask);
    } else {
      n.at("profiles", "a list of profile numbers (or a raw mask)");
    }
  }

  void wlanConfig(const Node& n, ScenarioStep* step) {
    n.requireObject("a WLAN configuration",
                    {"to", "netType", "ipv4Address", "ipv6Address", "linkFlag", "enabled",
                     "bssidText", "ssidText", "dns1Ipv4", "dns2Ipv4", "dns1Ipv6", "dns2Ipv6",
                     "connState", "resultReason", "fullConnection", "locationCountryCode"});
    CasWlanNetConfigType& c = step->config;
    std::memset(&c, 0, sizeof c);
    if (auto to = n.find("to")) {
      const std::string target = to->text("\"default\" or a registration name", 64);
      step->configTarget = target == "default" ? std::string() : target;
    }
    const Node type = n.at("netType", "\"station\", \"softap\", \"p2p\" or a number");
    if (type.value().is_string()) {
      const std::string kind = type.value().get<std::string>();
      if (kind == "station") {
        c.netType = CAS_NET_TYPE_STATION;
      } else if (kind == "softap") {
        c.netType = CAS_NET_TYPE_SOFTAP;
      } else if (kind == "p2p") {
        c.netType = CAS_NET_TYPE_P2P;
      } else {
        type.fail("\"station\", \"softap\", \"p2p\" or a number");
      }
    } else {
      c.netType = static_cast<int32_t>(type.integer(INT32_MIN, INT32_MAX));
    }
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
        n.text("a text of at most " + std::to_string(maxBytes) + " bytes", maxBytes);
    std::memcpy(field, text.data(), text.size());
  }

  static bool parseMac(const std::string& text, uint8_t* mac) {
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

  std::string name_;
  std::string baseDir_;
};

}  // namespace

Scenario parseScenario(const std::string& text, const std::string& name,
                       const std::string& baseDir) {
  return Loader(name, baseDir).load(text);
}

Scenario loadScenario(const std::string& path) {
  bool ok = false;
  const std::string text = readFile(path, &ok);
  if (!ok) throw ScenarioError(path, "", "cannot read the file");
  const std::size_t slash = path.rfind('/');
  return parseScenario(text, path, slash == std::string::npos ? "." : path.substr(0, slash));
}

ScenarioStep measurementStep(const MeasurementOptions& options) {
  // The command line speaks the scenario's language: build the same JSON and load it.
  Json start{{"id", options.id}};
  Json quantities = Json::array({"rssi"});
  if (options.bssLoad) quantities.push_back("bss_load");
  start["quantities"] = quantities;
  Json channels = Json::array();
  for (uint16_t c : options.channels) channels.push_back(c);
  if (channels.empty()) channels.push_back(DSD_WIFI_CHANNEL_ANY_V01);
  Json bssids = Json::array();
  for (const std::string& b : options.bssids)
    bssids.push_back(Json{{"bssid", b}, {"channels", channels}});
  if (bssids.empty())
    bssids.push_back(Json{{"bssid", "ff:ff:ff:ff:ff:ff"}, {"channels", channels}});
  start["networks"] = Json::array({Json{{"ssid", options.ssid}, {"bssids", bssids}}});
  if (options.samplingInterval) start["sampling_interval"] = *options.samplingInterval;
  if (options.reportingInterval) start["reporting_interval"] = *options.reportingInterval;
  if (options.alpha) start["alpha"] = *options.alpha;
  const std::string name = "command line";
  try {
    ScenarioStep step = Loader(name, "").start(Node(start, "", name));
    step.name = "start";
    return step;
  } catch (const ScenarioError& e) {
    // Name the option rather than the JSON built from it.
    const std::string& path = e.path();
    const std::string option = path.find("channels") != std::string::npos ? "--channel"
                               : path.find("bssid") != std::string::npos  ? "--bssid"
                               : path.find("ssid") != std::string::npos   ? "--ssid"
                                                                          : "--" + path;
    const std::string what = e.what();
    throw ScenarioError(name, option, what.substr(what.find(path) + path.size() + 2));
  }
}

}  // namespace nexhost
