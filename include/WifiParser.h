#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "WifiInformationElementParser.h"
#include "WifiScanResult.h"
#include "WifiStatus.h"

// Parses wpa_supplicant and hostapd_cli text replies, and converts addresses and
// identifiers between text and bytes.
class WifiParser {
 public:
  static WifiParser* getInstance();

  WifiScanResult parseScanData(const char* text);
  // The same into a store that is cleared first, keeping its memory for the lines.
  void parseScanData(const char* text, WifiScanResult& result);
  WifiStatus hostapdStatus(const char* text);
  void parseSignalPollCmdData(const char* text, WifiStatus& status);
  void parseBssLoadCmdData(const char* text, BssLoad& load);
  void parseStatusCmdData(const char* text, WifiStatus& status);
  void parseApStatusCmdData(const char* text, WifiStatus& status);
  void parseP2pStatusCmdData(const char* text, WifiStatus& status);
  void parseBssCmdWifiInfo(const char* text, WifiStatus& status);

  // Facts derived from the connected BSS's elements. The map is a copy; the elements
  // stay owned by the caller.
  int32_t getWifiMode(WifiInfoMap wifiInfoMap, uint16_t frequency);
  std::string getHESSIDInfo(WifiInfoMap wifiInfoMap);
  std::string getCountryCode(WifiInfoMap wifiInfoMap);

  static void getBSSID(uint8_t (&mac)[6], const char* text);
  static bool extractOctetStr(const char* text, int index, int count, char separator, char* out);
  static uint8_t genNumericOctet(const char* text);
  // Both return one static buffer that the next call overwrites.
  static char* MacAddressToString(const uint8_t* mac);
  static char* BCDToString(const uint8_t (&octets)[10], uint8_t count);
  static void StringToMac(uint8_t (&mac)[6], const char* text);

 private:
  WifiParser() = default;
  // Wi-Fi modes as records hold them.
  static constexpr int32_t kModeUnknown = -1;
  static constexpr int32_t kMode11a = 1;
  static constexpr int32_t kMode11b = 2;
  static constexpr int32_t kMode11g = 3;
  static constexpr int32_t kMode11n = 5;
  static constexpr int32_t kMode11ac = 7;
  using ElementFacts = WifiInformationElementParser::ElementFacts;
  static int32_t wifiModeOf(const ElementFacts& facts, uint16_t frequency);
  static std::string_view hessidOf(const ElementFacts& facts);
  static std::string_view countryCodeOf(const ElementFacts& facts);
  static WifiParser* instPtr;
};
