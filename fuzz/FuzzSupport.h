// Shared by the fuzz targets: a live host logger and NUL-terminated copies of the input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

// Installs the host logger, which formats every line the plug-in logs and keeps none, so
// memory stays flat across millions of inputs.
void resetFuzzLogger();

// The input as the C text a parser receives (an embedded NUL ends it early).
inline std::string textOf(const uint8_t* data, size_t size) {
  return std::string(reinterpret_cast<const char*>(data), size);
}

// A writable NUL-terminated copy, for the walkers that take char*.
inline std::vector<char> writableTextOf(const uint8_t* data, size_t size) {
  std::vector<char> text(data, data + size);
  text.push_back('\0');
  return text;
}

// A broken invariant is a finding: abort so libFuzzer keeps the input.
#define FUZZ_CHECK(condition)       \
  do {                              \
    if (!(condition)) std::abort(); \
  } while (0)
