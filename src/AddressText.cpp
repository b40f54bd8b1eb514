// WifiParser's address and octet-string helpers: BSSIDs and MAC addresses between text and
// bytes, and BCD digits as text.
#include <cstdio>
#include <cstring>

#include "Log.h"
#include "WifiParser.h"

namespace {

// Hex digit values, -1 for every other character: each scan report converts every BSSID
// it lists.
struct HexValues {
  int8_t value[256] = {};
  constexpr HexValues() {
    for (int c = 0; c < 256; ++c) value[c] = -1;
    for (int c = '0'; c <= '9'; ++c) value[c] = static_cast<int8_t>(c - '0');
    for (int c = 'a'; c <= 'f'; ++c) value[c] = static_cast<int8_t>(c - 'a' + 10);
    for (int c = 'A'; c <= 'F'; ++c) value[c] = static_cast<int8_t>(c - 'A' + 10);
  }
};
constexpr HexValues kHexValues;

int hexDigit(char c) { return kHexValues.value[static_cast<unsigned char>(c)]; }

// The form the supplicant prints, six two-digit groups joined by colons, converted the way
// the scanf format "%x:%x:%x:%x:%x:%x" converts it, without scanf's cost (each scan
// report converts every BSSID it lists). Any other text is left to scanf: false.
bool readPrintedMac(uint8_t (&mac)[6], const char* text) {
  uint8_t bytes[6];
  for (int i = 0; i < 6; ++i) {
    const char* group = text + 3 * i;
    const int high = hexDigit(group[0]);
    if (high < 0) return false;  // the terminator among them: nothing after it is read
    const int low = hexDigit(group[1]);
    if (low < 0 || (i < 5 && group[2] != ':')) return false;
    bytes[i] = static_cast<uint8_t>(high << 4 | low);
  }
  if (hexDigit(text[17]) >= 0) return false;  // the last number goes on
  std::memcpy(mac, bytes, sizeof bytes);
  return true;
}

}  // namespace

char* WifiParser::BCDToString(const uint8_t (&octets)[10], uint8_t count) {
  static char digits[21];
  std::memset(digits, 0, sizeof(digits));
  // The ICCID array holds ten octets, whatever the count says.
  const unsigned n = count > 10 ? 10u : count;
  for (unsigned i = 0; i < n; ++i) {
    const uint8_t octet = octets[i];
    unsigned low = octet & 0x0Fu;
    unsigned high = octet >> 4;
    if (octet >= 0xA0) {
      MDX_LOG(4, "Invalid upper nibble in octet %d", static_cast<int>(high));
      high = 0;
    }
    if (low >= 10) {
      MDX_LOG(4, "Invalid lower nibble in octet %d", static_cast<int>(low));
      low = 0;
    }
    digits[2 * i] = static_cast<char>('0' + low);
    digits[2 * i + 1] = static_cast<char>('0' + high);
  }
  return digits;
}

bool WifiParser::extractOctetStr(const char* text, int index, int count, char separator,
                                 char* out) {
  if (text == nullptr || index < 0 || index >= count || count < 1 || out == nullptr) {
    MDX_LOG(4, "Invalid parameter");
    return false;
  }
  MDX_LOG(1, "bssid extractOctetStr p: %s index:%d length:%d", text, index, count);
  // Field `index` starts right after the index-th separator. A text with fewer separators,
  // or an empty field (a separator where the field should start), gives nothing.
  const char* field = text;
  for (int seen = 0; seen < index; ++field) {
    if (*field == '\0') return false;
    if (*field == separator) ++seen;
  }
  if (*field == '\0' || *field == separator) return false;
  // The character after the first is copied whatever it is: a digit, the separator or the
  // terminator.
  out[0] = field[0];
  out[1] = field[1];
  out[2] = '\0';
  return true;
}

uint8_t WifiParser::genNumericOctet(const char* text) {
  if (text == nullptr) return 0;
  unsigned value = 0;
  for (size_t i = 0; text[i] != '\0'; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    unsigned digit = 0;
    // Letters beyond f count on (g is 16 .. z is 35) instead of failing.
    if (c >= '0' && c <= '9') {
      digit = c - '0';
    } else if (c >= 'a' && c <= 'z') {
      digit = c - 'a' + 10;
    } else if (c >= 'A' && c <= 'Z') {
      digit = c - 'A' + 10;
    } else {
      MDX_LOG(4, "Malformed octet data!");
      return 0;
    }
    value = (i % 2 == 0) ? digit * 16 : value % 256 + digit;
  }
  return static_cast<uint8_t>(value % 256);
}

void WifiParser::getBSSID(uint8_t (&mac)[6], const char* text) {
  for (int index = 0; index < 6; ++index) {
    // A fresh buffer per group: a failed group must not leave the previous digits behind.
    char octet[3] = {};
    if (!extractOctetStr(text, index, 6, ':', octet)) {
      MDX_LOG(4, "extract failed");
      MDX_LOG(4, "BSSID conversion failed");
      return;
    }
    mac[index] = genNumericOctet(octet);
  }
  for (int index = 0; index < 6; ++index) {
    MDX_LOG(1, "bssid octet %d = 0x%x", index, static_cast<unsigned>(mac[index]));
  }
}

char* WifiParser::MacAddressToString(const uint8_t* mac) {
  static char text[18];
  std::memset(text, 0, sizeof(text));
  if (mac == nullptr) return text;
  std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", static_cast<unsigned>(mac[0]),
                static_cast<unsigned>(mac[1]), static_cast<unsigned>(mac[2]),
                static_cast<unsigned>(mac[3]), static_cast<unsigned>(mac[4]),
                static_cast<unsigned>(mac[5]));
  return text;
}

void WifiParser::StringToMac(uint8_t (&mac)[6], const char* text) {
  if (text != nullptr && readPrintedMac(mac, text)) return;
  unsigned int group[6];
  if (text == nullptr || std::sscanf(text, "%x:%x:%x:%x:%x:%x", &group[0], &group[1], &group[2],
                                     &group[3], &group[4], &group[5]) != 6) {
    MDX_LOG(4, "Malformed mac address!");
    return;
  }
  // A group above ff keeps its low 8 bits.
  for (int i = 0; i < 6; ++i) mac[i] = static_cast<uint8_t>(group[i] & 0xFFu);
}
