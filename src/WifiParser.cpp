#include "WifiParser.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Log.h"
#include "TextNumber.h"

namespace {

using WifiInformationElementParser::factsOf;

constexpr int32_t kModeUnknown = -1;
constexpr int32_t kMode11a = 1;
constexpr int32_t kMode11b = 2;
constexpr int32_t kMode11g = 3;
constexpr int32_t kMode11n = 5;
constexpr int32_t kMode11ac = 7;
constexpr int32_t kOfdmRate = 24000000;  // bit/s; below it only 802.11b rates

template <std::size_t N>
bool isSeparator(char c, const char (&separators)[N]) {
  for (std::size_t i = 0; i + 1 < N; ++i) {
    if (c == separators[i]) return true;
  }
  return false;
}

// strtok_r over a reply that is read where it is, never copied nor written: the next
// stretch of text holding no separator, or an empty view at the end. `at` is where the
// last one stopped (just past its separator), as strtok_r's save pointer is.
template <std::size_t N>
std::string_view nextToken(const char*& at, const char (&separators)[N]) {
  const char* start = at;
  while (*start != '\0' && isSeparator(*start, separators)) ++start;
  if (*start == '\0') {
    at = start;
    return std::string_view();
  }
  // Each separator is searched for on its own with a vector search, the others only
  // before the first one found: strcspn builds a table of its set first, which costs more
  // than most tokens do. (The text's end is sought only once, with the last token.)
  const char* end = std::strchr(start, separators[N - 2]);
  if (end == nullptr) end = start + std::strlen(start);
  for (std::size_t i = 0; i + 2 < N; ++i) {
    const void* hit = std::memchr(start, separators[i], static_cast<std::size_t>(end - start));
    if (hit != nullptr) end = static_cast<const char*>(hit);
  }
  at = *end != '\0' ? end + 1 : end;
  return std::string_view(start, static_cast<std::size_t>(end - start));
}

// Calls handle(key, value) for each "key=value" line; value is empty when the text ends
// after the key (no token is ever empty). Empty fields are skipped, as strtok_r skips
// them, so an empty value takes the next line's key.
template <typename Handle>
void forEachKeyValue(const char* text, Handle handle) {
  const char* at = text;
  for (std::string_view key = nextToken(at, "="); !key.empty(); key = nextToken(at, "=")) {
    const std::string_view value = nextToken(at, "=\n");
    handle(key, value);
  }
}

// A token for "%.*s".
int lengthOf(std::string_view token) { return static_cast<int>(token.size()); }

bool is(std::string_view key, std::string_view name) { return key == name; }

// Numbers keep the low 16 bits of what the text says: a frequency of 70000 stores 4464.
uint16_t toUint16(std::string_view text) { return static_cast<uint16_t>(textToInt(text)); }
int16_t toInt16(std::string_view text) { return static_cast<int16_t>(textToInt(text)); }

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

WifiParser* WifiParser::instPtr = nullptr;

WifiParser* WifiParser::getInstance() {
  if (instPtr == nullptr) instPtr = new WifiParser();
  return instPtr;
}

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

// ---- Address and octet-string helpers

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

// ---- Reply parsers. Each reads the reply where it is: nothing is copied, so nothing can
// fail to be allocated.

WifiScanResult WifiParser::parseScanData(const char* text) {
  WifiScanResult result;
  parseScanData(text, result);
  return result;
}

void WifiParser::parseScanData(const char* text, WifiScanResult& result) {
  result.clear();
  if (text == nullptr) {
    MDX_LOG(4, "rspData is NULL");
    return;
  }
  // Slots persist across lines: a missing column repeats the previous line's value.
  std::string_view bssid;
  std::string_view freq;
  std::string_view ssid;
  int16_t signal = 0;
  std::size_t lines = 0;
  for (const char* end = text; (end = std::strchr(end, '\n')) != nullptr; ++end) ++lines;
  result.reserve(lines);  // at most one a newline, the header's included
  const char* at = text;
  nextToken(at, "\n");  // header
  for (std::string_view token = nextToken(at, "\t"); !token.empty(); token = nextToken(at, "\t")) {
    bssid = token;
    if (const std::string_view column = nextToken(at, "\t"); !column.empty()) freq = column;
    if (const std::string_view column = nextToken(at, "\t"); !column.empty()) {
      signal = toInt16(column);
    }
    nextToken(at, "\t");  // flags
    // An empty SSID column makes this take the next line's BSSID; the walk then stays out
    // of step, as wpa_supplicant's own line format allows no better.
    if (const std::string_view column = nextToken(at, "\t\n"); !column.empty()) ssid = column;
    result.addLine(bssid, freq, signal, ssid);
  }
}

WifiStatus WifiParser::hostapdStatus(const char* text) {
  WifiStatus status;
  if (text == nullptr) {
    MDX_LOG(4, "a_tag_list is NULL");
    return status;
  }
  forEachKeyValue(text, [&status](std::string_view key, std::string_view value) {
    if (value.empty()) return;
    if (is(key, "ssid[0]")) status.ssid = value;
    // hostapd's own BSSID is this link's address.
    if (is(key, "bssid[0]")) status.address = value;
    if (is(key, "freq")) status.frequency = toUint16(value);
  });
  return status;
}

void WifiParser::parseSignalPollCmdData(const char* text, WifiStatus& status) {
  if (text == nullptr) {
    MDX_LOG(4, "rspData is NULL");
    return;
  }
  MDX_LOG(1, "parseSignalPollCmdData sizeof: %d", static_cast<int>(sizeof(text)));
  MDX_LOG(1, "signalPollData: %s", text);
  forEachKeyValue(text, [&status](std::string_view key, std::string_view value) {
    if (value.empty()) {
      MDX_LOG(1, "Value is null for key: %.*s", lengthOf(key), key.data());
    } else if (is(key, "FREQUENCY")) {
      status.frequency = toUint16(value);
    } else if (is(key, "RSSI")) {
      status.rssi = toInt16(value);
    } else {
      MDX_LOG(1, "Ignoring key: %.*s", lengthOf(key), key.data());
    }
  });
}

void WifiParser::parseBssLoadCmdData(const char* text, BssLoad& load) {
  if (text == nullptr) {
    MDX_LOG(4, "rspData is NULL");
    return;
  }
  load.channelUtilization = kBssLoadUnknown;
  load.channelBandwidth = 0;
  load.lowestChannel = 0;
  forEachKeyValue(text, [&load](std::string_view key, std::string_view value) {
    if (value.empty()) {
      MDX_LOG(1, "Value is null for key: %.*s", lengthOf(key), key.data());
    } else if (is(key, "ie")) {
      MDX_LOG(1, "ie found: %.*s", lengthOf(value), value.data());
      WifiInformationElementParser::parse(value.data(), value.size(), load);
      MDX_LOG(1, "Parsed ie channel Utilization : %d", static_cast<int>(load.channelUtilization));
    } else {
      MDX_LOG(1, "Ignoring key: %.*s", lengthOf(key), key.data());
    }
  });
}

void WifiParser::parseStatusCmdData(const char* text, WifiStatus& status) {
  if (text == nullptr) {
    MDX_LOG(4, "rspData is NULL");
    return;
  }
  forEachKeyValue(text, [&status](std::string_view key, std::string_view value) {
    if (value.empty()) {
      MDX_LOG(1, "Value is null for key: %.*s", lengthOf(key), key.data());
    } else if (is(key, "ssid")) {
      status.ssid = value;
    } else if (is(key, "bssid")) {
      status.bssid = value;
    } else if (is(key, "ip_address")) {
      status.ipAddress = value;
    } else if (is(key, "address")) {
      status.address = value;
    } else if (is(key, "mode")) {
      status.mode = value;
    } else if (is(key, "freq")) {
      status.frequency = toUint16(value);
    } else if (is(key, "wpa_state")) {
      status.wpaState = value;
    } else {
      MDX_LOG(0, "Ignoring key: %.*s ", lengthOf(key), key.data());
    }
  });
}

void WifiParser::parseApStatusCmdData(const char* text, WifiStatus& status) {
  if (text == nullptr) {
    MDX_LOG(4, "rspData is NULL");
    return;
  }
  forEachKeyValue(text, [&status](std::string_view key, std::string_view value) {
    if (value.empty()) return;
    if (is(key, "ssid[0]")) {
      status.ssid = value;
    } else if (is(key, "freq")) {
      status.frequency = toUint16(value);
    } else if (is(key, "bssid[0]")) {
      status.bssid = value;
    }
  });
}

void WifiParser::parseP2pStatusCmdData(const char* text, WifiStatus& status) {
  if (text == nullptr) {
    MDX_LOG(4, "rspData is NULL");
    return;
  }
  // A P2P group reports its name indexed but its BSSID plain.
  forEachKeyValue(text, [&status](std::string_view key, std::string_view value) {
    if (value.empty()) return;
    if (is(key, "ssid[0]")) {
      status.ssid = value;
    } else if (is(key, "freq")) {
      status.frequency = toUint16(value);
    } else if (is(key, "bssid")) {
      status.bssid = value;
    }
  });
}

void WifiParser::parseBssCmdWifiInfo(const char* text, WifiStatus& status) {
  if (text == nullptr) {
    MDX_LOG(4, "rspData is NULL");
    return;
  }
  // Only the facts are kept of the elements, so none is kept on the heap.
  ElementFacts facts;
  forEachKeyValue(text, [&facts](std::string_view key, std::string_view value) {
    if (value.empty()) {
      MDX_LOG(1, "Value is null for key: %.*s", lengthOf(key), key.data());
    } else if (is(key, "ie")) {
      MDX_LOG(1, "ie found: %.*s \n", lengthOf(value), value.data());
      WifiInformationElementParser::parse(value.data(), value.size(), facts);
    } else {
      MDX_LOG(1, "Ignoring key: %.*s", lengthOf(key), key.data());
    }
  });
  if (!facts.any()) {
    status.hessid.clear();
    status.countryCode.clear();
    status.wifiMode = kModeUnknown;
    return;
  }
  // The frequency is what the signal poll or status parse left in the record. The
  // records' texts keep their memory.
  status.wifiMode = wifiModeOf(facts, status.frequency);
  status.hessid = hessidOf(facts);
  status.countryCode = countryCodeOf(facts);
}

// ---- Facts derived from the elements

int32_t WifiParser::getWifiMode(WifiInfoMap wifiInfoMap, uint16_t frequency) {
  ElementFacts facts;
  factsOf(wifiInfoMap, facts);
  return wifiModeOf(facts, frequency);
}

std::string WifiParser::getHESSIDInfo(WifiInfoMap wifiInfoMap) {
  ElementFacts facts;
  factsOf(wifiInfoMap, facts);
  return std::string(hessidOf(facts));
}

std::string WifiParser::getCountryCode(WifiInfoMap wifiInfoMap) {
  ElementFacts facts;
  factsOf(wifiInfoMap, facts);
  return std::string(countryCodeOf(facts));
}

int32_t WifiParser::wifiModeOf(const ElementFacts& facts, uint16_t frequency) {
  // Presence by id decides, even for an element whose body was rejected.
  if (facts.vhtOperation) {
    MDX_LOG(1, "Found VHTOperation Element in wifiInfoMap");
    return kMode11ac;
  }
  if (facts.htOperation) {
    MDX_LOG(1, "Found HTOperation Element in wifiInfoMap");
    return kMode11n;
  }
  if (facts.erp) {
    MDX_LOG(1, "Found ERP Element in wifiInfoMap");
    return kMode11g;
  }
  if (frequency > 2999) {
    MDX_LOG(1, " Frequency is greater than 3000");
    return kMode11a;
  }
  // The last rate stands for the fastest: access points list their rates ascending.
  if (facts.supportedRates) MDX_LOG(1, "Found SupportedRate Element in wifiInfoMap");
  if (facts.extendedRates) MDX_LOG(1, "Found ExtendedSupportedRate Element in wifiInfoMap");
  if (!facts.supportedRates) return kModeUnknown;
  return std::max(facts.supportedLastRate, facts.extendedLastRate) < kOfdmRate ? kMode11b
                                                                               : kMode11g;
}

std::string_view WifiParser::hessidOf(const ElementFacts& facts) {
  if (facts.interworking) MDX_LOG(1, "Found Interworking Element in wifiInfoMap");
  const std::string_view hessid = facts.hessid;
  MDX_LOG(1, "getHESSIDInfo: Returned HESSID: %.*s", static_cast<int>(hessid.size()),
          hessid.data());
  return hessid;
}

std::string_view WifiParser::countryCodeOf(const ElementFacts& facts) {
  if (facts.country) MDX_LOG(1, "Found Country Element in wifiInfoMap");
  const std::string_view countryCode = facts.countryCode;
  MDX_LOG(1, "getCountryCode: Returned countryCode: %.*s", static_cast<int>(countryCode.size()),
          countryCode.data());
  return countryCode;
}
