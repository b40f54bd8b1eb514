#include "WifiScanResult.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "Log.h"
#include "TextNumber.h"

namespace {

// Compared as views: a length that differs settles it without reading the text.
constexpr std::string_view kAnySsid = "AnySSID";
constexpr std::string_view kBroadcastBssid = "ff:ff:ff:ff:ff:ff";
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

// The channel text of a filter: a band name, or the code's decimal text ("%lu"), which
// is written into `buffer`.
std::string_view channelTextOf(uint16_t channel, char (&buffer)[5]) {
  switch (channel) {
    case kBand5:
      return kBand5Text;
    case kBand36:
      return kBand36Text;
    case kBand24:
      return kBand24Text;
    default: {
      char* start = buffer + sizeof(buffer);
      unsigned value = channel;
      do {
        *--start = static_cast<char>('0' + value % 10);
        value /= 10;
      } while (value != 0);
      return std::string_view(start, static_cast<std::size_t>(buffer + sizeof(buffer) - start));
    }
  }
}

// The first bytes tell most texts apart without a call.
inline bool startsWith(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  if (prefix.empty()) return true;
  return text[0] == prefix[0] && std::memcmp(text.data(), prefix.data(), prefix.size()) == 0;
}

// Whether key = first + "&" + second.
bool isJoined(std::string_view key, std::string_view first, std::string_view second) {
  return key.size() == first.size() + 1 + second.size() && key[first.size()] == '&' &&
         startsWith(key, first) && key.substr(first.size() + 1) == second;
}

// Codes 1 to 3 stand for a band's name, every other for its decimal text.
bool isBandCode(uint16_t channel) { return channel >= kBand24 && channel <= kBand5; }

// The channel code whose text is the line's frequency text, or -1 when no code's is.
int32_t frequencyCodeOf(const StoredBss& line) {
  const std::string_view freq = line.info.freq;
  uint32_t code = 0;
  for (char c : freq) {
    if (c < '0' || c > '9') return -1;
    code = code * 10 + static_cast<uint32_t>(c - '0');
    if (code > kAnyChannel) return -1;
  }
  const bool canonical = !freq.empty() && (freq[0] != '0' || freq.size() == 1);
  return canonical ? static_cast<int32_t>(code) : -1;
}

// The code of the line's band key, or -1 when it has none that a code's text can be.
int32_t bandCodeOf(const StoredBss& line) {
  if (!line.hasFrequency || line.band.empty()) return -1;
  if (line.band == kBand24Text) return kBand24;
  if (line.band == kBand36Text) return kBand36;
  return kBand5;
}

bool hasSeparator(std::string_view text) { return text.find('&') != std::string_view::npos; }

// Whether part + "&" + rest is in the prefix range of `prefix`, a text without "&": the part
// begins with the prefix and goes on, if at all, with a byte below '~' ("&" is one).
bool beginsKeyRange(std::string_view part, std::string_view prefix) {
  return startsWith(part, prefix) &&
         (part.size() == prefix.size() ||
          static_cast<unsigned char>(part[prefix.size()]) < static_cast<unsigned char>('~'));
}

template <typename Value>
void moveOut(Value& target, Value& source) {
  target = std::move(source);
  source.clear();
}

constexpr std::size_t kKeyBlockSize = 2048;

}  // namespace

// ---- Keys

char* ScanKeyArena::room(std::size_t size) {
  while (size > room_) {
    // The next block: a kept one, else a new one; a key longer than a block gets one of its
    // own.
    if (used_ < blocks_.size() && blocks_[used_].size >= size) {
      free_ = blocks_[used_].text.get();
      room_ = blocks_[used_].size;
    } else {
      const std::size_t blockSize = std::max(kKeyBlockSize, size);
      blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(used_),
                     Block{std::unique_ptr<char[]>(new char[blockSize]), blockSize});
      free_ = blocks_[used_].text.get();
      room_ = blockSize;
    }
    ++used_;
  }
  char* const text = free_;
  free_ += size;
  room_ -= size;
  return text;
}

namespace {

char* append(char* at, std::string_view part) {
  if (!part.empty()) std::memcpy(at, part.data(), part.size());
  return at + part.size();
}

}  // namespace

