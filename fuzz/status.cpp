// STATUS replies of the station interface.
#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  const std::string text = textOf(data, size);
  WifiStatus status;
  WifiParser::getInstance()->parseStatusCmdData(text.c_str(), status);
  FUZZ_CHECK(status.rssi == 0 && status.ipv6AddressText.empty());
  return 0;
}
