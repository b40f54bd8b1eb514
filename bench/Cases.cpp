#include "Cases.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <map>
#include <set>
#include <utility>

#include "Floors.h"
#include "Indications.h"
#include "Inputs.h"
#include "MdxWifiClientMgr.h"
#include "WifiInfoProvider.h"
#include "WifiInformationElementParser.h"
#include "WifiParser.h"
#include "framework/Host.h"

namespace bench {

namespace {

nexhost::Logger::Journal journalMode = nexhost::Logger::Journal::kOff;
bool withoutLogger = false;

// wpa_supplicant as cheap as a host can answer: fixed replies, nothing recorded.
class BenchSupplicant : public nexhost::SupplicantBackend {
 public:
  explicit BenchSupplicant(nexhost::Trace& trace) : SupplicantBackend(trace) {}

  std::string scanResults;
  std::map<std::string, const std::string*> bssReplies;  // "BSS <bssid>" -> reply
  std::size_t bssCommands = 0;

  Reply command(supplicantType_t, const std::string& text) override {
    if (text == NexSupplicantWrapper::scanResultCmd) return Reply{true, scanResults};
    if (text == NexSupplicantWrapper::scanCmd) return Reply{true, std::string()};
    const auto found = bssReplies.find(text);
    if (found == bssReplies.end()) return Reply{false, std::string()};
    ++bssCommands;
    return Reply{true, *found->second};
  }
  bool connect(supplicantType_t) override { return true; }
  bool disconnect(supplicantType_t) override { return true; }
  bool setBssidFilter(const std::string&) override { return true; }
  bool setFrequencyFilter(const std::string&) override { return true; }
};

uint64_t fnv(uint64_t hash, const void* data, std::size_t size) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 1099511628211ull;
  return hash;
}

// Every case runs with a host, so that the plug-in's log calls reach a logger as on the
// handset.
class HostedRunner : public Runner {
 public:
  HostedRunner() {
    auto backend = std::make_unique<BenchSupplicant>(trace_);
    supplicant_ = backend.get();
    host_ = std::make_unique<nexhost::Host>(std::move(backend));
    host_->logger.setJournal(journalMode);
    host_->modem.setJournal(journalMode == nexhost::Logger::Journal::kKeep);
    if (withoutLogger) NexMsg::globalLogger = nullptr;
  }

  // As nexhost runs by default (--log-level 3): the plug-in's level-1 lines are neither
  // printed, traced nor kept, so the logger drops them before formatting. --digest still
  // keeps every line.
  void atDefaultLogLevel() {
    if (journalMode != nexhost::Logger::Journal::kKeep) {
      host_->logger.setJournal(nexhost::Logger::Journal::kOff);
    }
    host_->logger.setTraceLevel(3);
  }

  std::string digest() override {
    uint64_t hash = 14695981039346656037ull;
    for (const nexhost::LogLine& line : host_->logger.lines()) {
      hash = fnv(hash, &line.level, sizeof line.level);
      hash = fnv(hash, &line.module, sizeof line.module);
      hash = fnv(hash, line.text.data(), line.text.size() + 1);
    }
    for (const nexhost::ModemMessage& message : host_->modem.messages()) {
      hash = fnv(hash, message.bytes.data(), message.bytes.size());
    }
    char text[80];
    std::snprintf(text, sizeof text, "%zu lines, %zu messages, %016llx",
                  host_->logger.lines().size(), host_->modem.messages().size(),
                  static_cast<unsigned long long>(hash));
    return text;
  }

 protected:
  // Only the last run's lines and messages count.
  void clearJournals() {
    host_->logger.clear();
    host_->modem.clear();
  }

