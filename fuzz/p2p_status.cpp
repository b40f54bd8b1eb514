// STATUS replies of the P2P interface.
#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  const std::string text = textOf(data, size);
  WifiStatus status;
  WifiParser::getInstance()->parseP2pStatusCmdData(text.c_str(), status);
  FUZZ_CHECK(status.address.empty() && status.rssi == 0);
  return 0;
}
