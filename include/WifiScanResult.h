#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <set>
#include <string>

#include "WifiStatus.h"

// One scanned BSS, as SCAN_RESULTS printed it.
struct BssidInfo {
  std::string ssid;
  std::string bssid;
  std::string freq;
  int16_t rssi = 0;
  bool bssLoadValid = false;
  BssLoad bssLoad = {};
};

// One SSID filter of a raw measurement request.
struct MeasurementRequestReport {
  std::string ssid;  // or "AnySSID"
  bool firstFlag = false;
  bool rssiRequested = false;
  bool bssLoadRequested = false;
  // BSSID text (or "ff:ff:ff:ff:ff:ff" for any) -> channel codes.
  std::map<std::string, std::set<uint16_t>> bssidChannels;
};

// One parsed scan, indexed by text keys, and the result of filtering it.
class WifiScanResult {
 public:
  WifiScanResult();
  WifiScanResult(WifiScanResult&& other) noexcept;
  WifiScanResult& operator=(WifiScanResult&& other) noexcept;
  WifiScanResult(const WifiScanResult&) = delete;
  WifiScanResult& operator=(const WifiScanResult&) = delete;

  void addData(std::string bssid, std::string freq, int16_t rssi, std::string ssid);
  void filterData(std::list<MeasurementRequestReport>& requests);
  void findPartialKey(std::string ssid, std::string bssid, uint16_t channel);
  void filterFreqAndBssid(const std::string& bssid, uint16_t channel,
                          const std::string& channelText,
                          std::map<std::string, BssidInfo>& partial);
  void filterSsid(const std::string& ssid, std::map<std::string, BssidInfo> partial);
  void dumpReport();

  std::map<std::string, BssidInfo> byFreqBssidSsid;  // freq&bssid&ssid
  std::map<std::string, BssidInfo> byBssidFreq;      // bssid&freq, bssid&band
  std::map<std::string, BssidInfo> byFreqBssid;      // freq&bssid, band&bssid
  std::list<BssidInfo> filteredList;
  std::map<std::string, std::list<BssidInfo>> filteredBySsid;
  std::map<std::string, std::set<std::string>> ssidBssidSet;
};
