#include "Floors.h"

#include <cstring>

namespace floors {

namespace {

// Hex digit values; everything else reads as 0, as in the plug-in.
struct HexTable {
  uint8_t value[256] = {};
  constexpr HexTable() {
    for (int c = '0'; c <= '9'; ++c) value[c] = static_cast<uint8_t>(c - '0');
    for (int c = 'a'; c <= 'f'; ++c) value[c] = static_cast<uint8_t>(c - 'a' + 10);
    for (int c = 'A'; c <= 'F'; ++c) value[c] = static_cast<uint8_t>(c - 'A' + 10);
  }
};
constexpr HexTable kHex;

inline uint8_t hexByte(const char* pair) {
  return static_cast<uint8_t>(kHex.value[static_cast<unsigned char>(pair[0])] << 4 |
                              kHex.value[static_cast<unsigned char>(pair[1])]);
}

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Signed decimal; stops at the first non-digit.
inline long number(const char* p) {
  const bool negative = *p == '-';
  if (negative) ++p;
  long value = 0;
  for (; isDigit(*p); ++p) value = value * 10 + (*p - '0');
  return negative ? -value : value;
}

inline const char* skipPast(const char* p, char separator) {
  while (*p != '\0' && *p != separator) ++p;
  return *p == separator ? p + 1 : p;
}

int32_t rateOf(uint8_t byte) {
  switch (byte & 0x7F) {
    case 2:
      return 1000000;
    case 4:
      return 2000000;
    case 11:
      return 5500000;
    case 12:
      return 6000000;
    case 18:
      return 9000000;
    case 22:
      return 11000000;
    case 24:
      return 12000000;
    case 36:
      return 18000000;
    case 44:
      return 22000000;
    case 48:
      return 24000000;
    case 66:
      return 33000000;
    case 72:
      return 36000000;
    case 96:
      return 48000000;
    case 108:
      return 54000000;
    default:
      return -1;
  }
}

// The last rate of a rates body; the list stops at the first unknown rate.
int32_t lastRate(const char* body, unsigned size) {
  if (size == 0 || size > 8) return 0;
  int32_t last = 0;
  for (unsigned i = 0; i < size; ++i) {
    const int32_t rate = rateOf(hexByte(body + 2 * i));
    if (rate < 1) break;
    last = rate;
  }
  return last;
}

// Calls element(id, size, body) for each whole element of [text, end); a zero-length
// element or one cut short ends the walk.
template <typename Element>
void walk(const char* text, const char* end, Element element) {
  while (end - text >= 4) {
    const uint8_t id = hexByte(text);
    const unsigned size = hexByte(text + 2);
    if (size == 0) return;
    const char* body = text + 4;
    if (static_cast<std::size_t>(end - body) < 2u * size) return;
    element(id, size, body);
    text = body + 2 * size;
  }
}

// One "key=value" line at a time, the value ending at the line's end.
template <typename Pair>
void keyValues(const char* p, Pair pair) {
  while (*p != '\0') {
    const char* key = p;
    while (*p != '\0' && *p != '=' && *p != '\n') ++p;
    if (*p != '=') {
      p = skipPast(p, '\n');
      continue;
    }
    const std::size_t keySize = static_cast<std::size_t>(p - key);
    const char* value = ++p;
    while (*p != '\0' && *p != '\n') ++p;
    pair(key, keySize, value, p);
    if (*p == '\n') ++p;
  }
}

template <std::size_t N>
inline bool keyIs(const char* key, std::size_t size, const char (&name)[N]) {
  return size == N - 1 && std::memcmp(key, name, N - 1) == 0;
}

}  // namespace

ScanFacts scanResults(const char* p) {
  ScanFacts facts;
  p = skipPast(p, '\n');  // header
  while (*p != '\0') {
    const char* bssid = p;
    p = skipPast(p, '\t');
    facts.bssidBytes += static_cast<std::size_t>(p - bssid);
    facts.frequencySum += static_cast<unsigned long>(number(p));
    p = skipPast(p, '\t');
    facts.levelSum += number(p);
    p = skipPast(p, '\t');
    p = skipPast(p, '\t');  // flags
    const char* ssid = p;
    while (*p != '\0' && *p != '\n') ++p;
    facts.ssidBytes += static_cast<std::size_t>(p - ssid);
    if (*p == '\n') ++p;
    ++facts.lines;
  }
  return facts;
}

LoadFacts loadElements(const char* text, const char* end) {
  LoadFacts facts;
  uint8_t htWidth = 0;
  uint8_t vhtWidth = 0;
  walk(text, end, [&](uint8_t id, unsigned size, const char* body) {
    if (id == 11 && size == 5) {
      facts.channelUtilization = hexByte(body + 4);
    } else if (id == 61 && size == 22) {
      htWidth = hexByte(body + 4);
    } else if (id == 192 && size == 5) {
      vhtWidth = hexByte(body);
      const uint8_t centre = hexByte(body + 4);
      facts.lowestChannel = centre > 6 ? centre - 6 : 0;
    }
  });
  static const uint32_t kVhtWidths[4] = {40000, 80000, 160000, 0};
  const uint32_t bandwidth = htWidth == 0 ? 20000 : vhtWidth < 4 ? kVhtWidths[vhtWidth] : 20000;
  facts.channelBandwidth = static_cast<uint16_t>(bandwidth);
  return facts;
}

ElementFacts factElements(const char* text, const char* end) {
  ElementFacts facts;
  walk(text, end, [&](uint8_t id, unsigned size, const char* body) {
    switch (id) {
      case 192:
        facts.any = facts.vht = true;
        break;
      case 61:
        facts.any = facts.ht = true;
        break;
      case 42:
        facts.any = facts.erp = true;
        break;
      case 1:
        facts.any = true;
        if (!facts.supported) facts.lastSupportedRate = lastRate(body, size);
        facts.supported = true;
        break;
      case 50:
        facts.any = true;
        if (!facts.extended) facts.lastExtendedRate = lastRate(body, size);
        facts.extended = true;
        break;
      case 7:
        facts.any = true;
        if (!facts.country && size >= 4) {
          facts.countryCode[0] = static_cast<char>(hexByte(body));
          facts.countryCode[1] = static_cast<char>(hexByte(body + 2));
        }
        facts.country = true;
        break;
      case 107:
        facts.any = true;
        if (!facts.interworking && (size == 7 || size == 9)) {
          const char* hessid = body + 2 * (size - 6);
          for (int i = 0; i < 6; ++i) facts.hessid[i] = hexByte(hessid + 2 * i);
          facts.hessidPresent = true;
        }
        facts.interworking = true;
        break;
      default:
        break;
    }
  });
  return facts;
}

int32_t wifiMode(const ElementFacts& facts, uint16_t frequency) {
  if (facts.vht) return 7;
  if (facts.ht) return 5;
  if (facts.erp) return 3;
  if (frequency > 2999) return 1;
  if (!facts.supported) return -1;
  const int32_t best = facts.lastSupportedRate > facts.lastExtendedRate ? facts.lastSupportedRate
                                                                        : facts.lastExtendedRate;
  return best < 24000000 ? 2 : 3;
}

StatusFacts statusReply(const char* text) {
  StatusFacts facts;
  keyValues(text, [&](const char* key, std::size_t size, const char* value, const char* end) {
    const Span span{value, static_cast<std::size_t>(end - value)};
    if (keyIs(key, size, "ssid")) {
      facts.ssid = span;
    } else if (keyIs(key, size, "bssid")) {
      facts.bssid = span;
    } else if (keyIs(key, size, "ip_address")) {
      facts.ipAddress = span;
    } else if (keyIs(key, size, "address")) {
      facts.address = span;
    } else if (keyIs(key, size, "mode")) {
      facts.mode = span;
    } else if (keyIs(key, size, "freq")) {
      facts.frequency = static_cast<uint16_t>(number(value));
    } else if (keyIs(key, size, "wpa_state")) {
      facts.wpaState = span;
    }
  });
  return facts;
}

SignalFacts signalPollReply(const char* text) {
  SignalFacts facts;
  keyValues(text, [&](const char* key, std::size_t size, const char* value, const char*) {
    if (keyIs(key, size, "RSSI")) {
      facts.rssi = static_cast<int16_t>(number(value));
    } else if (keyIs(key, size, "FREQUENCY")) {
      facts.frequency = static_cast<uint16_t>(number(value));
    }
  });
  return facts;
}

ApFacts apStatusReply(const char* text) {
  ApFacts facts;
  keyValues(text, [&](const char* key, std::size_t size, const char* value, const char* end) {
    const Span span{value, static_cast<std::size_t>(end - value)};
    if (keyIs(key, size, "ssid[0]")) {
      facts.ssid = span;
    } else if (keyIs(key, size, "freq")) {
      facts.frequency = static_cast<uint16_t>(number(value));
    } else if (keyIs(key, size, "bssid[0]")) {
      facts.bssid = span;
    }
  });
  return facts;
}

LoadFacts bssLoadReply(const char* text) {
  LoadFacts facts;
  keyValues(text, [&](const char* key, std::size_t size, const char* value, const char* end) {
    if (keyIs(key, size, "ie")) facts = loadElements(value, end);
  });
  return facts;
}

ElementFacts bssFactsReply(const char* text) {
  ElementFacts facts;
  keyValues(text, [&](const char* key, std::size_t size, const char* value, const char* end) {
    if (keyIs(key, size, "ie")) facts = factElements(value, end);
  });
  return facts;
}

}  // namespace floors
