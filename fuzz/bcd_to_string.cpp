// Packed BCD octets (an ICCID) into digits. First byte: the count; then up to ten octets.
#include <cstring>

#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  resetFuzzLogger();
  uint8_t octets[10] = {};
  std::memcpy(octets, data + 1, size - 1 < sizeof(octets) ? size - 1 : sizeof(octets));
  const char* digits = WifiParser::BCDToString(octets, data[0]);
  const size_t expected = 2u * (data[0] < 10 ? data[0] : 10);
  FUZZ_CHECK(std::strlen(digits) == expected);
  for (size_t i = 0; i < expected; ++i) FUZZ_CHECK(digits[i] >= '0' && digits[i] <= '9');
  return 0;
}
