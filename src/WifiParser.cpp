#include "WifiParser.h"

#include <cstring>

#include "Log.h"

WifiParser* WifiParser::instPtr = nullptr;

WifiParser* WifiParser::getInstance() {
  if (instPtr == nullptr) instPtr = new WifiParser();
  return instPtr;
}

char* WifiParser::BCDToString(const uint8_t (&octets)[10], uint8_t count) {
  static char digits[21];
  std::memset(digits, 0, sizeof(digits));
  // The ICCID array holds ten octets, whatever the count says.
  const unsigned n = count > 10 ? 10u : count;
  for (unsigned i = 0; i < n; ++i) {
    const uint8_t octet = octets[i];
    unsigned low = octet & 0x0Fu;
    unsigned high = octet >> 4;
    if (octet >= 0xA0) {
      MDX_LOG(4, "Invalid upper nibble in octet %d", static_cast<int>(high));
      high = 0;
    }
    if (low >= 10) {
      MDX_LOG(4, "Invalid lower nibble in octet %d", static_cast<int>(low));
      low = 0;
    }
    digits[2 * i] = static_cast<char>('0' + low);
    digits[2 * i + 1] = static_cast<char>('0' + high);
  }
  return digits;
}
