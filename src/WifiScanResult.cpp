// The scan store: its lines, how a request's filters are run and what they select, and the
// walk of the indexes that decides when lines share keys.
#include "WifiScanResult.h"

#include <algorithm>
#include <utility>

#include "Log.h"
#include "ScanKeyText.h"
#include "TextNumber.h"

using scankeys::bandOf;
using scankeys::isJoined;
using scankeys::kAnyChannel;

namespace {

// Compared as views: a length that differs settles it without reading the text.
constexpr std::string_view kAnySsid = "AnySSID";
constexpr std::string_view kBroadcastBssid = "ff:ff:ff:ff:ff:ff";

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
  // The lines and the key texts move with their blocks, so every view of them stays good.
  moveOut(byFreqBssidSsid, other.byFreqBssidSsid);
  moveOut(byBssidFreq, other.byBssidFreq);
  moveOut(byFreqBssid, other.byFreqBssid);
  moveOut(filteredList, other.filteredList);
  moveOut(filteredBySsid, other.filteredBySsid);
  moveOut(ssidBssidSet, other.ssidBssidSet);
  moveOut(lines_, other.lines_);
  lineCount_ = other.lineCount_;
  other.lineCount_ = 0;
  // The lines' marks stay below every later filter of this store.
  filterRuns_ = std::max(filterRuns_, other.filterRuns_);
  moveOut(spareGroups_, other.spareGroups_);
  keys_ = std::move(other.keys_);
  other.keys_.clear();
  // Sorted again when next needed; each side keeps its room.
  linesSorted_ = false;
  other.linesSorted_ = false;
  return *this;
}

void WifiScanResult::clear() {
  byFreqBssidSsid.clear();
  byBssidFreq.clear();
  byFreqBssid.clear();
  filteredList.clear();
  while (!filteredBySsid.empty()) {
    spareGroups_.push_back(filteredBySsid.extract(filteredBySsid.begin()));
  }
  ssidBssidSet.clear();
  lineCount_ = 0;
  keys_.clear();
  matches_.clear();
  linesSorted_ = false;
}

void WifiScanResult::reserve(std::size_t lines) {
  byFreqBssidSsid.reserve(lines);
  byBssidFreq.reserve(2 * lines);
  byFreqBssid.reserve(2 * lines);
}

void WifiScanResult::addData(std::string bssid, std::string freq, int16_t rssi, std::string ssid) {
  addLine(bssid, freq, rssi, ssid);
}

void WifiScanResult::addLine(std::string_view bssid, std::string_view freq, int16_t rssi,
                             std::string_view ssid) {
  uint16_t mhz = 0;
  std::string_view band;
  if (!freq.empty()) {
    mhz = static_cast<uint16_t>(textToInt(freq));
    band = bandOf(mhz);
  }
  if (lineCount_ == lines_.size()) lines_.push_back(std::make_unique<StoredBss>());
  StoredBss& line = *lines_[lineCount_];
  line.order = lineCount_++;
  line.lastFilterRun = 0;
  // Assigned, so that a kept line's texts reuse their memory.
  BssidInfo& info = line.info;
  info.ssid.assign(ssid.data(), ssid.size());
  info.bssid.assign(bssid.data(), bssid.size());
  info.freq.assign(freq.data(), freq.size());
  info.rssi = rssi;
  info.bssLoadValid = false;
  info.bssLoad = BssLoad{};
  line.hasFrequency = mhz != 0;
  line.band = band;
  line.ssidBssid = keys_.join(info.ssid, info.bssid);
  // Indexes read before hold no entry of this line: they are filled anew when next read.
  byFreqBssidSsid.clear();
  byBssidFreq.clear();
  byFreqBssid.clear();
  linesSorted_ = false;
}

void WifiScanResult::filterData(std::list<MeasurementRequestReport>& requests) {
  // Filtering never changes a request, so its BSSIDs and channels are read in place.
  for (const MeasurementRequestReport& request : requests) {
    RequestFilter filter(request.ssid);
    startRequestLines(filter);
    for (const auto& [bssid, channels] : request.bssidChannels) {
      filter.setBssid(bssid);
      startBssidLines(filter);
      for (uint16_t channel : channels) filterChannel(filter, channel);
    }
  }
  MDX_LOG(1, "dumpReport after filterData");
  dumpReport();
}

void WifiScanResult::findPartialKey(const std::string& ssid, const std::string& bssid,
                                    uint16_t channel) {
  RequestFilter filter(ssid);
  startRequestLines(filter);
  filter.setBssid(bssid);
  startBssidLines(filter);
  filterChannel(filter, channel);
}

WifiScanResult::RequestFilter::RequestFilter(const std::string& requestSsid)
    : ssid(requestSsid), anySsid(std::string_view(requestSsid) == kAnySsid) {}

void WifiScanResult::RequestFilter::setBssid(const std::string& filterBssid) {
  bssid = &filterBssid;
  broadcast = std::string_view(filterBssid) == kBroadcastBssid;  // case-sensitive on purpose
  bssidKeysFound = false;
}

std::string_view WifiScanResult::RequestFilter::channelTextOf(uint16_t channel) {
  return scankeys::channelTextOf(channel, channelDigits);
}

WifiScanResult::Reach WifiScanResult::reachOf(const RequestFilter& filter, uint16_t channel) {
  const bool anyChannel = channel == kAnyChannel;
  if (!anyChannel) return filter.broadcast ? Reach::kChannel : Reach::kBssidOnChannel;
  return filter.broadcast ? Reach::kEverything : Reach::kBssid;
}

