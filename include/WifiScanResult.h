#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "WifiStatus.h"

// One scanned BSS, as SCAN_RESULTS printed it.
struct BssidInfo {
  std::string ssid;
  std::string bssid;
  std::string freq;
  int16_t rssi = 0;
  bool bssLoadValid = false;
  BssLoad bssLoad = {};
};

// One SSID filter of a raw measurement request.
struct MeasurementRequestReport {
  std::string ssid;  // or "AnySSID"
  bool firstFlag = false;
  bool rssiRequested = false;
  bool bssLoadRequested = false;
  // BSSID text (or "ff:ff:ff:ff:ff:ff" for any) -> channel codes.
  std::map<std::string, std::set<uint16_t>> bssidChannels;
};

// A stored BSS as a filter selected it: the stored line's texts and level, and a BSS load
// of its own, which the info provider fills in the grouped selections only.
struct SelectedBss {
  explicit SelectedBss(const BssidInfo& line)
      : ssid(line.ssid), bssid(line.bssid), freq(line.freq), rssi(line.rssi) {}
  const std::string& ssid;
  const std::string& bssid;
  const std::string& freq;
  int16_t rssi;
  bool bssLoadValid = false;
  BssLoad bssLoad = {};
};

// One line of the store: its record, its place among the lines, its band (empty when
// the frequency is 0 or outside every band), and its key among a filter's matches
// (ssid&bssid).
struct StoredBss {
  BssidInfo info;
  std::size_t order = 0;
  bool hasFrequency = false;
  std::string_view band;
  std::string_view ssidBssid;
  mutable uint64_t lastFilterRun = 0;  // the last filter that reached it
};

class WifiScanResult;

// A line under a key, in the keys' byte-wise order (a key that begins another sorts first).
// The key's first eight bytes, read as one big-endian number (zero-padded), settle most
// comparisons without reading the texts: keys whose heads differ are in their heads' order.
struct KeyedLine {
  KeyedLine(std::string_view key, const StoredBss* line);
  uint64_t head;
  std::string_view key;
  const StoredBss* line;
};

inline bool operator<(const KeyedLine& a, const KeyedLine& b) {
  return a.head != b.head ? a.head < b.head : a.key < b.key;
}
// The same order, and of two lines under one key the one added first first.
inline bool keyThenOrder(const KeyedLine& a, const KeyedLine& b) {
  if (a.head != b.head) return a.head < b.head;
  const int byKey = a.key.compare(b.key);
  return byKey != 0 ? byKey < 0 : a.line->order < b.line->order;
}
inline bool sameKey(const KeyedLine& a, const KeyedLine& b) {
  return a.head == b.head && a.key == b.key;
}

// Key texts, written once and never moved, so that the indexes can hold views of them.
class ScanKeyArena {
 public:
  // Stores the parts joined by "&" as one text.
  std::string_view join(std::string_view first, std::string_view second);
  std::string_view join(std::string_view first, std::string_view second, std::string_view third);
  // Forgets every text but keeps the blocks, for the next scan's keys.
  void clear();

 private:
  struct Block {
    std::unique_ptr<char[]> text;
    std::size_t size;
  };
  // `size` bytes of the current block, or of the next one when it has no room left.
  char* room(std::size_t size);

  std::vector<Block> blocks_;
  std::size_t used_ = 0;  // blocks written in, the last of them at free_
  char* free_ = nullptr;
  std::size_t room_ = 0;
};

// The store's lines under one kind of text key, in byte-wise key order (a key that begins
// another sorts first). The first line added under a key keeps it. Read like a map from
// key to BssidInfo.
//
// An index is filled from its store's lines, and put in order, when it is first read: a
// scan cycle writes the keys of only the indexes its filters read.
class ScanKeyIndex {
 public:
  // Which keys of each line it holds.
  enum class Keys {
    kFreqBssidSsid,  // freq&bssid&ssid
    kBssidFreq,      // bssid&freq, and bssid&band for a non-zero frequency
    kFreqBssid,      // freq&bssid, and band&bssid for a non-zero frequency
  };
  ScanKeyIndex(const WifiScanResult* store, Keys keys) : store_(store), keys_(keys) {}
  ScanKeyIndex(const ScanKeyIndex&) = delete;
  // Takes the other's entries; stays the index of its own store.
  ScanKeyIndex& operator=(ScanKeyIndex&& other) noexcept;

