// STATUS replies of a soft access point.
#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  const std::string text = textOf(data, size);
  WifiStatus status;
  WifiParser::getInstance()->parseApStatusCmdData(text.c_str(), status);
  FUZZ_CHECK(status.address.empty() && status.rssi == 0);
  return 0;
}
