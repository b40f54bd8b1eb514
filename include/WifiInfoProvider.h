#pragma once

#include <list>
#include <string>

#include "WifiScanResult.h"
#include "WifiStatus.h"

class HostapdWrapper;
class NexSupplicantWrapper;
class WifiParser;

// callback(WifiScanResult* result, context); the result lives only during the call.
using ScanReportCallback = void (*)(void*, void*);

// The one place that talks to wpa_supplicant and hostapd: link status queries, BSS load,
// and filtered scans delivered to one callback.
class WifiInfoProvider {
 public:
  static WifiInfoProvider* getInstance();

  void initializeLinks(NexSupplicantWrapper* supplicant);

  void startScan(std::list<MeasurementRequestReport>& requestReports, std::string freqFilter,
                 std::string bssidFilter, unsigned int requestNumber, ScanReportCallback callback,
                 void* context);
  static void scanResultsReadyCb(void* data, void* context);
  static void addBssLoadInfoToFilterData(WifiInfoProvider* provider, WifiScanResult& result);
  void cleanUp();

  WifiStatus getSTAStatus();
  WifiStatus getP2pStatus();
  WifiStatus getAPStatus();
  BssLoad getBssLoadInfo(const std::string& bssid);

 private:
  WifiInfoProvider() = default;
  static WifiInfoProvider* instPtr;

  WifiParser* parser = nullptr;
  NexSupplicantWrapper* supplicant = nullptr;
  HostapdWrapper* hostapd = nullptr;
  ScanReportCallback callback = nullptr;
  void* callbackContext = nullptr;
  std::list<MeasurementRequestReport> reports;
  WifiScanResult scanStore;  // the last scan, filtered; what the callback is handed
};