  using Entry = KeyedLine;
  using Range = std::pair<const Entry*, const Entry*>;

  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::pair<std::string_view, const BssidInfo&>;
    using reference = value_type;
    using pointer = void;
    using difference_type = std::ptrdiff_t;
    explicit const_iterator(const Entry* entry) : entry_(entry) {}
    value_type operator*() const { return {entry_->key, entry_->line->info}; }
    const_iterator& operator++() {
      ++entry_;
      return *this;
    }
    bool operator==(const const_iterator& other) const { return entry_ == other.entry_; }
    bool operator!=(const const_iterator& other) const { return entry_ != other.entry_; }

   private:
    const Entry* entry_;
  };

  bool empty() const { return inOrder().empty(); }
  std::size_t size() const { return inOrder().size(); }
  std::size_t count(std::string_view key) const { return find(key) != nullptr ? 1 : 0; }
  // The line under `key`, which must be there (a missing key aborts, as std::map::at does
  // without exceptions).
  const BssidInfo& at(std::string_view key) const;
  const_iterator begin() const { return const_iterator(inOrder().data()); }
  const_iterator end() const { return const_iterator(inOrder().data() + inOrder().size()); }

  // The entry under `key`, or null.
  const Entry* find(std::string_view key) const;
  // The entries whose keys begin with `prefix`, in key order.
  Range startingWith(std::string_view prefix) const;
  // Calls visit(line) for every entry whose key is at least `prefix` and at most
  // prefix + "~", in key order.
  template <typename Visit>
  void forPrefix(std::string_view prefix, Visit visit) const;
  template <typename Visit>
  void forEach(Visit visit) const {
    for (const Entry& entry : inOrder()) visit(*entry.line);
  }
  void reserve(std::size_t entries);
  // Forgets the entries, keeping their room: the index is filled anew when next read.
  void clear();

 private:
  const std::vector<Entry>& inOrder() const;
  std::vector<Entry>::const_iterator lowerBound(std::string_view key) const;
  // Adds `line` under `key`, a text that outlives the index; ignored when the key is
  // taken by an earlier line.
  void add(std::string_view key, const StoredBss* line) const;
  void fill() const;

  const WifiScanResult* store_;
  Keys keys_;
  mutable std::vector<Entry> entries_;
  mutable bool filled_ = false;
  mutable bool ordered_ = true;
};

// For a key not below `prefix`: whether it is also not above prefix + "~".
bool withinPrefixRange(std::string_view key, std::string_view prefix);

template <typename Visit>
void ScanKeyIndex::forPrefix(std::string_view prefix, Visit visit) const {
  const std::vector<Entry>& entries = inOrder();
  for (auto it = lowerBound(prefix); it != entries.end() && withinPrefixRange(it->key, prefix);
       ++it) {
    visit(*it->line);
  }
}

// One parsed scan, indexed by text keys, and the result of filtering it. Each line is
// stored once; the indexes and the filter results refer to it.
class WifiScanResult {
 public:
  WifiScanResult();
  WifiScanResult(WifiScanResult&& other) noexcept;
  WifiScanResult& operator=(WifiScanResult&& other) noexcept;
  WifiScanResult(const WifiScanResult&) = delete;
  WifiScanResult& operator=(const WifiScanResult&) = delete;

  // Room for this many lines, when the caller knows (it saves the indexes' growth).
  void reserve(std::size_t lines);
  void addData(std::string bssid, std::string freq, int16_t rssi, std::string ssid);
  // addData for texts that are read where they are.
  void addLine(std::string_view bssid, std::string_view freq, int16_t rssi, std::string_view ssid);
  // Empties every container but keeps the memory each has, for the next scan: a store
  // that is refilled scan after scan allocates only while it grows.
  void clear();
  void filterData(std::list<MeasurementRequestReport>& requests);
  void findPartialKey(const std::string& ssid, const std::string& bssid, uint16_t channel);
  void dumpReport();
  // Every filter walks the indexes, as when lines share keys: for tests that compare both
  // ways of filtering.
  void filterByIndexWalkOnly(bool only) { indexWalkOnly_ = only; }

  ScanKeyIndex byFreqBssidSsid{this, ScanKeyIndex::Keys::kFreqBssidSsid};
  ScanKeyIndex byBssidFreq{this, ScanKeyIndex::Keys::kBssidFreq};
  ScanKeyIndex byFreqBssid{this, ScanKeyIndex::Keys::kFreqBssid};
  std::vector<SelectedBss> filteredList;
  std::map<std::string, std::vector<SelectedBss>> filteredBySsid;
  std::map<std::string, std::set<std::string>> ssidBssidSet;

