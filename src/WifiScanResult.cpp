#include "WifiScanResult.h"

#include <cstdio>
#include <utility>

#include "Log.h"
#include "TextNumber.h"

namespace {

const char kAnySsid[] = "AnySSID";
const char kBroadcastBssid[] = "ff:ff:ff:ff:ff:ff";
constexpr uint16_t kAnyChannel = 65535;
constexpr uint16_t kBand24 = 1;
constexpr uint16_t kBand36 = 2;
constexpr uint16_t kBand5 = 3;
// The band names take part in the keys, so they keep this spelling.
const char kBand24Text[] = "24ghtz";
const char kBand36Text[] = "36ghtz";
const char kBand5Text[] = "5ghtz";
// Above every character a key continues with, so [prefix, prefix + "~"] is a prefix range.
const char kRangeEnd[] = "~";

// Inclusive bounds; 5845 MHz and 6 GHz channels have no band.
std::string bandOf(uint16_t mhz) {
  if (mhz >= 2412 && mhz <= 2484) return kBand24Text;
  if (mhz >= 3657 && mhz <= 3692) return kBand36Text;
  if (mhz >= 5035 && mhz <= 5825) return kBand5Text;
  return "";
}

std::string channelTextOf(uint16_t channel) {
  switch (channel) {
    case kBand5:
      return kBand5Text;
    case kBand36:
      return kBand36Text;
    case kBand24:
      return kBand24Text;
    default: {
      char text[10];
      std::snprintf(text, sizeof(text), "%lu", static_cast<unsigned long>(channel));
      return text;
    }
  }
}

template <typename Value>
void moveOut(Value& target, Value& source) {
  target = std::move(source);
  source.clear();
}

}  // namespace

WifiScanResult::WifiScanResult() = default;

WifiScanResult::WifiScanResult(WifiScanResult&& other) noexcept { *this = std::move(other); }

WifiScanResult& WifiScanResult::operator=(WifiScanResult&& other) noexcept {
  if (this == &other) return *this;
  moveOut(byFreqBssidSsid, other.byFreqBssidSsid);
  moveOut(byBssidFreq, other.byBssidFreq);
  moveOut(byFreqBssid, other.byFreqBssid);
  moveOut(filteredList, other.filteredList);
  moveOut(filteredBySsid, other.filteredBySsid);
  moveOut(ssidBssidSet, other.ssidBssidSet);
  return *this;
}

void WifiScanResult::addData(std::string bssid, std::string freq, int16_t rssi, std::string ssid) {
  uint16_t mhz = 0;
  std::string band;
  if (!freq.empty()) {
    mhz = static_cast<uint16_t>(textToInt(freq.c_str()));
    band = bandOf(mhz);
  }
  BssidInfo record;
  record.ssid = ssid;
  record.bssid = bssid;
  record.freq = freq;
  record.rssi = rssi;
  // emplace keeps an existing entry: the first line seen for a key wins.
  byFreqBssidSsid.emplace(freq + "&" + bssid + "&" + ssid, record);
  byBssidFreq.emplace(bssid + "&" + freq, record);
  byFreqBssid.emplace(freq + "&" + bssid, record);
  if (mhz != 0) {
    // Also for an empty band: an out-of-band BSS gets the keys bssid + "&" and "&" + bssid.
    byBssidFreq.emplace(bssid + "&" + band, record);
    byFreqBssid.emplace(band + "&" + bssid, record);
  }
}

void WifiScanResult::filterData(std::list<MeasurementRequestReport>& requests) {
  for (const MeasurementRequestReport& request : requests) {
    const std::map<std::string, std::set<uint16_t>> bssidChannels = request.bssidChannels;
    for (const auto& [bssid, channels] : bssidChannels) {
      for (uint16_t channel : channels) findPartialKey(request.ssid, bssid, channel);
    }
  }
  MDX_LOG(1, "dumpReport after filterData");
  dumpReport();
}

void WifiScanResult::findPartialKey(std::string ssid, std::string bssid, uint16_t channel) {
  MDX_LOG(1, "WifiScanResult::findPartialKey  %s %s %d", ssid.c_str(), bssid.c_str(),
          static_cast<int>(channel));
  std::map<std::string, BssidInfo> partial;
  filterFreqAndBssid(bssid, channel, channelTextOf(channel), partial);
  filterSsid(ssid, std::move(partial));
}

void WifiScanResult::filterFreqAndBssid(const std::string& bssid, uint16_t channel,
                                        const std::string& channelText,
                                        std::map<std::string, BssidInfo>& partial) {
  const bool broadcast = bssid == kBroadcastBssid;  // case-sensitive on purpose
  const bool anyChannel = channel == kAnyChannel;
  // A BSS reached through both its frequency key and its band key enters once.
  auto take = [&partial](const BssidInfo& record) {
    partial.emplace(record.ssid + "&" + record.bssid, record);
  };
  auto takePrefixRange = [&take](const std::map<std::string, BssidInfo>& keys,
                                 const std::string& prefix) {
    const auto end = keys.upper_bound(prefix + kRangeEnd);
    for (auto it = keys.lower_bound(prefix); it != end; ++it) take(it->second);
  };

  if (!anyChannel && broadcast) {
    takePrefixRange(byFreqBssid, channelText);
  } else if (anyChannel && !broadcast) {
    takePrefixRange(byBssidFreq, bssid);
  } else if (!anyChannel && !broadcast) {
    const auto found = byBssidFreq.find(bssid + "&" + channelText);
    if (found != byBssidFreq.end()) take(found->second);
  } else {
    for (const auto& entry : byBssidFreq) take(entry.second);
  }
}

void WifiScanResult::filterSsid(const std::string& ssid, std::map<std::string, BssidInfo> partial) {
  if (ssid == kAnySsid) {
    // Any SSID merges into the groups already there.
    for (const auto& entry : partial) {
      filteredList.push_back(entry.second);
      filteredBySsid[entry.second.ssid].push_back(entry.second);
    }
    return;
  }
  if (partial.empty()) return;
  // Prefix match on the "ssid&bssid" keys. A named SSID keeps the group it made first, and a
  // miss still makes an (empty) group.
  std::list<BssidInfo> matched;
  const auto end = partial.upper_bound(ssid + kRangeEnd);
  for (auto it = partial.lower_bound(ssid); it != end; ++it) {
    filteredList.push_back(it->second);
    matched.push_back(it->second);
  }
  filteredBySsid.emplace(ssid, std::move(matched));
}

void WifiScanResult::dumpReport() {
  for (const auto& [ssid, records] : filteredBySsid) {
    MDX_LOG(1, "ssid :%s", ssid.c_str());
    MDX_LOG(1, "bssid lsit length :%d", static_cast<int>(records.size()));
    for (const BssidInfo& record : records) {
      MDX_LOG(1, "RawMeasurement bssid channel %s  %s  %d", record.bssid.c_str(),
              record.freq.c_str(), static_cast<int>(record.rssi));
    }
  }
}