  nexhost::Clock clock_;
  nexhost::Trace trace_{clock_};
  BenchSupplicant* supplicant_ = nullptr;
  std::unique_ptr<nexhost::Host> host_;
};

// "name=value name=value ..."
std::string fields(std::initializer_list<std::pair<const char*, long long>> list) {
  std::string text;
  for (const auto& [name, value] : list) {
    if (!text.empty()) text += ' ';
    text += name;
    text += '=';
    text += std::to_string(value);
  }
  return text;
}

std::string loadText(const BssLoad& load) {
  return fields({{"utilization", load.channelUtilization},
                 {"bandwidth", load.channelBandwidth},
                 {"lowest", load.lowestChannel}});
}

// ---- Scan cycles: a raw measurement runs; each cycle is one scan-ready callback, up to
// the last report sent to the modem.

class ScanCycle : public HostedRunner {
 public:
  ScanCycle(dsd_start_wifi_meas_ind_msg_v01 indication, bool answerBss,
            const std::string& listing = scanResults()) {
    supplicant_->scanResults = listing;
    if (answerBss) {
      for (const ScanLine& line : scanLines()) {
        supplicant_->bssReplies["BSS " + line.bssid] =
            &recorded(line.frequency < 3000 ? "bss.txt" : "bss_5ghz.txt");
      }
    }
    manager_ = MdxWifiClientMgr::getInstance();
    manager_->initializeLinks(&host_->com, &host_->timer, &host_->supplicant());
    started_ = manager_->startWifiMeasurement(&host_->client(0), indication);
  }
  ~ScanCycle() override { manager_->stopAllRequests(&host_->client(0)); }

  void run() override {
    clearJournals();
    const std::size_t reports = host_->modem.received();
    const std::size_t bss = supplicant_->bssCommands;
    // The callback the provider registered with the supplicant wrapper.
    WifiInfoProvider::scanResultsReadyCb(nullptr, WifiInfoProvider::getInstance());
    reports_ = host_->modem.received() - reports;
    bss_ = supplicant_->bssCommands - bss;
  }
  std::string outcome() override {
    return fields({{"reports", static_cast<long long>(reports_)},
                   {"bss_queries", static_cast<long long>(bss_)}});
  }
  std::string check() override {
    if (!started_) return "the measurement did not start";
    if (reports_ == 0) return "no report sent";
    if (!supplicant_->bssReplies.empty() && bss_ != scanLines().size()) {
      return "not one BSS query per access point";
    }
    return "";
  }

 private:
  MdxWifiClientMgr* manager_ = nullptr;
  bool started_ = false;
  std::size_t reports_ = 0;
  std::size_t bss_ = 0;
};

constexpr uint64_t kRssi = DSD_WIFI_MEAS_PARAM_RSSI_V01;
constexpr uint64_t kRssiAndLoad = DSD_WIFI_MEAS_PARAM_RSSI_V01 | DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01;

testind::Mac macOf(const std::string& text) {
  testind::Mac mac{};
  unsigned group[6];
  std::sscanf(text.c_str(), "%x:%x:%x:%x:%x:%x", &group[0], &group[1], &group[2], &group[3],
              &group[4], &group[5]);
  for (int i = 0; i < 6; ++i) mac[i] = static_cast<uint8_t>(group[i]);
  return mac;
}

// The largest request the start indication holds: 8 networks, each with 16 BSSIDs (any
// BSSID, the network's own, then others seen and some not) and 16 channel codes (the three
// bands, any, and frequencies of both bands).
dsd_start_wifi_meas_ind_msg_v01 largestRequest() {
  const std::vector<std::string> ssids = {"eduroam",
                                          "Office",
                                          "HomeNet",
                                          "Stadtbibliothek Public",
                                          "Cafe Central Free WiFi",
                                          "Pension Lindenhof Gaeste",
                                          "Klinik-Gast",
                                          "Airport Free"};
  const std::vector<uint16_t> channels = {1,    2,    3,    65535, 2412, 2422, 2437, 2452,
                                          2462, 2472, 5180, 5240,  5260, 5500, 5745, 5785};
  std::vector<testind::Network> networks;
  for (std::size_t n = 0; n < ssids.size(); ++n) {
    std::vector<std::string> bssids = {"ff:ff:ff:ff:ff:ff"};
    for (const ScanLine& line : scanLines()) {
      if (line.ssid == ssids[n]) bssids.push_back(line.bssid);
    }
    for (std::size_t i = 0; bssids.size() < 14; ++i) {
      const std::string& other = scanLines()[(n * 5 + i * 3) % scanLines().size()].bssid;
      if (std::find(bssids.begin(), bssids.end(), other) == bssids.end()) bssids.push_back(other);
    }
    bssids.push_back("02:11:22:33:44:" + std::to_string(10 + n));
    bssids.push_back("02:aa:bb:cc:dd:" + std::to_string(10 + n));
    std::vector<testind::Bssid> list;
    for (const std::string& bssid : bssids) list.push_back({macOf(bssid), channels});
    networks.push_back(testind::named(ssids[n], list));
  }
  return testind::indication(2, kRssi, networks);
}

// ---- Element walks

class ElementsToLoad : public HostedRunner {
 public:
  ElementsToLoad(std::string text, bool defaultLogLevel) : text_(std::move(text)) {
    if (defaultLogLevel) atDefaultLogLevel();
  }
  void run() override {
    clearJournals();
    load_ = BssLoad{};
    WifiInformationElementParser::parse(&text_[0], load_);
  }
  std::string outcome() override { return loadText(load_); }

