// What the element classes and the walk of element text share: the element ids and body
// sizes, hex decoding, and each parsed element's log line.
#pragma once

#include <cstddef>
#include <cstdint>

namespace WifiInformationElementParser {

constexpr int kSupportedRatesId = 1;
constexpr int kCountryId = 7;
constexpr int kBssLoadId = 11;
constexpr int kErpId = 42;
constexpr int kExtendedRatesId = 50;
constexpr int kHtOperationId = 61;
constexpr int kInterworkingId = 107;
constexpr int kVhtOperationId = 192;

constexpr size_t kBssLoadSize = 5;
constexpr size_t kHtOperationSize = 22;
constexpr size_t kVhtOperationSize = 5;
constexpr size_t kMaxRates = 8;
constexpr size_t kMaxElementSize = 255;  // the length is one byte

// hex_to_dec as a table: the walk decodes every character of every element.
struct HexDigits {
  uint8_t value[256] = {};
  constexpr HexDigits() {
    for (int c = '1'; c <= '9'; ++c) value[c] = static_cast<uint8_t>(c - '0');
    for (int c = 'A'; c <= 'F'; ++c) value[c] = static_cast<uint8_t>(c - 'A' + 10);
    for (int c = 'a'; c <= 'f'; ++c) value[c] = static_cast<uint8_t>(c - 'a' + 10);
  }
};
inline constexpr HexDigits kHexDigits;

// The same, scaled for a byte's two digits: a byte is high[first] | low[second]. Words,
// so that the two combine without narrowing, at no cost where the byte indexes a table.
struct ByteDigits {
  uint32_t high[256] = {};
  uint32_t low[256] = {};
  constexpr ByteDigits() {
    for (int c = 0; c < 256; ++c) {
      high[c] = static_cast<uint32_t>(kHexDigits.value[c]) << 4;
      low[c] = kHexDigits.value[c];
    }
  }
};
inline constexpr ByteDigits kByteDigits;

inline constexpr char kBssLoadName[] = "BSSLoadElement";
inline constexpr char kHtOperationName[] = "HTOperationElement";
inline constexpr char kVhtOperationName[] = "VHTOperationElement";

// One byte from two hex characters; the caller has checked that both are there.
inline uint32_t byteAt(const char* pair) {
  return kByteDigits.high[static_cast<unsigned char>(pair[0])] |
         kByteDigits.low[static_cast<unsigned char>(pair[1])];
}
inline uint8_t hexByte(const char* pair) { return static_cast<uint8_t>(byteAt(pair)); }

// The *_LINE macros give an element's to_string() line as a format and its arguments, so
// that the walk can hand the line to the logger unformatted.
// Integer division on purpose: the percentage reads 0 below 255 and 1 at 255.
#define BSS_LOAD_LINE(element)                              \
  "%s mChannelUtilization=%u (%u%%)", kBssLoadName,         \
      static_cast<unsigned>((element).mChannelUtilization), \
      static_cast<unsigned>((element).mChannelUtilization / 255)

#define HT_OPERATION_LINE(element)                            \
  "%s mPrimaryChannel=%u mChannelWidth=%u", kHtOperationName, \
      static_cast<unsigned>((element).mPrimaryChannel),       \
      static_cast<unsigned>((element).mChannelWidth)

#define VHT_OPERATION_LINE(element)                            \
  "%s mChannelWidth=%u mSeg1CenterFreq=%u", kVhtOperationName, \
      static_cast<unsigned>((element).mChannelWidth),          \
      static_cast<unsigned>((element).mSeg1CenterFreq)

}  // namespace WifiInformationElementParser