// Inline: a large request runs thousands of filters, most of which take nothing.
inline void WifiScanResult::filterChannel(RequestFilter& filter, uint16_t channel) {
  MDX_LOG(1, "WifiScanResult::findPartialKey  %s %s %d", filter.ssid.c_str(), filter.bssid->c_str(),
          static_cast<int>(channel));
  if (!filter.byLine) {
    walkIndexes(filter, channel);
  } else if (filter.broadcast || !bssidLines_.empty() || (!filter.anySsid && !filter.groupExists)) {
    // Others name a BSSID of another network, or one not in the scan, and take nothing;
    // only a named SSID's filters may still make its (empty) group.
    filterLines(filter, channel);
  }
}

void WifiScanResult::walkIndexes(RequestFilter& filter, uint16_t channel) {
  const std::string_view channelText = filter.channelTextOf(channel);
  // A named SSID takes only the lines whose ssid&bssid key is in its prefix range, so only
  // those are kept; whether the filter reached any line at all still counts.
  bool reached = false;
  matches_.clear();
  ++filterRuns_;
  filterFreqAndBssid(filter, reachOf(filter, channel), channelText, [&](const StoredBss& line) {
    reached = true;
    // A line reached again, through its other key, is already decided.
    if (line.lastFilterRun == filterRuns_) return;
    line.lastFilterRun = filterRuns_;
    if (filter.anySsid || withinPrefixRange(line.ssidBssid, filter.ssid)) addMatch(line);
  });
  filterSsid(filter, reached);
}

template <typename Visit>
void WifiScanResult::filterFreqAndBssid(RequestFilter& filter, Reach reach,
                                        std::string_view channelText, Visit visit) {
  switch (reach) {
    case Reach::kChannel:
      byFreqBssid.forPrefix(channelText, visit);
      break;
    case Reach::kBssid:
      byBssidFreq.forPrefix(*filter.bssid, visit);
      break;
    case Reach::kBssidOnChannel:
      // The key bssid + "&" + channelText, among the few that begin with the BSSID: a
      // request names each BSSID with many channels.
      for (const KeyedLine *entry = bssidKeysOf(filter).first, *end = filter.bssidKeys.second;
           entry != end; ++entry) {
        if (isJoined(entry->key, *filter.bssid, channelText)) {
          visit(*entry->line);
          break;
        }
      }
      break;
    case Reach::kEverything:
      byBssidFreq.forEach(visit);
      break;
  }
}

const ScanKeyIndex::Range& WifiScanResult::bssidKeysOf(RequestFilter& filter) {
  if (!filter.bssidKeysFound) {
    filter.bssidKeys = byBssidFreq.startingWith(*filter.bssid);
    filter.bssidKeysFound = true;
  }
  return filter.bssidKeys;
}

void WifiScanResult::addMatch(const StoredBss& line) {
  // A BSS reached through both its frequency key and its band key enters once, with the
  // line of the key visited first.
  const KeyedLine match(line.ssidBssid, &line);
  const auto at = std::lower_bound(matches_.begin(), matches_.end(), match);
  if (at != matches_.end() && sameKey(*at, match)) return;
  matches_.insert(at, match);
}

void WifiScanResult::filterSsid(RequestFilter& filter, bool reached) {
  // Room for this filter's matches at once, still growing geometrically.
  const std::size_t listed = filteredList.size() + matches_.size();
  if (listed > filteredList.capacity()) {
    filteredList.reserve(std::max(listed, 2 * filteredList.capacity()));
  }
  if (filter.anySsid) {
    // Any SSID merges into the groups already there. The matches come in SSID order, so
    // a group is looked up once for its run of them.
    std::vector<SelectedBss>* group = nullptr;
    const std::string* groupSsid = nullptr;
    for (const KeyedLine& match : matches_) {
      const BssidInfo& info = match.line->info;
      filteredList.emplace_back(info);
      if (groupSsid == nullptr || *groupSsid != info.ssid) {
        group = &groupOf(info.ssid);
        groupSsid = &info.ssid;
      }
      group->emplace_back(info);
    }
    return;
  }
  // A named SSID keeps the group it made first, and a filter that reached lines but none of
  // this SSID's still makes an (empty) group.
  if (!reached) return;
  std::vector<SelectedBss>* madeGroup = nullptr;
  if (!filter.groupExists) {
    bool made = false;
    std::vector<SelectedBss>& group = groupOf(filter.ssid, &made);
    if (made) madeGroup = &group;
    filter.groupExists = true;
  }
  for (const KeyedLine& match : matches_) {
    filteredList.emplace_back(match.line->info);
    if (madeGroup != nullptr) madeGroup->emplace_back(match.line->info);
  }
}

std::vector<SelectedBss>& WifiScanResult::groupOf(const std::string& ssid, bool* made) {
  auto at = filteredBySsid.lower_bound(ssid);
  const bool missing = at == filteredBySsid.end() || at->first != ssid;
  if (made != nullptr) *made = missing;
  if (!missing) return at->second;
  if (spareGroups_.empty())
    return filteredBySsid.emplace_hint(at, ssid, std::vector<SelectedBss>())->second;
  Group group = std::move(spareGroups_.back());
  spareGroups_.pop_back();
  group.key().assign(ssid);
  group.mapped().clear();
  return filteredBySsid.insert(at, std::move(group))->second;
}

void WifiScanResult::dumpReport() {
  for (const auto& [ssid, records] : filteredBySsid) {
    MDX_LOG(1, "ssid :%s", ssid.c_str());
    MDX_LOG(1, "bssid lsit length :%d", static_cast<int>(records.size()));
    for (const SelectedBss& record : records) {
      MDX_LOG(1, "RawMeasurement bssid channel %s  %s  %d", record.bssid.c_str(),
              record.freq.c_str(), static_cast<int>(record.rssi));
    }
  }
}
