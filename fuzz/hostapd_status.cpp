// hostapd_cli STATUS replies.
#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  const std::string text = textOf(data, size);
  const WifiStatus status = WifiParser::getInstance()->hostapdStatus(text.c_str());
  FUZZ_CHECK(status.bssid.empty() && status.wifiMode == 0);
  return 0;
}
