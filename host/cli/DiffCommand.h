// nexhost diff A.jsonl B.jsonl: two saved runs compared event by event.
#pragma once

#include <CLI/CLI.hpp>
#include <set>
#include <string>

namespace nexhost {

struct DiffCommand {
  std::string a;
  std::string b;
  bool ignoreTime = false;
  std::vector<std::string> only;
  std::vector<std::string> ignore;
  std::size_t context = 3;
  std::size_t max = 10;
  bool quiet = false;
};

// Adds the subcommand and its options; `kinds` are the event kinds --only and --ignore take.
CLI::App* addDiffCommand(CLI::App& app, const std::set<std::string>& kinds, DiffCommand* options);
// 0 when the runs are equal, 1 when they differ, 2 on bad input (one line on stderr).
int runDiffCommand(const DiffCommand& options);

}  // namespace nexhost