std::string_view ScanKeyArena::join(std::string_view first, std::string_view second) {
  const std::size_t size = first.size() + 1 + second.size();
  char* const text = room(size);
  char* at = append(text, first);
  *at++ = '&';
  append(at, second);
  return std::string_view(text, size);
}

std::string_view ScanKeyArena::join(std::string_view first, std::string_view second,
                                    std::string_view third) {
  const std::size_t size = first.size() + 1 + second.size() + 1 + third.size();
  char* const text = room(size);
  char* at = append(text, first);
  *at++ = '&';
  at = append(at, second);
  *at++ = '&';
  append(at, third);
  return std::string_view(text, size);
}

void ScanKeyArena::clear() {
  used_ = 0;
  free_ = nullptr;
  room_ = 0;
}

// Such a key begins with the prefix, and what follows is nothing, exactly "~", or starts
// with a byte below '~' (bytes compare unsigned, as in the indexes). A key that does not
// begin with the prefix is outside the range, whichever side of it the key is on.
bool withinPrefixRange(std::string_view key, std::string_view prefix) {
  if (key.size() < prefix.size() || key.substr(0, prefix.size()) != prefix) return false;
  const std::size_t rest = key.size() - prefix.size();
  if (rest == 0) return true;
  const unsigned char next = static_cast<unsigned char>(key[prefix.size()]);
  return next < static_cast<unsigned char>(kRangeEnd[0]) ||
         (next == static_cast<unsigned char>(kRangeEnd[0]) && rest == 1);
}

KeyedLine::KeyedLine(std::string_view text, const StoredBss* stored)
    : head(0), key(text), line(stored) {
  unsigned char b[8] = {};
  if (text.size() >= sizeof(b)) {
    std::memcpy(b, text.data(), sizeof(b));
  } else if (!text.empty()) {
    std::memcpy(b, text.data(), text.size());
  }
  // Spelled out, so that the compiler makes it one byte-swapping load.
  head = uint64_t{b[0]} << 56 | uint64_t{b[1]} << 48 | uint64_t{b[2]} << 40 | uint64_t{b[3]} << 32 |
         uint64_t{b[4]} << 24 | uint64_t{b[5]} << 16 | uint64_t{b[6]} << 8 | uint64_t{b[7]};
}

ScanKeyIndex& ScanKeyIndex::operator=(ScanKeyIndex&& other) noexcept {
  entries_ = std::move(other.entries_);
  filled_ = other.filled_;
  ordered_ = other.ordered_;
  other.clear();
  return *this;
}

void ScanKeyIndex::fill() const {
  filled_ = true;
  for (std::size_t i = 0; i < store_->lineCount_; ++i) {
    const StoredBss& line = *store_->lines_[i];
    const BssidInfo& info = line.info;
    ScanKeyArena& keys = store_->keys_;
    switch (keys_) {
      case Keys::kFreqBssidSsid:
        add(keys.join(info.freq, info.bssid, info.ssid), &line);
        break;
      case Keys::kBssidFreq:
        add(keys.join(info.bssid, info.freq), &line);
        // Also for an empty band: an out-of-band BSS gets the key bssid + "&".
        if (line.hasFrequency) add(keys.join(info.bssid, line.band), &line);
        break;
      case Keys::kFreqBssid:
        add(keys.join(info.freq, info.bssid), &line);
        if (line.hasFrequency) add(keys.join(line.band, info.bssid), &line);
        break;
    }
  }
}

const std::vector<ScanKeyIndex::Entry>& ScanKeyIndex::inOrder() const {
  if (!filled_) fill();
  if (!ordered_) {
    // Of the lines under one key the one added first stays first and keeps the key. (A
    // stable sort would say so too, but takes a buffer from the heap each time.)
    std::sort(entries_.begin(), entries_.end(), keyThenOrder);
    entries_.erase(std::unique(entries_.begin(), entries_.end(), sameKey), entries_.end());
    ordered_ = true;
  }
  return entries_;
}

std::vector<ScanKeyIndex::Entry>::const_iterator ScanKeyIndex::lowerBound(
    std::string_view key) const {
  const std::vector<Entry>& entries = inOrder();
  return std::lower_bound(entries.begin(), entries.end(), Entry(key, nullptr));
}

const ScanKeyIndex::Entry* ScanKeyIndex::find(std::string_view key) const {
  const auto found = lowerBound(key);
  return found != entries_.end() && found->key == key ? &*found : nullptr;
}

