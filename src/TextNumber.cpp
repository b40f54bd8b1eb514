#include "TextNumber.h"

#include <climits>

namespace {

bool isDigit(const unsigned char* p, const unsigned char* end) {
  return p != end && *p >= '0' && *p <= '9';
}

// atoi's reading up to `end`; a terminator, which is no blank, sign or digit, stops it too.
int readInt(const unsigned char* p, const unsigned char* end) {
  // The usual text, a few digits after at most a minus, is read at once; nine digits
  // cannot overflow.
  const bool minus = p != end && *p == '-';
  const unsigned char* const first = minus ? p + 1 : p;
  const unsigned char* digit = first;
  int plain = 0;
  while (digit - first < 9 && isDigit(digit, end)) plain = plain * 10 + (*digit++ - '0');
  if (digit != first && !isDigit(digit, end)) return minus ? -plain : plain;

  while (p != end && (*p == ' ' || (*p >= '\t' && *p <= '\r'))) ++p;
  bool negative = false;
  if (p != end && (*p == '+' || *p == '-')) {
    negative = (*p == '-');
    ++p;
  }
  long long value = 0;  // magnitude, capped just past the int range
  for (; isDigit(p, end); ++p) {
    value = value * 10 + (*p - '0');
    if (value > static_cast<long long>(INT_MAX) + 1) value = static_cast<long long>(INT_MAX) + 1;
  }
  if (negative) return value > INT_MAX ? INT_MIN : static_cast<int>(-value);
  return value > INT_MAX ? INT_MAX : static_cast<int>(value);
}

}  // namespace

int textToInt(const char* text) {
  if (text == nullptr) return 0;
  return readInt(reinterpret_cast<const unsigned char*>(text), nullptr);
}

int textToInt(std::string_view text) {
  const auto* begin = reinterpret_cast<const unsigned char*>(text.data());
  return readInt(begin, begin + text.size());
}
