// The texts of the scan store's keys and filters: band names, channel codes, the "&" that
// joins a key's parts, and the prefix ranges that filters match by.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace scankeys {

constexpr uint16_t kAnyChannel = 65535;
constexpr uint16_t kBand24 = 1;
constexpr uint16_t kBand36 = 2;
constexpr uint16_t kBand5 = 3;
// The band names take part in the keys, so they keep this spelling.
constexpr char kBand24Text[] = "24ghtz";
constexpr char kBand36Text[] = "36ghtz";
constexpr char kBand5Text[] = "5ghtz";
// Prefix ranges run from prefix to prefix + "~": a key matches when it continues with a
// character below "~", as every character the supplicant prints except "~" itself is.
constexpr unsigned char kRangeEnd = '~';

// Inclusive bounds; 5845 MHz and 6 GHz channels have no band.
inline const char* bandOf(uint16_t mhz) {
  if (mhz >= 2412 && mhz <= 2484) return kBand24Text;
  if (mhz >= 3657 && mhz <= 3692) return kBand36Text;
  if (mhz >= 5035 && mhz <= 5825) return kBand5Text;
  return "";
}

// Codes 1 to 3 stand for a band's name, every other for its decimal text.
inline bool isBandCode(uint16_t channel) { return channel >= kBand24 && channel <= kBand5; }

// The channel text of a filter: a band name, or the code's decimal text ("%lu"), which
// is written into `buffer`.
inline std::string_view channelTextOf(uint16_t channel, char (&buffer)[5]) {
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
inline bool isJoined(std::string_view key, std::string_view first, std::string_view second) {
  return key.size() == first.size() + 1 + second.size() && key[first.size()] == '&' &&
         startsWith(key, first) && key.substr(first.size() + 1) == second;
}

inline bool hasSeparator(std::string_view text) { return text.find('&') != std::string_view::npos; }

// Whether part + "&" + rest is in the prefix range of `prefix`, a text without "&": the part
// begins with the prefix and goes on, if at all, with a byte below '~' ("&" is one).
inline bool beginsKeyRange(std::string_view part, std::string_view prefix) {
  return startsWith(part, prefix) && (part.size() == prefix.size() ||
                                      static_cast<unsigned char>(part[prefix.size()]) < kRangeEnd);
}

}  // namespace scankeys
