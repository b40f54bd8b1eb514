// nexhost's subcommands, one table: each row names a subcommand, adds its options to the
// command line, and gives what runs it once the line is parsed.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace nexhost {

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

// Options given before the subcommand, read when the subcommand runs.
struct GlobalOptions {
  std::string pluginPath;  // --plugin
};

struct Command {
  const char* name;
  const char* summary;  // its line in --help
  // Adds the subcommand's options to `command`. The function returned runs it, once the
  // command line is parsed, and returns the exit status; it owns the options it bound.
  std::function<int()> (*define)(CLI::App* command, const GlobalOptions& global);
};

const std::vector<Command>& commands();

// The subcommands' definitions, each in its own file.
std::function<int()> defineRun(CLI::App* command, const GlobalOptions& global);
std::function<int()> defineLive(CLI::App* command, const GlobalOptions& global);
std::function<int()> defineReport(CLI::App* command, const GlobalOptions& global);
std::function<int()> defineDiff(CLI::App* command, const GlobalOptions& global);
std::function<int()> defineDecode(CLI::App* command, const GlobalOptions& global);

// The event kinds --only and --ignore take; the log levels --log-level takes by name.
std::vector<std::string> eventKindNames();
const std::vector<std::pair<std::string, int>>& logLevels();

}  // namespace nexhost
