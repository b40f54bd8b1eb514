// The scan store's indexes: the key texts, kept in blocks, and the lines under each kind of
// key in key order.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ScanKeyText.h"
#include "WifiScanResult.h"

namespace {

constexpr std::size_t kKeyBlockSize = 2048;

}  // namespace

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
  return next < scankeys::kRangeEnd || (next == scankeys::kRangeEnd && rest == 1);
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
