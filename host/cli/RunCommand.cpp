// nexhost run SCENARIO: a scenario replayed on a virtual clock with scripted peers.
#include <cstdio>
#include <memory>

#include "Command.h"
#include "Output.h"
#include "scenario/Scenario.h"
#include "scenario/ScenarioRunner.h"

namespace nexhost {

namespace {

struct RunOptions {
  std::string scenario;
  OutputOptions out;
};

int runScenarioFile(const std::string& pluginPath, const RunOptions& options) {
  const OutputOptions& out = options.out;
  if (!checkOutputs({{"the scenario", options.scenario}}, {{"--report", out.report}}, true)) {
    return kExitUsage;
  }
  Scenario scenario;
  try {
    scenario = loadScenario(options.scenario);
  } catch (const ScenarioError& e) {
    std::fprintf(stderr, "nexhost: invalid scenario: %s\n", e.what());
    return kExitUsage;
  }
  Session session;  // outlives the host, whose trace prints through it
  if (!openReport(out, options.scenario, &session)) return kExitUsage;
  Host host;
  applyPeers(host, scenario.peers);
  if (!startSession(host, pluginPath, out, noteOutputFailure, &session)) return kExitFailure;
  session.printer->setFlushEachEvent(false);
  session.progress = std::make_unique<Progress>(scenario.end(), !out.json);
  // A run whose output fails still runs to its end: the report shows all of it.
  runScenario(host, *session.plugin->manager(), scenario);
  session.progress.reset();
  return finishReport(session, kExitOk);
}

}  // namespace

std::function<int()> defineRun(CLI::App* command, const GlobalOptions& global) {
  auto options = std::make_shared<RunOptions>();
  command
      ->add_option("SCENARIO", options->scenario,
                   "the scenario file (JSON; - for standard input, or a pipe)")
      ->type_name("FILE")
      ->required();
  addOutputOptions(command, &options->out);
  command->footer(
      "\nExample:\n"
      "  nexhost run examples/scan-bss-load.json\n"
      "  nexhost run --json --only modem examples/connected-rssi.json | jq .fields\n"
      "\nTimes are host timer units on a virtual clock; nothing waits. An invalid scenario\n"
      "is refused with exit code 2, naming the file, the JSON path and what was expected.\n"
      "\nAn indication step may give the modem record's exact bytes instead of its fields\n"
      "(\"record\": \"<hex>\", examples/raw-records.json); SSIDs, replies and other texts\n"
      "take any byte as \\xNN. Timer fires are timer events, chipset queries hostapd events.\n");
  return [options, &global] { return runScenarioFile(global.pluginPath, *options); };
}

}  // namespace nexhost
