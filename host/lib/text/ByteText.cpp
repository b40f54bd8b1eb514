#include "text/ByteText.h"

#include <cstdio>

namespace nexhost {

namespace {

int hexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

namespace {

std::string escapedOutside(const char* bytes, std::size_t size, bool keepBackslash) {
  std::string out;
  for (std::size_t i = 0; i < size; ++i) {
    const auto c = static_cast<unsigned char>(bytes[i]);
    if (c >= 0x20 && c < 0x7F && (keepBackslash || c != '\\')) {
      out.push_back(static_cast<char>(c));
    } else {
      char escaped[5];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      out += escaped;
    }
  }
  return out;
}

}  // namespace

std::string printableBytes(const char* bytes, std::size_t size) {
  return escapedOutside(bytes, size, false);
}

std::string asciiMessage(const std::string& text) {
  return escapedOutside(text.data(), text.size(), true);
}

std::optional<std::string> bytesFromEscaped(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      out.push_back(text[i]);
      continue;
    }
    if (i + 3 >= text.size() || text[i + 1] != 'x') return std::nullopt;
    const int high = hexDigitValue(text[i + 2]);
    const int low = hexDigitValue(text[i + 3]);
    if (high < 0 || low < 0) return std::nullopt;
    out.push_back(static_cast<char>(high << 4 | low));
    i += 3;
  }
  return out;
}

std::string hexText(const uint8_t* bytes, std::size_t size) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out(size * 2, '0');
  for (std::size_t i = 0; i < size; ++i) {
    out[2 * i] = kDigits[bytes[i] >> 4];
    out[2 * i + 1] = kDigits[bytes[i] & 0xFu];
  }
  return out;
}

std::optional<std::vector<uint8_t>> bytesFromHex(const std::string& text, std::string* error) {
  std::vector<uint8_t> bytes;
  bytes.reserve(text.size() / 2);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isSpace(text[i])) continue;
    const int high = hexDigitValue(text[i]);
    const int low = i + 1 < text.size() ? hexDigitValue(text[i + 1]) : -1;
    if (high < 0 || low < 0) {
      const std::size_t at = high < 0 ? i : i + 1;
      if (at >= text.size() || isSpace(text[at])) {
        *error = "a lone hex digit at column " + std::to_string(i + 1) + " (digits come in pairs)";
      } else {
        *error = "\"" + printableBytes(&text[at], 1) + "\" at column " + std::to_string(at + 1) +
                 " is not a hex digit";
      }
      return std::nullopt;
    }
    bytes.push_back(static_cast<uint8_t>(high << 4 | low));
    ++i;
  }
  return bytes;
}

}  // namespace nexhost
