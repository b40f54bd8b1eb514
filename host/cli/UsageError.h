// The one line nexhost prints for a command line it refuses: "nexhost: ...", with "did
// you mean" for a mistyped command or option, and the help to read.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace nexhost {

// `args`: the command line without the program name; `error`: what CLI11 refused.
std::string usageError(const CLI::App& app, const std::vector<std::string>& args,
                       const CLI::ParseError& error);

// The candidate within a small edit distance of `word` (letters added, dropped, changed
// or swapped: at most 1 for words up to 4 letters, else 2), the closest first; "" when
// none is that close.
std::string closestWord(const std::string& word, const std::vector<std::string>& candidates);

}  // namespace nexhost
