// MAC texts through scanf, and back.
#include <cstring>

#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  const std::string text = textOf(data, size);
  uint8_t mac[6] = {1, 2, 3, 4, 5, 6};
  WifiParser::StringToMac(mac, text.c_str());
  // Whatever was read prints as a canonical text that reads back to the same bytes.
  const std::string printed = WifiParser::MacAddressToString(mac);
  uint8_t again[6] = {};
  WifiParser::StringToMac(again, printed.c_str());
  FUZZ_CHECK(std::memcmp(mac, again, sizeof(mac)) == 0);
  return 0;
}
