#pragma once

#include <string_view>

// atoi for every text whose value fits an int (leading blanks, an optional sign, then
// digits; no digits gives 0), saturating at INT_MIN / INT_MAX instead of overflowing.
int textToInt(const char* text);
// The same for the characters of `text` only, which need no terminator.
int textToInt(std::string_view text);
