// SIGNAL_POLL replies.
#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  const std::string text = textOf(data, size);
  WifiStatus status;
  WifiParser::getInstance()->parseSignalPollCmdData(text.c_str(), status);
  FUZZ_CHECK(status.ssid.empty() && status.bssid.empty());
  return 0;
}