 private:
  std::string text_;
  BssLoad load_{};
};

std::string factsText(int32_t mode, const std::string& hessid, const std::string& country) {
  return "mode=" + std::to_string(mode) + " hessid=" + hessid + " country=" + country;
}

// Wi-Fi mode, HESSID and country code as the plug-in derives them from a text.
std::string pluginFacts(std::string text, uint16_t frequency) {
  WifiInfoMap map;
  WifiInformationElementParser::parse(&text[0], map);
  WifiParser* parser = WifiParser::getInstance();
  const std::string facts = factsText(map.empty() ? -1 : parser->getWifiMode(map, frequency),
                                      parser->getHESSIDInfo(map), parser->getCountryCode(map));
  for (auto& entry : map) delete entry.second;
  return facts;
}

std::string floorFacts(const floors::ElementFacts& facts, uint16_t frequency) {
  char hessid[18] = "";
  if (facts.hessidPresent) {
    std::snprintf(hessid, sizeof hessid, "%02x:%02x:%02x:%02x:%02x:%02x", facts.hessid[0],
                  facts.hessid[1], facts.hessid[2], facts.hessid[3], facts.hessid[4],
                  facts.hessid[5]);
  }
  return factsText(facts.any ? floors::wifiMode(facts, frequency) : -1, hessid, facts.countryCode);
}

class ElementsToMap : public HostedRunner {
 public:
  ElementsToMap(std::string text, uint16_t frequency)
      : text_(std::move(text)), frequency_(frequency) {}
  ~ElementsToMap() override { clear(); }
  // The map a run returns is kept until the next one, so that a run's allocations are
  // those the map keeps, and what it frees within the run is what the walk threw away.
  void run() override {
    clear();
    clearJournals();
    WifiInformationElementParser::parse(&text_[0], map_);
    elements_ = map_.size();
  }
  std::string outcome() override {
    return "elements=" + std::to_string(elements_) + " " + pluginFacts(text_, frequency_);
  }

 private:
  // The map owns its elements; whoever empties it frees them.
  void clear() {
    for (auto& entry : map_) delete entry.second;
    map_.clear();
  }

  std::string text_;
  uint16_t frequency_;
  WifiInfoMap map_;
  std::size_t elements_ = 0;
};

// ---- Replies

class StatusReply : public HostedRunner {
 public:
  StatusReply(std::string text, bool apStatus) : text_(std::move(text)), ap_(apStatus) {}
  void run() override {
    clearJournals();
    status_ = WifiStatus{};
    WifiParser* parser = WifiParser::getInstance();
    if (ap_) {
      parser->parseApStatusCmdData(text_.c_str(), status_);
    } else {
      parser->parseStatusCmdData(text_.c_str(), status_);
    }
  }
  std::string outcome() override {
    return status_.ssid + " " + status_.bssid + " " + status_.address + " " + status_.ipAddress +
           " " + status_.mode + " " + status_.wpaState + " " + std::to_string(status_.frequency);
  }

 private:
  std::string text_;
  bool ap_;
  WifiStatus status_;
};

class SignalPollReply : public HostedRunner {
 public:
  explicit SignalPollReply(std::string text) : text_(std::move(text)) {}
  void run() override {
    clearJournals();
    status_ = WifiStatus{};
    WifiParser::getInstance()->parseSignalPollCmdData(text_.c_str(), status_);
  }
  std::string outcome() override {
    return fields({{"rssi", status_.rssi}, {"frequency", status_.frequency}});
  }