ScanKeyIndex::Range ScanKeyIndex::startingWith(std::string_view prefix) const {
  // The search first: it may fill the index, and so move its entries.
  const auto from = lowerBound(prefix);
  // An empty vector's data() may be null, and null plus zero is still undefined.
  if (entries_.empty()) return Range(nullptr, nullptr);
  const Entry* const first = entries_.data() + (from - entries_.begin());
  const Entry* const end = entries_.data() + entries_.size();
  const Entry* last = first;
  while (last != end && last->key.substr(0, prefix.size()) == prefix) ++last;
  return Range(first, last);
}

const BssidInfo& ScanKeyIndex::at(std::string_view key) const {
  const Entry* entry = find(key);
  if (entry == nullptr) std::abort();
  return entry->line->info;
}

void ScanKeyIndex::add(std::string_view key, const StoredBss* line) const {
  entries_.emplace_back(key, line);
  ordered_ = false;
}

void ScanKeyIndex::reserve(std::size_t entries) { entries_.reserve(entries); }

void ScanKeyIndex::clear() {
  entries_.clear();
  filled_ = false;
  ordered_ = true;
}

// ---- The store

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
  return ::channelTextOf(channel, channelDigits);
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

// ---- Filtering through the lines

bool WifiScanResult::linesHoldTheirKeys() {
  if (linesSorted_) return linesHoldTheirKeys_;
  linesSorted_ = true;
  bySsidBssid_.clear();
  byBssid_.clear();
  allLines_.clear();
  bool separated = true;
  for (std::size_t i = 0; i < lineCount_; ++i) {
    const StoredBss& line = *lines_[i];
    bySsidBssid_.emplace_back(line.ssidBssid, &line);
    byBssid_.emplace_back(line.info.bssid, &line);
    separated = separated && !hasSeparator(line.info.bssid) && !hasSeparator(line.info.freq);
  }
  std::sort(bySsidBssid_.begin(), bySsidBssid_.end(), keyThenOrder);
  for (const KeyedLine& entry : bySsidBssid_) allLines_.push_back(entry.line);
  std::sort(byBssid_.begin(), byBssid_.end(), keyThenOrder);
  // With no "&" in a BSSID or frequency text every key splits one way only, and each
  // begins or ends with its line's BSSID: when no two lines share a BSSID, no two share a
  // key, and every line holds all of its keys. Otherwise which line holds a key depends on
  // the order of the lines, and only a walk of the indexes tells.
  linesHoldTheirKeys_ =
      separated && std::adjacent_find(byBssid_.begin(), byBssid_.end(), sameKey) == byBssid_.end();
  return linesHoldTheirKeys_;
}

void WifiScanResult::startRequestLines(RequestFilter& filter) {
  filter.byLine = false;
  if (indexWalkOnly_ || !linesHoldTheirKeys()) return;
  filter.byLine = true;
  if (filter.anySsid) {
    filter.lines = &allLines_;
    return;
  }
  requestLines_.clear();
  for (auto it = std::lower_bound(bySsidBssid_.begin(), bySsidBssid_.end(),
                                  KeyedLine(filter.ssid, nullptr));
       it != bySsidBssid_.end() && withinPrefixRange(it->key, filter.ssid); ++it) {
    requestLines_.push_back(it->line);
  }
  filter.lines = &requestLines_;
}

void WifiScanResult::startBssidLines(RequestFilter& filter) {
  if (!filter.byLine || filter.broadcast) return;
  findBssidLines(*filter.bssid, *filter.lines, bssidLines_);
  filter.allBssidLinesFound = false;
}

void WifiScanResult::findBssidLines(std::string_view bssid,
                                    const std::vector<const StoredBss*>& lines,
                                    std::vector<BssidLine>& found) {
  // The lines with a key that begins with the BSSID, the only keys it can reach.
  found.clear();
  for (const StoredBss* line : lines) {
    const std::string_view text = line->info.bssid;
    if (text.size() == bssid.size()) {
      if (text == bssid) {
        found.push_back(BssidLine{line, true, frequencyCodeOf(*line), bandCodeOf(*line)});
      }
    } else if (text.size() > bssid.size()) {
      // Its keys go on after the filter's text with the rest of the BSSID; only the range
      // of any channel reaches them.
      if (beginsKeyRange(text, bssid)) found.push_back(BssidLine{line, false, -1, -1});
    } else if (bssid[text.size()] == '&' && startsWith(bssid, text)) {
      // The filter's text goes on into the keys' frequency or band.
      const std::string_view rest = bssid.substr(text.size() + 1);
      if (beginsKeyRange(line->info.freq, rest) ||
          (line->hasFrequency && beginsKeyRange(line->band, rest))) {
        found.push_back(BssidLine{line, false, -1, -1});
      }
    }
  }
}

