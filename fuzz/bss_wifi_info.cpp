// BSS replies of the connected network, read for Wi-Fi mode, HESSID and country.
#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  resetFuzzLogger();
  WifiStatus status;
  status.frequency = static_cast<uint16_t>(data[0] << 8 | data[1]);
  const std::string text = textOf(data + 2, size - 2);
  WifiParser::getInstance()->parseBssCmdWifiInfo(text.c_str(), status);
  const int32_t mode = status.wifiMode;
  FUZZ_CHECK(mode == -1 || mode == 1 || mode == 2 || mode == 3 || mode == 5 || mode == 7);
  FUZZ_CHECK(status.hessid.empty() || status.hessid.size() == 17);
  FUZZ_CHECK(status.countryCode.size() <= 2);
  return 0;
}