 private:
  std::string text_;
  WifiStatus status_;
};

class BssLoadReply : public HostedRunner {
 public:
  explicit BssLoadReply(std::string text) : text_(std::move(text)) {}
  void run() override {
    clearJournals();
    load_ = BssLoad{};
    WifiParser::getInstance()->parseBssLoadCmdData(text_.c_str(), load_);
  }
  std::string outcome() override { return loadText(load_); }

 private:
  std::string text_;
  BssLoad load_{};
};

class BssInfoReply : public HostedRunner {
 public:
  BssInfoReply(std::string text, uint16_t frequency)
      : text_(std::move(text)), frequency_(frequency) {}
  void run() override {
    clearJournals();
    status_ = WifiStatus{};
    status_.frequency = frequency_;  // as the station query's signal poll leaves it
    WifiParser::getInstance()->parseBssCmdWifiInfo(text_.c_str(), status_);
  }
  std::string outcome() override {
    return factsText(status_.wifiMode, status_.hessid, status_.countryCode);
  }

 private:
  std::string text_;
  uint16_t frequency_;
  WifiStatus status_;
};

// ---- Floors. Each checks that it finds what the plug-in finds in the same input.

class Floor : public HostedRunner {
 public:
  std::string digest() override { return "-"; }
  std::string check() override {
    const std::string expected = pluginOutcome();
    const std::string found = outcome();
    return found == expected ? "" : "floor found '" + found + "', the plug-in '" + expected + "'";
  }

 protected:
  virtual std::string pluginOutcome() = 0;
};

std::string scanText(const floors::ScanFacts& facts) {
  return fields({{"lines", facts.lines},
                 {"frequencies", static_cast<long long>(facts.frequencySum)},
                 {"levels", facts.levelSum}});
}

std::string loadText(const floors::LoadFacts& facts) {
  return fields({{"utilization", facts.channelUtilization},
                 {"bandwidth", facts.channelBandwidth},
                 {"lowest", facts.lowestChannel}});
}

class ScanFloor : public Floor {
 public:
  explicit ScanFloor(bool withBss, std::string listing = scanResults())
      : withBss_(withBss), listing_(std::move(listing)) {
    for (const ScanLine& line : scanLines()) {
      replies_.push_back(recorded(line.frequency < 3000 ? "bss.txt" : "bss_5ghz.txt").c_str());
    }
  }
  void run() override {
    facts_ = floors::scanResults(listing_.c_str());
    if (!withBss_) return;
    utilization_ = 0;
    for (const char* reply : replies_)
      utilization_ += floors::bssLoadReply(reply).channelUtilization;
  }
  std::string outcome() override {
    return scanText(facts_) + (withBss_ ? " " + fields({{"utilization", utilization_}}) : "");
  }

 protected:
  std::string pluginOutcome() override {
    const WifiScanResult result = WifiParser::getInstance()->parseScanData(listing_.c_str());
    floors::ScanFacts facts;
    for (const auto& entry : result.byFreqBssidSsid) {
      ++facts.lines;
      facts.frequencySum += static_cast<unsigned long>(std::atoi(entry.second.freq.c_str()));
      facts.levelSum += entry.second.rssi;
    }
    long long utilization = 0;
    for (const char* reply : replies_) {
      BssLoad load{};
      WifiParser::getInstance()->parseBssLoadCmdData(reply, load);
      utilization += load.channelUtilization;
    }
    return scanText(facts) + (withBss_ ? " " + fields({{"utilization", utilization}}) : "");
  }

 private:
  bool withBss_;
  std::string listing_;
  std::vector<const char*> replies_;
  floors::ScanFacts facts_;
  long long utilization_ = 0;
};

class LoadFloor : public Floor {
 public:
  explicit LoadFloor(std::string text) : text_(std::move(text)) {}
  void run() override {
    const char* text = text_.c_str();
    facts_ = floors::loadElements(text, text + std::strlen(text));
  }
  std::string outcome() override { return loadText(facts_); }

 protected:
  std::string pluginOutcome() override {
    BssLoad load{};
    load.channelUtilization = kBssLoadUnknown;
    WifiInformationElementParser::parse(&text_[0], load);
    return loadText(load);
  }

 private:
  std::string text_;
  floors::LoadFacts facts_;
};

class FactsFloor : public Floor {
 public:
  FactsFloor(std::string text, uint16_t frequency)
      : text_(std::move(text)), frequency_(frequency) {}
  void run() override {
    const char* text = text_.c_str();
    facts_ = floors::factElements(text, text + std::strlen(text));
  }
  std::string outcome() override { return floorFacts(facts_, frequency_); }

