#include "WifiScanResult.h"

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
// Prefix ranges run from prefix to prefix + "~": a key matches when it continues with a
// character below "~", as every character the supplicant prints except "~" itself is.
const char kRangeEnd[] = "~";

// Inclusive bounds; 5845 MHz and 6 GHz channels have no band.
const char* bandOf(uint16_t mhz) {
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
      // The decimal text "%lu" gives, written directly: a request with many channel codes
      // formats one for every BSSID it names.
      char text[10];
      char* start = text + sizeof(text);
      unsigned value = channel;
      do {
        *--start = static_cast<char>('0' + value % 10);
        value /= 10;
      } while (value != 0);
      return std::string(start, text + sizeof(text));
    }
  }
}

// first + "&" + second, allocated once at its final size.
std::string joined(const std::string& first, const std::string& second) {
  std::string key;
  key.reserve(first.size() + 1 + second.size());
  key.append(first).push_back('&');
  key.append(second);
  return key;
}

std::string joined(const std::string& first, const std::string& second, const std::string& third) {
  std::string key;
  key.reserve(first.size() + second.size() + third.size() + 2);
  key.append(first).push_back('&');
  key.append(second).push_back('&');
  key.append(third);
  return key;
}

// For a key not below `prefix`: whether it is also not above prefix + "~", without
// building that bound. Such a key begins with the prefix, and what follows is nothing,
// exactly "~", or starts with a byte below '~' (bytes compare unsigned, as in the maps).
bool withinPrefixRange(const std::string& key, const std::string& prefix) {
  if (key.compare(0, prefix.size(), prefix) != 0) return false;
  const std::size_t rest = key.size() - prefix.size();
  if (rest == 0) return true;
  const unsigned char next = static_cast<unsigned char>(key[prefix.size()]);
  return next < static_cast<unsigned char>(kRangeEnd[0]) ||
         (next == static_cast<unsigned char>(kRangeEnd[0]) && rest == 1);
}

// Visits, in key order, every entry of [prefix, prefix + "~"].
template <typename Map, typename Visit>
void forPrefixRange(Map& map, const std::string& prefix, Visit visit) {
  for (auto it = map.lower_bound(prefix); it != map.end() && withinPrefixRange(it->first, prefix);
       ++it) {
    visit(*it);
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
  std::string freqBssidSsid = joined(freq, bssid, ssid);
  std::string bssidFreq = joined(bssid, freq);
  std::string freqBssid = joined(freq, bssid);
  // Also for an empty band: an out-of-band BSS gets the keys bssid + "&" and "&" + bssid.
  std::string bssidBand;
  std::string bandBssid;
  if (mhz != 0) {
    bssidBand = joined(bssid, band);
    bandBssid = joined(band, bssid);
  }
  BssidInfo record;
  record.ssid = std::move(ssid);
  record.bssid = std::move(bssid);
  record.freq = std::move(freq);
  record.rssi = rssi;
  // try_emplace keeps an existing entry, and then copies nothing: the first line seen for
  // a key wins. The last map to take the record gets it moved.
  byFreqBssidSsid.try_emplace(std::move(freqBssidSsid), record);
  byBssidFreq.try_emplace(std::move(bssidFreq), record);
  if (mhz == 0) {
    byFreqBssid.try_emplace(std::move(freqBssid), std::move(record));
    return;
  }
  byFreqBssid.try_emplace(std::move(freqBssid), record);
  byBssidFreq.try_emplace(std::move(bssidBand), record);
  byFreqBssid.try_emplace(std::move(bandBssid), std::move(record));
}

void WifiScanResult::filterData(std::list<MeasurementRequestReport>& requests) {
  // Filtering never changes a request, so its BSSIDs and channels are read in place.
  for (const MeasurementRequestReport& request : requests) {
    for (const auto& [bssid, channels] : request.bssidChannels) {
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
  // One key buffer for every look-up: a record already taken costs no allocation.
  std::string key;
  // A BSS reached through both its frequency key and its band key enters once.
  auto take = [&partial, &key](const std::pair<const std::string, BssidInfo>& entry) {
    const BssidInfo& record = entry.second;
    key.assign(record.ssid).push_back('&');
    key.append(record.bssid);
    partial.try_emplace(key, record);
  };

  if (!anyChannel && broadcast) {
    forPrefixRange(byFreqBssid, channelText, take);
  } else if (anyChannel && !broadcast) {
    forPrefixRange(byBssidFreq, bssid, take);
  } else if (!anyChannel && !broadcast) {
    key.assign(bssid).push_back('&');
    key.append(channelText);
    const auto found = byBssidFreq.find(key);
    if (found != byBssidFreq.end()) take(*found);
  } else {
    for (const auto& entry : byBssidFreq) take(entry);
  }
}

void WifiScanResult::filterSsid(const std::string& ssid, std::map<std::string, BssidInfo> partial) {
  // The partial result is this call's own: each record is copied once and moved once, and
  // its entry released as soon as it is done with.
  if (ssid == kAnySsid) {
    // Any SSID merges into the groups already there.
    while (!partial.empty()) {
      auto entry = partial.extract(partial.begin());
      BssidInfo& record = entry.mapped();
      filteredList.push_back(record);
      std::list<BssidInfo>& group = filteredBySsid[record.ssid];
      group.push_back(std::move(record));
    }
    return;
  }
  if (partial.empty()) return;
  // Prefix match on the "ssid&bssid" keys. A named SSID keeps the group it made first, and a
  // miss still makes an (empty) group.
  std::list<BssidInfo> matched;
  forPrefixRange(partial, ssid, [this, &matched](std::pair<const std::string, BssidInfo>& entry) {
    filteredList.push_back(entry.second);
    matched.push_back(std::move(entry.second));
  });
  filteredBySsid.try_emplace(ssid, std::move(matched));
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
