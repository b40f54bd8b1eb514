// The scan filters' usual way: when every line holds its own keys, whether a filter reaches
// a line is read from the line itself, and a request's filters test only the lines its SSID
// and BSSIDs can take, instead of walking the indexes.
#include <algorithm>

#include "ScanKeyText.h"
#include "WifiScanResult.h"

using scankeys::beginsKeyRange;
using scankeys::hasSeparator;
using scankeys::isBandCode;
using scankeys::kAnyChannel;
using scankeys::kBand24;
using scankeys::kBand24Text;
using scankeys::kBand36;
using scankeys::kBand36Text;
using scankeys::kBand5;
using scankeys::startsWith;

namespace {

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

}  // namespace

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