 protected:
  std::string pluginOutcome() override { return pluginFacts(text_, frequency_); }

 private:
  std::string text_;
  uint16_t frequency_;
  floors::ElementFacts facts_;
};

// A reply floor: `scan` walks the text, `show` renders what it kept, `plugin` renders
// what the plug-in's parser makes of the same text.
template <typename Facts>
class ReplyFloor : public Floor {
 public:
  ReplyFloor(std::string text, Facts (*scan)(const char*), std::string (*show)(const Facts&),
             std::string (*plugin)(const char*))
      : text_(std::move(text)), scan_(scan), show_(show), plugin_(plugin) {}
  void run() override { facts_ = scan_(text_.c_str()); }
  std::string outcome() override { return show_(facts_); }

 protected:
  std::string pluginOutcome() override { return plugin_(text_.c_str()); }

 private:
  std::string text_;
  Facts (*scan_)(const char*);
  std::string (*show_)(const Facts&);
  std::string (*plugin_)(const char*);
  Facts facts_{};
};

std::string statusText(const std::string& ssid, const std::string& bssid,
                       const std::string& address, const std::string& ip, const std::string& mode,
                       const std::string& state, unsigned frequency) {
  return ssid + " " + bssid + " " + address + " " + ip + " " + mode + " " + state + " " +
         std::to_string(frequency);
}

std::string showStatus(const floors::StatusFacts& f) {
  return statusText(f.ssid.str(), f.bssid.str(), f.address.str(), f.ipAddress.str(), f.mode.str(),
                    f.wpaState.str(), f.frequency);
}
std::string pluginStatus(const char* text) {
  WifiStatus s;
  WifiParser::getInstance()->parseStatusCmdData(text, s);
  return statusText(s.ssid, s.bssid, s.address, s.ipAddress, s.mode, s.wpaState, s.frequency);
}
std::string showAp(const floors::ApFacts& f) {
  return statusText(f.ssid.str(), f.bssid.str(), "", "", "", "", f.frequency);
}
std::string pluginAp(const char* text) {
  WifiStatus s;
  WifiParser::getInstance()->parseApStatusCmdData(text, s);
  return statusText(s.ssid, s.bssid, "", "", "", "", s.frequency);
}
std::string showSignal(const floors::SignalFacts& f) {
  return fields({{"rssi", f.rssi}, {"frequency", f.frequency}});
}
std::string pluginSignal(const char* text) {
  WifiStatus s;
  WifiParser::getInstance()->parseSignalPollCmdData(text, s);
  return fields({{"rssi", s.rssi}, {"frequency", s.frequency}});
}
std::string showLoad(const floors::LoadFacts& f) { return loadText(f); }
std::string pluginLoad(const char* text) {
  BssLoad load{};
  WifiParser::getInstance()->parseBssLoadCmdData(text, load);
  return loadText(load);
}
std::string showFacts2437(const floors::ElementFacts& f) { return floorFacts(f, 2437); }
std::string pluginFacts2437(const char* text) {
  WifiStatus s;
  s.frequency = 2437;
  WifiParser::getInstance()->parseBssCmdWifiInfo(text, s);
  return factsText(s.wifiMode, s.hessid, s.countryCode);
}

template <typename Make>
Case make(std::string name, std::string floor, Make make) {
  return Case{std::move(name), std::move(floor),
              [make] { return std::unique_ptr<Runner>(make()); }};
}

std::vector<Case> allCases() {
  using testind::anySsid;
  using testind::indication;
  std::vector<Case> all;
  all.push_back(make("scan_cycle/any_ssid", "floor/scan_results",
                     [] { return new ScanCycle(indication(1, kRssi, {anySsid()}), false); }));
  all.push_back(make("scan_cycle/8x16x16", "floor/scan_results",
                     [] { return new ScanCycle(largestRequest(), false); }));
  all.push_back(make("scan_cycle/bss_load", "floor/scan_results+bss",
                     [] { return new ScanCycle(indication(3, kRssiAndLoad, {anySsid()}), true); }));
  all.push_back(make("floor/scan_results", "", [] { return new ScanFloor(false); }));
  all.push_back(make("floor/scan_results+bss", "", [] { return new ScanFloor(true); }));
  // The any-SSID cycle over listings of 1, 16 and 256 access points: once the store has
  // warmed, what a cycle allocates must not grow with them.
  for (const std::size_t count : {1, 16, 256}) {
    const std::string name = "scan_cycle/aps/" + std::to_string(count);
    const std::string floor = "floor/scan_results/aps/" + std::to_string(count);
    all.push_back(make(name, floor, [count] {
      return new ScanCycle(indication(1, kRssi, {anySsid()}), false, scanResultsOf(count));
    }));
    all.push_back(make(floor, "", [count] { return new ScanFloor(false, scanResultsOf(count)); }));
  }

  struct Elements {
    const char* name;
    std::string text;
    uint16_t frequency;
  };
  const std::vector<Elements> elements = {
      {"2g", elementsOf(recorded("bss.txt")), 2437},
      {"5g", elementsOf(recorded("bss_5ghz.txt")), 5180},
      {"512", composedElements(), 5180},
      {"4k", hostileElements(), 2412},
  };
  for (const Elements& e : elements) {
    const std::string text = e.text;
    const uint16_t frequency = e.frequency;
    const std::string loadFloor = std::string("floor/ie_load/") + e.name;
    const std::string factsFloor = std::string("floor/ie_facts/") + e.name;
    all.push_back(make(std::string("ie_parse/bss_load/") + e.name, loadFloor,
                       [text] { return new ElementsToLoad(text, false); }));
    if (e.name == std::string("2g")) {
      all.push_back(make("ie_parse/bss_load/2g/default-log", loadFloor,
                         [text] { return new ElementsToLoad(text, true); }));
    }
    all.push_back(make(std::string("ie_parse/map/") + e.name, factsFloor,
                       [text, frequency] { return new ElementsToMap(text, frequency); }));
    all.push_back(make(loadFloor, "", [text] { return new LoadFloor(text); }));
    all.push_back(
        make(factsFloor, "", [text, frequency] { return new FactsFloor(text, frequency); }));
  }

  all.push_back(make("reply_parse/status", "floor/reply/status",
                     [] { return new StatusReply(recorded("status.txt"), false); }));
  all.push_back(make("reply_parse/signal_poll", "floor/reply/signal_poll",
                     [] { return new SignalPollReply(recorded("signal_poll.txt")); }));
  all.push_back(make("reply_parse/bss_load", "floor/reply/bss_load",
                     [] { return new BssLoadReply(recorded("bss.txt")); }));
  all.push_back(make("reply_parse/bss_wifi_info", "floor/reply/bss_wifi_info",
                     [] { return new BssInfoReply(recorded("bss.txt"), 2437); }));
  all.push_back(make("reply_parse/hostapd_status", "floor/reply/hostapd_status",
                     [] { return new StatusReply(recorded("hostapd_status.txt"), true); }));
  all.push_back(make("floor/reply/status", "", [] {
    return new ReplyFloor<floors::StatusFacts>(recorded("status.txt"), floors::statusReply,
                                               showStatus, pluginStatus);
  }));
  all.push_back(make("floor/reply/signal_poll", "", [] {
    return new ReplyFloor<floors::SignalFacts>(recorded("signal_poll.txt"), floors::signalPollReply,
                                               showSignal, pluginSignal);
  }));
  all.push_back(make("floor/reply/bss_load", "", [] {
    return new ReplyFloor<floors::LoadFacts>(recorded("bss.txt"), floors::bssLoadReply, showLoad,
                                             pluginLoad);
  }));
  all.push_back(make("floor/reply/bss_wifi_info", "", [] {
    return new ReplyFloor<floors::ElementFacts>(recorded("bss.txt"), floors::bssFactsReply,
                                                showFacts2437, pluginFacts2437);
  }));
  all.push_back(make("floor/reply/hostapd_status", "", [] {
    return new ReplyFloor<floors::ApFacts>(recorded("hostapd_status.txt"), floors::apStatusReply,
                                           showAp, pluginAp);
  }));
  return all;
}

}  // namespace

void setJournal(nexhost::Logger::Journal journal) { journalMode = journal; }
void setWithoutLogger(bool without) { withoutLogger = without; }

const std::vector<Case>& cases() {
  static const std::vector<Case> all = allCases();
  return all;
}

}  // namespace bench