 private:
  // What the filters of one request share: its SSID, and whether the SSID's group is known
  // to exist (groups are never removed); the BSSID being filtered, and the byBssidFreq
  // entries whose keys begin with it, found when first needed.
  //
  // When every line holds its own keys (as in any real scan), `byLine` is set: the filters
  // test just the lines the request's SSID takes (`lines`, all of them for any SSID), found
  // once per request, and of those the ones a specific BSSID can reach, found once per
  // BSSID. Otherwise each filter walks the indexes.
  struct RequestFilter {
    explicit RequestFilter(const std::string& requestSsid);
    void setBssid(const std::string& filterBssid);
    const std::string& ssid;
    bool anySsid;
    bool groupExists = false;
    bool byLine = false;
    const std::vector<const StoredBss*>* lines = nullptr;  // the lines its SSID takes
    bool allBssidLinesFound = false;  // whether allBssidLines_ holds the BSSID's lines
    const std::string* bssid = nullptr;
    bool broadcast = false;
    bool bssidKeysFound = false;
    ScanKeyIndex::Range bssidKeys;
    // The decimal text of the current channel code.
    char channelDigits[5];
    std::string_view channelTextOf(uint16_t channel);
  };

  // The case of a filter, from whether its BSSID and its channel are specific.
  enum class Reach { kChannel, kBssid, kBssidOnChannel, kEverything };
  static Reach reachOf(const RequestFilter& filter, uint16_t channel);

  void filterChannel(RequestFilter& filter, uint16_t channel);
  // Filters by walking the indexes.
  void walkIndexes(RequestFilter& filter, uint16_t channel);
  // Calls visit(line) for each line the BSSID and channel of a filter reach.
  template <typename Visit>
  void filterFreqAndBssid(RequestFilter& filter, Reach reach, std::string_view channelText,
                          Visit visit);
  void addMatch(const StoredBss& line);
  // Filters through the lines of the request (see RequestFilter).
  void startRequestLines(RequestFilter& filter);
  void startBssidLines(RequestFilter& filter);
  void filterLines(RequestFilter& filter, uint16_t channel);
  // Of `lines`, those with a key that begins with `bssid`.
  struct BssidLine;
  static void findBssidLines(std::string_view bssid, const std::vector<const StoredBss*>& lines,
                             std::vector<BssidLine>& found);
  // The same of all lines, into allBssidLines_.
  void findAllBssidLines(std::string_view bssid);
  // Calls reached(line) for each of `lines` (of `bssidLines` for a specific BSSID) that the
  // filter reaches, in their order, while it returns true.
  template <typename Reached>
  void forReachedLines(RequestFilter& filter, Reach reach, uint16_t channel,
                       const std::vector<const StoredBss*>& lines,
                       const std::vector<BssidLine>& bssidLines, Reached reached);
  const ScanKeyIndex::Range& bssidKeysOf(RequestFilter& filter);
  void filterSsid(RequestFilter& filter, bool reached);
  // The group of `ssid` in filteredBySsid, made (from a node kept by clear()) when missing;
  // made says whether it was.
  std::vector<SelectedBss>& groupOf(const std::string& ssid, bool* made = nullptr);

  using Group = decltype(filteredBySsid)::node_type;
  // Lines are kept, texts and all, when the store is cleared, and each has a place of its
  // own that never moves while the indexes point at it.
  std::vector<std::unique_ptr<StoredBss>> lines_;
  std::size_t lineCount_ = 0;
  std::vector<Group> spareGroups_;  // groups that clear() took out, to be reused
  friend class ScanKeyIndex;        // fills itself from the lines, its keys into keys_
  mutable ScanKeyArena keys_;
  std::vector<KeyedLine> matches_;  // one filter's lines, by ssid&bssid, first reached wins
  uint64_t filterRuns_ = 0;         // filters run on this store, the current one included
  // The lines by ssid&bssid and by BSSID, sorted when first needed, and whether each line
  // holds all of its keys.
  bool linesHoldTheirKeys();
  std::vector<KeyedLine> bySsidBssid_;
  std::vector<KeyedLine> byBssid_;
  bool linesSorted_ = false;
  bool linesHoldTheirKeys_ = false;
  std::vector<const StoredBss*> allLines_;      // the lines by ssid&bssid
  std::vector<const StoredBss*> requestLines_;  // of those, the ones a named SSID takes
  // Of those, the ones with a key that begins with the specific BSSID of a filter. Of a
  // line with that very BSSID whose frequency text is a channel code's text, the codes of
  // its frequency and band (else -1) decide without reading texts.
  struct BssidLine {
    const StoredBss* line;
    bool sameBssid;
    int32_t frequencyCode;
    int32_t bandCode;
  };
  std::vector<BssidLine> bssidLines_;
  std::vector<BssidLine> allBssidLines_;        // the same of all lines, when needed
  std::vector<const StoredBss*> bssidMatches_;  // where those are looked up
  bool indexWalkOnly_ = false;
};
