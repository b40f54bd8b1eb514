// WifiParser's reply parsers: the supplicant's and hostapd's text replies into records.
#include "WifiParser.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Log.h"
#include "TextNumber.h"

namespace {

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

}  // namespace

WifiParser* WifiParser::instPtr = nullptr;

WifiParser* WifiParser::getInstance() {
  if (instPtr == nullptr) instPtr = new WifiParser();
  return instPtr;
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
