#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Bytes as the text nexhost prints and reads: the escape form of every byte text, and hex.
// The lowest room of the host library: it includes nothing of it.
namespace nexhost {

// Bytes as text; anything outside printable ASCII (and the backslash) as \xNN. Every
// byte text nexhost prints goes through this, so its output is ASCII and a reader gets
// the exact bytes back.
std::string printableBytes(const char* bytes, std::size_t size);
inline std::string printableBytes(const std::string& bytes) {
  return printableBytes(bytes.data(), bytes.size());
}
// A message for a terminal: bytes outside printable ASCII as \xNN, the backslash kept (a
// message may quote an escape). For errors that may quote what an input holds.
std::string asciiMessage(const std::string& text);
// The bytes of such a text: \xNN (either hex case) is that byte, every other character
// stands for itself. Empty when a backslash is not followed by x and two hex digits.
std::optional<std::string> bytesFromEscaped(const std::string& text);

// Bytes as lowercase hex digits, two per byte, nothing between.
std::string hexText(const uint8_t* bytes, std::size_t size);
// Hex digits in pairs (either case), whitespace allowed between pairs (as a modem log
// prints them). Empty, with the reason in `error`, on any other character or a digit
// without its pair.
std::optional<std::vector<uint8_t>> bytesFromHex(const std::string& text, std::string* error);

}  // namespace nexhost
