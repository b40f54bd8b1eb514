// BSS replies read for their BSS load.
#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  const std::string text = textOf(data, size);
  BssLoad load = {};
  WifiParser::getInstance()->parseBssLoadCmdData(text.c_str(), load);
  const uint16_t width = load.channelBandwidth;
  FUZZ_CHECK(width == 0 || width == 20000 || width == 40000 || width == 14464 || width == 28928);
  FUZZ_CHECK(load.channelUtilization <= 255 || load.channelUtilization == kBssLoadUnknown);
  FUZZ_CHECK(load.lowestChannel <= 249 && load.spare0 == 0 && load.spare4 == 0);
  return 0;
}
