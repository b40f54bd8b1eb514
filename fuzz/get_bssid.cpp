// BSSID texts into bytes, and the octet helpers under them.
#include <cstring>

#include "FuzzSupport.h"
#include "WifiParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  resetFuzzLogger();
  const std::string text = textOf(data, size);
  uint8_t mac[6] = {};
  WifiParser::getBSSID(mac, text.c_str());
  FUZZ_CHECK(std::strlen(WifiParser::MacAddressToString(mac)) == 17);
  WifiParser::genNumericOctet(text.c_str());
  char octet[3];
  for (int index = 0; index < 8; ++index) {
    if (WifiParser::extractOctetStr(text.c_str(), index, 8, ':', octet)) {
      FUZZ_CHECK(octet[0] != '\0' && octet[0] != ':' && octet[2] == '\0');
    }
  }
  return 0;
}
