// The least work each input needs, to measure the plug-in against: one pass over the
// text, numbers converted, the facts the plug-in derives kept, nothing allocated.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace floors {

// SCAN_RESULTS: lines split at tabs, frequency and level converted, nothing stored.
struct ScanFacts {
  unsigned lines = 0;
  unsigned long frequencySum = 0;
  long levelSum = 0;
  std::size_t bssidBytes = 0;
  std::size_t ssidBytes = 0;
};
ScanFacts scanResults(const char* text);

// Elements: hex decoded and walked once.
struct LoadFacts {
  uint16_t channelUtilization = 65535;
  uint16_t channelBandwidth = 0;
  uint16_t lowestChannel = 0;
};
LoadFacts loadElements(const char* text, const char* end);

// What the Wi-Fi mode, HESSID and country code are derived from.
struct ElementFacts {
  bool any = false;  // at least one element of an id the facts read
  bool vht = false, ht = false, erp = false, supported = false, extended = false;
  int32_t lastSupportedRate = 0, lastExtendedRate = 0;
  bool country = false;
  char countryCode[3] = {};
  bool interworking = false;
  uint8_t hessid[6] = {};
  bool hessidPresent = false;
};
ElementFacts factElements(const char* text, const char* end);
// The mode code those facts give at a frequency.
int32_t wifiMode(const ElementFacts& facts, uint16_t frequency);

// "key=value" replies: each line split once; the values the parser keeps are located
// (not copied) and numbers converted.
struct Span {
  const char* text = nullptr;
  std::size_t size = 0;
  std::string str() const { return text == nullptr ? std::string() : std::string(text, size); }
};
struct StatusFacts {
  Span ssid, bssid, ipAddress, address, mode, wpaState;
  uint16_t frequency = 0;
};
StatusFacts statusReply(const char* text);
struct SignalFacts {
  int16_t rssi = 0;
  uint16_t frequency = 0;
};
SignalFacts signalPollReply(const char* text);
struct ApFacts {
  Span ssid, bssid;
  uint16_t frequency = 0;
};
ApFacts apStatusReply(const char* text);
LoadFacts bssLoadReply(const char* text);
ElementFacts bssFactsReply(const char* text);

}  // namespace floors
