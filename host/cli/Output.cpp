#include "Output.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <set>

#include "Command.h"
#include "live/LiveRunner.h"
#include "scenario/ScenarioRunner.h"

namespace nexhost {

namespace {

int firstOutputError = 0;

// The report takes every event as it happens, beside the printer (which filters its own).
void attachSession(Trace& trace, Session* session) {
  trace.addObserver(
      [](const Event& e, void* context) {
        auto* s = static_cast<Session*>(context);
        // The progress line steps aside for what prints, and comes back below it.
        if (s->progress && s->printer->prints(e.kind)) s->progress->clear();
        s->printer->print(e);
        if (s->report) s->report->add(e);
        if (s->progress) s->progress->at(e.time);
      },
      session);
}

}  // namespace

void addOutputOptions(CLI::App* command, OutputOptions* out) {
  command->add_flag(
      "--json", out->json,
      "JSON Lines: one object per event with \"time\", \"kind\" and the event's keys (a "
      "modem event's \"bytes\" is the record in hex)");
  command->add_flag("-q,--quiet", out->quiet,
                    "print no events (errors still print; --report is still written)");
  command
      ->add_option("--log-level", out->logLevel,
                   "print plug-in log lines at or above this level: trace (0, parameter dumps "
                   "and entry traces), debug (1), info (2), warn (3), error (4) or none (5)")
      ->type_name("LEVEL")
      ->transform(CLI::Validator(
          [](std::string& value) {
            std::string lower = value;
            std::transform(lower.begin(), lower.end(), lower.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            for (const auto& [name, level] : logLevels()) {
              if (lower == name) value = std::to_string(level);
            }
            if (value.empty() || value.find_first_not_of("0123456789") != std::string::npos) {
              return "expected trace, debug, info, warn, error, none or 0 to 5, got \"" + value +
                     "\"";
            }
            return std::string();
          },
          ""))
      ->check(CLI::Range(0, 5))
      ->capture_default_str();
  command->add_option("--only", out->only, "print only these kinds of event (KIND,KIND,...)")
      ->delimiter(',')
      ->transform(CLI::Validator(
          [](std::string& value) {  // "modem, step": the blank after a comma is no part of it
            const std::size_t first = value.find_first_not_of(" \t");
            value = first == std::string::npos
                        ? ""
                        : value.substr(first, value.find_last_not_of(" \t") - first + 1);
            return std::string();
          },
          ""))
      ->check(CLI::IsMember(eventKindNames()));
  command
      ->add_option("--report", out->report,
                   "also write a one-file HTML report: RSSI and average charts per "
                   "measurement, WQE profile verdicts, the event timeline")
      ->type_name("FILE");
}

int standardOutputError() { return firstOutputError; }

void noteOutputFailure(int error) { firstOutputError = error; }

void noteOutputFailureAndStop(int error) {
  firstOutputError = error;
  LiveRunner::requestStop();
}

std::unique_ptr<EventPrinter> makePrinter(bool json, void (*onFailure)(int)) {
  auto printer = std::make_unique<EventPrinter>(
      stdout, json ? EventPrinter::Format::kJsonLines : EventPrinter::Format::kText);
  printer->setOnWriteFailure(onFailure);
  return printer;
}

bool checkOutputs(const std::vector<NamedPath>& inputs, const std::vector<NamedPath>& outputs,
                  bool eventsOnStandardOutput) {
  std::string error;
  for (const NamedPath& output : outputs) {
    if (eventsOnStandardOutput && output.path == "-") {
      std::fprintf(stderr, "nexhost: %s: standard output carries the events; give a file\n",
                   output.name.c_str());
      return false;
    }
  }
  if (checkDistinctOutputs(inputs, outputs, &error)) return true;
  std::fprintf(stderr, "nexhost: %s\n", error.c_str());
  return false;
}

bool openReport(const OutputOptions& out, const std::string& source, Session* session) {
  if (out.report.empty()) return true;
  std::string error;
  session->report = ReportFile::open(out.report, "--report", source, &error);
  if (!session->report) std::fprintf(stderr, "nexhost: %s\n", error.c_str());
  return session->report != nullptr;
}

bool startSession(Host& host, const std::string& pluginPath, const OutputOptions& out,
                  void (*onOutputFailure)(int), Session* session) {
  session->printer = makePrinter(out.json, onOutputFailure);
  session->printer->setKinds(std::set<std::string>(out.only.begin(), out.only.end()));
  session->printer->setSilent(out.quiet);
  attachSession(host.trace, session);
  host.logger.setTraceLevel(out.logLevel);
  std::string error;
  session->plugin = Plugin::load(pluginPath, &error);
  if (!session->plugin) {
    std::fprintf(stderr, "nexhost: cannot load the plug-in: %s\n", error.c_str());
    return false;
  }
  initializeLinks(host, *session->plugin->manager());
  return true;
}

int finishReport(Session& session, int status) {
  std::string error;
  if (session.report && !session.report->write(&error)) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return status == kExitOk ? kExitFailure : status;
  }
  return status;
}

}  // namespace nexhost
