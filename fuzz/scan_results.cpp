// SCAN_RESULTS replies into the scan store.
#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  const std::string text = textOf(data, size);
  const WifiScanResult result = WifiParser::getInstance()->parseScanData(text.c_str());
  // Each stored line is reachable under its bssid&freq and freq&bssid keys.
  for (const auto& entry : result.byFreqBssidSsid) {
    const BssidInfo& record = entry.second;
    FUZZ_CHECK(result.byBssidFreq.count(record.bssid + "&" + record.freq) == 1);
    FUZZ_CHECK(result.byFreqBssid.count(record.freq + "&" + record.bssid) == 1);
  }
  return 0;
}
