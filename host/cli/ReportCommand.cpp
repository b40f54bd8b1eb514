// nexhost report RUN.jsonl -o FILE.html [--compare OTHER.jsonl]: the report of a run saved
// with --json, with another run's series drawn on its charts.
#include <cerrno>
#include <cstdio>
#include <memory>

#include "Command.h"
#include "Output.h"
#include "events/EventLines.h"
#include "output/OutputFile.h"
#include "report/Report.h"

namespace nexhost {

namespace {

struct ReportOptions {
  std::string input;
  std::string output;
  std::string compare;
};

int writeReport(const ReportOptions& options) {
  const std::string& input = options.input;
  const std::string& output = options.output;
  const std::string& compare = options.compare;
  std::vector<NamedPath> inputs = {{"the run", input}};
  if (!compare.empty()) inputs.push_back({"--compare", compare});
  if (!checkOutputs(inputs, {{"-o", output}}, false)) return kExitUsage;
  if (input == "-" && compare == "-") {
    std::fprintf(stderr, "nexhost: report: only one of the runs can be standard input\n");
    return kExitUsage;
  }
  SavedRun run;
  SavedRun comparedRun;
  std::string error;
  if (!run.open(input, &error) || (!compare.empty() && !comparedRun.open(compare, &error))) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return kExitUsage;
  }
  std::unique_ptr<ReportFile> report = ReportFile::open(output, "-o", run.name(), &error);
  if (!report) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return kExitUsage;
  }
  if (!compare.empty()) {
    // Only its charts are drawn: it keeps no timeline.
    RunReport::Limits limits;
    limits.timelineBytes = 0;
    auto compared = std::make_unique<RunReport>(limits);
    if (!addJsonLines(comparedRun.stream(), comparedRun.name(), compared.get(), &error)) {
      std::fprintf(stderr, "nexhost: invalid run: %s\n", error.c_str());
      return kExitUsage;
    }
    const std::string& name = comparedRun.name();
    report->report().compareWith(std::move(compared), name.substr(name.rfind('/') + 1));
  }
  if (!addJsonLines(run.stream(), run.name(), &report->report(), &error)) {
    std::fprintf(stderr, "nexhost: invalid run: %s\n", error.c_str());
    return kExitUsage;
  }
  if (!report->write(&error)) {
    if (report->errorNumber() == EPIPE) return kExitOk;  // the reader has read enough
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return kExitFailure;
  }
  return kExitOk;
}

}  // namespace

std::function<int()> defineReport(CLI::App* command, const GlobalOptions&) {
  auto options = std::make_shared<ReportOptions>();
  command->add_option("RUN", options->input, "the run's JSON Lines (- for standard input)")
      ->type_name("FILE")
      ->required();
  command->add_option("-o,--output", options->output, "the HTML file to write")
      ->type_name("FILE")
      ->required();
  command
      ->add_option("--compare", options->compare,
                   "draw this saved run's series on the same charts too (another plug-in "
                   "build, a live session against its replay)")
      ->type_name("FILE");
  command->footer(
      "\nExample:\n"
      "  nexhost run --json examples/connected-rssi.json > run.jsonl\n"
      "  nexhost report run.jsonl -o run.html\n"
      "  nexhost report live.jsonl --compare replay.jsonl -o compared.html\n"
      "\nThe same report as run --report gives. A line that is not an event as run --json\n"
      "writes it (the text output, a key of another type) is refused with exit code 2,\n"
      "naming the line and the key. An existing FILE is replaced only by a complete report;\n"
      "-o - writes it to standard output.\n"
      "\n--compare adds each series of the other run to the chart of the same measurement\n"
      "(client and id) or profile, its label ending in the other run's file name.\n");

  return [options] { return writeReport(*options); };
}

}  // namespace nexhost
