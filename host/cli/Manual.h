// nexhost's manual page and bash completion, written from the command line's own
// definitions (descriptions, options, footers), so that neither can drift from --help.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <vector>

namespace nexhost {

struct ManualTexts {
  std::string version;   // "0.1.0 (commit ...)"
  std::string date;      // YYYY-MM-DD
  std::string examples;  // the top-level help's examples, one command a line
  std::string exitCodes;
  std::string sections;  // hand-written roff: scenario format, environment, files
};

// The whole page in roff (man(7)): NAME, SYNOPSIS, DESCRIPTION, OPTIONS, COMMANDS (each
// subcommand's description, options and footer), EXIT STATUS, the hand-written sections,
// EXAMPLES and SEE ALSO.
std::string manPage(const CLI::App& app, const ManualTexts& texts);

// A bash completion script: subcommands, each one's options, the values listed in
// `values` (by long option name, e.g. "--only"), and files or directories for options
// whose value is a FILE, PATH or DIR.
std::string bashCompletion(const CLI::App& app,
                           const std::map<std::string, std::vector<std::string>>& values);

}  // namespace nexhost