void WifiScanResult::findAllBssidLines(std::string_view bssid) {
  // The BSSIDs that begin with it sort together; one that it begins with, and goes on with
  // "&" and a frequency or band, is found on its own.
  std::vector<const StoredBss*>& lines = bssidMatches_;
  lines.clear();
  for (auto it = std::lower_bound(byBssid_.begin(), byBssid_.end(), KeyedLine(bssid, nullptr));
       it != byBssid_.end() && startsWith(it->key, bssid); ++it) {
    lines.push_back(it->line);
  }
  const std::size_t separator = bssid.find('&');
  if (separator != std::string_view::npos) {
    const KeyedLine head(bssid.substr(0, separator), nullptr);
    const auto it = std::lower_bound(byBssid_.begin(), byBssid_.end(), head);
    if (it != byBssid_.end() && sameKey(*it, head)) lines.push_back(it->line);
  }
  findBssidLines(bssid, lines, allBssidLines_);
}

template <typename Reached>
void WifiScanResult::forReachedLines(RequestFilter& filter, Reach reach, uint16_t channel,
                                     const std::vector<const StoredBss*>& lines,
                                     const std::vector<BssidLine>& bssidLines, Reached reached) {
  // Each line holds its own keys: what reaches a line through a key is what a walk of
  // that key's index would meet. `reached` returns whether to go on.
  switch (reach) {
    case Reach::kEverything:
      for (const StoredBss* line : lines) {
        if (!reached(*line)) return;
      }
      return;
    case Reach::kChannel: {
      const std::string_view channelText = filter.channelTextOf(channel);
      for (const StoredBss* line : lines) {
        if ((beginsKeyRange(line->info.freq, channelText) ||
             (line->hasFrequency && beginsKeyRange(line->band, channelText))) &&
            !reached(*line)) {
          return;
        }
      }
      return;
    }
    case Reach::kBssid:
      // Every line found for the BSSID has a key in its range.
      for (const BssidLine& candidate : bssidLines) {
        if (!reached(*candidate.line)) return;
      }
      return;
    case Reach::kBssidOnChannel: {
      // bssid&channelText is the key of a line of that very BSSID whose frequency or band
      // has that text.
      std::string_view channelText;
      for (const BssidLine& candidate : bssidLines) {
        if (!candidate.sameBssid) continue;
        const StoredBss& line = *candidate.line;
        bool match;
        if (candidate.frequencyCode >= 0) {
          match = (!isBandCode(channel) && channel == candidate.frequencyCode) ||
                  channel == candidate.bandCode;
        } else {
          if (channelText.empty()) channelText = filter.channelTextOf(channel);
          match = line.info.freq == channelText || (line.hasFrequency && line.band == channelText);
        }
        if (match && !reached(line)) return;
      }
      return;
    }
  }
}

void WifiScanResult::filterLines(RequestFilter& filter, uint16_t channel) {
  const Reach reach = reachOf(filter, channel);
  matches_.clear();
  if (filter.broadcast || !bssidLines_.empty()) {
    forReachedLines(filter, reach, channel, *filter.lines, bssidLines_, [&](const StoredBss& line) {
      matches_.emplace_back(line.ssidBssid, &line);
      return true;
    });
    if (!matches_.empty()) {
      filterSsid(filter, true);
      return;
    }
  }
  // Whether a filter that took nothing reached any line at all, of any SSID, matters only
  // while it could still make a named SSID's (empty) group.
  if (filter.anySsid || filter.groupExists) return;
  if (!filter.broadcast && !filter.allBssidLinesFound) {
    findAllBssidLines(*filter.bssid);
    filter.allBssidLinesFound = true;
  }
  bool any = false;
  forReachedLines(filter, reach, channel, allLines_, allBssidLines_, [&](const StoredBss&) {
    any = true;
    return false;
  });
  if (any) filterSsid(filter, true);
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
