// Element hex text into a BSS load record.
#include "FuzzSupport.h"
#include "WifiInformationElementParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  std::vector<char> text = writableTextOf(data, size);
  BssLoad load = {};
  WifiInformationElementParser::parse(text.data(), load);
  const uint16_t width = load.channelBandwidth;
  FUZZ_CHECK(width == 0 || width == 20000 || width == 40000 || width == 14464 || width == 28928);
  FUZZ_CHECK(load.channelUtilization <= 255);
  return 0;
}
