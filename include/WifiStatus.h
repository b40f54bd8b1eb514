#pragma once

#include <cstdint>
#include <string>

// One link's status (station, soft AP or P2P) as the reply parsers fill it.
struct WifiStatus {
  std::string ssid;
  std::string bssid;
  std::string address;
  int16_t rssi = 0;        // dBm
  uint16_t frequency = 0;  // MHz
  std::string ipAddress;
  std::string ipv6AddressText;  // no parser fills it
  uint16_t spareFlags = 0;
  std::string mode;      // "station", "P2P GO", ...
  std::string wpaState;  // "COMPLETED", "ASSOCIATED", ...
  uint32_t spareWord = 0;
  int32_t wifiMode = 0;  // -1 unknown; see WifiParser::getWifiMode
  std::string hessid;
  std::string countryCode;
};

// BSS load of one BSS. channelUtilization 65535 means the reply held no usable BSS Load
// element.
struct BssLoad {
  uint16_t spare0;
  uint16_t channelUtilization;
  uint16_t spare4;
  uint16_t channelBandwidth;  // 20000, 40000, 14464 (80 MHz), 28928 (160 MHz) or 0
  uint16_t lowestChannel;
};

constexpr uint16_t kBssLoadUnknown = 65535;
