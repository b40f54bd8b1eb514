// nexhost diff A.jsonl B.jsonl: two saved runs compared event by event.
#include <cstdio>
#include <memory>

#include "Command.h"
#include "compare/RunDiff.h"
#include "events/EventLines.h"

namespace nexhost {

namespace {

struct DiffOptionsGiven {
  std::string a;
  std::string b;
  bool ignoreTime = false;
  std::vector<std::string> only;
  std::vector<std::string> ignore;
  std::size_t context = 3;
  std::size_t max = 10;
  bool quiet = false;
};

int compareRuns(const DiffOptionsGiven& o) {
  constexpr int kEqual = 0;
  constexpr int kDifferent = 1;
  constexpr int kBadInput = 2;
  if (o.a == "-" && o.b == "-") {
    std::fprintf(stderr, "nexhost: diff: only one of the runs can be standard input\n");
    return kBadInput;
  }
  SavedRun runA;
  SavedRun runB;
  std::string error;
  if (!runA.open(o.a, &error) || !runB.open(o.b, &error)) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return kBadInput;
  }
  DiffOptions options;
  options.ignoreTime = o.ignoreTime;
  options.only.insert(o.only.begin(), o.only.end());
  options.ignore.insert(o.ignore.begin(), o.ignore.end());
  options.context = o.context;
  options.maxShown = o.max;
  EventLines a(runA.stream(), runA.name());
  EventLines b(runB.stream(), runB.name());
  const DiffResult result = diffRuns(a, b, options, o.quiet ? nullptr : stdout);
  if (!result.error.empty()) {
    std::fflush(stdout);  // what was found so far, before the reason it stopped
    std::fprintf(stderr, "nexhost: invalid run: %s\n", result.error.c_str());
    return kBadInput;
  }
  return result.differences == 0 ? kEqual : kDifferent;
}

}  // namespace

std::function<int()> defineDiff(CLI::App* cmd, const GlobalOptions&) {
  auto given = std::make_shared<DiffOptionsGiven>();
  DiffOptionsGiven* o = given.get();
  const std::vector<std::string> kinds = eventKindNames();
  cmd->add_option("A", o->a, "the first run's JSON Lines (- for standard input)")
      ->type_name("FILE")
      ->required();
  cmd->add_option("B", o->b, "the second run's JSON Lines (- for standard input)")
      ->type_name("FILE")
      ->required();
  cmd->add_flag("--ignore-time", o->ignoreTime, "do not compare times");
  cmd->add_option("--only", o->only, "compare only these kinds of event")
      ->delimiter(',')
      ->check(CLI::IsMember(kinds));
  cmd->add_option("--ignore", o->ignore, "leave these kinds of event out")
      ->delimiter(',')
      ->check(CLI::IsMember(kinds));
  cmd->add_option("-U,--context", o->context, "equal events shown around a difference")
      ->type_name("N")
      ->check(CLI::Range(0, 1000))
      ->capture_default_str();
  cmd->add_option("--max", o->max, "differences shown; the rest are counted")
      ->type_name("N")
      ->check(CLI::Range(0, 1000000000))
      ->capture_default_str();
  cmd->add_flag("-q,--quiet", o->quiet, "print nothing: the exit code tells");
  cmd->footer(
      "\nExamples:\n"
      "  nexhost run --json examples/connected-rssi.json > before.jsonl\n"
      "  nexhost --plugin new/libmdxwifi.so run --json examples/connected-rssi.json \\\n"
      "    | nexhost diff before.jsonl -\n"
      "  nexhost diff --ignore-time --ignore log live.jsonl replay.jsonl\n"
      "\nEach group of differences starts with \"@@ -LINE +LINE @@\", the lines of its\n"
      "first difference in A and B; equal events around it are indented by two spaces, A's\n"
      "events prefixed \"-\", B's \"+\", and under a changed event come the keys that\n"
      "differ, a modem message's fields named under the message\n"
      "(wifi_meas_report.bss_info[0].rssi: -44 -> -48). Events are paired in order; an event\n"
      "only one run has is found up to 8 events ahead. A line that is not an event stops it\n"
      "with exit code 2, naming the line.\n");
  return [given] { return compareRuns(*given); };
}

}  // namespace nexhost
