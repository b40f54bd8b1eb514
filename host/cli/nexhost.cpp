// nexhost: the host framework on Linux. Loads the plug-in as the handset does and shows
// every message it sends to the modem, replaying a scenario on a virtual clock or
// driving a live wpa_supplicant.
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "DiffCommand.h"
#include "Manual.h"
#include "NexhostVersion.h"
#include "Progress.h"
#include "UsageError.h"
#include "events/EventLines.h"
#include "events/EventPrinter.h"
#include "framework/Host.h"
#include "framework/Plugin.h"
#include "io/RegularFile.h"
#include "live/LiveRunner.h"
#include "live/LiveSupplicant.h"
#include "modem/RecordDump.h"
#include "modem/Records.h"
#include "output/OutputFile.h"
#include "output/StandardOutput.h"
#include "report/Report.h"
#include "scenario/Recording.h"
#include "scenario/Scenario.h"
#include "scenario/ScenarioRunner.h"
#include "scenario/SessionRecorder.h"
#include "text/ByteText.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

// The handset's hostapd control directory, as the plug-in names it in its command lines.
constexpr const char* kHandsetHostapdCtrl = "/data/vendor/wifi/hostapd/ctrl";

// The plug-in's log levels by name (--log-level takes either). 5 prints none.
const std::vector<std::pair<std::string, int>> kLogLevels = {
    {"trace", 0}, {"debug", 1}, {"info", 2}, {"warn", 3}, {"error", 4}, {"none", 5}};

const std::set<std::string> kKinds = {"step",    "result", "modem",  "supplicant",
                                      "hostapd", "timer",  "engine", "log"};

struct OutputOptions {
  bool json = false;
  bool quiet = false;
  int logLevel = 3;
  std::vector<std::string> only;
  std::string report;
};

struct LiveOptions {
  std::string stationSocket;  // given, or ctrlDir/interface as wpa_cli makes it
  std::string ctrlDir = "/var/run/wpa_supplicant";
  std::string interface = "wlan0";
  std::string p2pSocket;
  int timeoutMs = 3000;
  std::string scenario;
  std::optional<long long> duration;
  int chipset = 0;
  std::string hostapdCtrl;
  std::vector<std::string> replacements;
  std::string record;
  nexhost::MeasurementOptions request;
  std::string ssid;
  std::optional<int32_t> sampling;
  std::optional<int32_t> reporting;
  std::optional<float> alpha;
};

const char* kDescription =
    "nexhost loads the Wi-Fi measurement plug-in (libmdxwifi.so) the way the handset's\n"
    "framework does (dlopen, init, initializeLinks) and prints, in order and with its time,\n"
    "everything the plug-in does to its host: modem messages decoded field by field,\n"
    "supplicant commands and scan filters, hostapd_cli command lines, timers, decision-engine\n"
    "registrations and log lines. decode prints records taken from a modem log the same way.\n"
    "Every text it prints, text or JSON, is ASCII: a byte outside printable ASCII, and the\n"
    "backslash, prints as \\xNN, so the exact bytes can always be read back.";

// The top-level help's examples and exit codes; the manual page has them as sections.
const char* kExamples =
    "  nexhost run examples/scan-bss-load.json\n"
    "  nexhost run --json examples/default-profile.json | jq 'select(.kind==\"modem\")'\n"
    "  nexhost live --sta-socket /var/run/wpa_supplicant/wlan0 --ssid any --bss-load\n"
    "  nexhost run --report run.html examples/connected-rssi.json\n"
    "  nexhost decode --json < records-from-a-modem-log.txt\n"
    "  nexhost diff --ignore-time live.jsonl replay.jsonl\n";
const char* kExitCodes =
    "  0  done (a live run also ends with 0 after Ctrl-C); diff: the runs are equal\n"
    "  1  the plug-in cannot be loaded, a control socket cannot be reached,\n"
    "     wpa_supplicant went away, or an output could not be written; diff: the runs\n"
    "     differ\n"
    "  2  invalid command line or scenario, or an output refused (nothing has run), or\n"
    "     bad input to decode, report or diff\n";
// What happens to the files nexhost writes; the manual page has it as a section.
const char* kOutputFiles =
    "Output files (--report, --record, -o) are written under a temporary name beside the\n"
    "file and renamed over it only once complete: a run that fails, is cut or is killed\n"
    "leaves an existing file as it was. An existing file keeps its permissions; a symbolic\n"
    "link is followed (the file it points to is replaced, the link kept). Refused with exit\n"
    "code 2 before anything runs: an output that is the same file as an input or as another\n"
    "output, and one that is neither a regular file nor a new name (a device, a FIFO, a\n"
    "directory). A failed write, standard output's included, is exit code 1. A reader of\n"
    "standard output that stops reading (head, grep -m1) ends the output quietly with exit\n"
    "code 0; a live run then stops every request and writes its files, as on SIGTERM.\n";

// The plug-in nexhost loads unless --plugin names one.
std::string defaultPlugin() {
  const char* path = std::getenv("NEXHOST_PLUGIN");
  return path != nullptr && *path != '\0' ? path : nexhost::Plugin::besideHostLibrary();
}

// nexhost --help-man SECTIONS and --help-completion: the manual page (with the hand-written
// roff SECTIONS file) and the bash completion, written at build time from this command
// line itself. Hidden from --help.
void addDocumentationWriters(CLI::App& app) {
  app.add_option_function<std::string>("--help-man",
                                       [&app](const std::string& sectionsFile) {
                                         std::ifstream in(sectionsFile);
                                         std::ostringstream sections;
                                         sections << in.rdbuf();
                                         if (!in) throw CLI::FileError::Missing(sectionsFile);
                                         nexhost::ManualTexts texts{
                                             NEXHOST_VERSION " (" NEXHOST_COMMIT ")", NEXHOST_DATE,
                                             kExamples, kExitCodes, sections.str()};
                                         std::fputs(nexhost::manPage(app, texts).c_str(), stdout);
                                         throw CLI::Success();
                                       })
      ->group("");
  app.add_flag_callback(
         "--help-completion",
         [&app] {
           std::vector<std::string> logLevels;
           for (const auto& level : kLogLevels) logLevels.push_back(level.first);
           std::vector<std::string> recordTypes;
           for (const nexhost::RecordKind& kind : nexhost::recordKinds()) {
             recordTypes.push_back(kind.name);
           }
           std::fputs(nexhost::bashCompletion(app, {{"--only", {kKinds.begin(), kKinds.end()}},
                                                    {"--ignore", {kKinds.begin(), kKinds.end()}},
                                                    {"--log-level", logLevels},
                                                    {"--type", recordTypes}})
                          .c_str(),
                      stdout);
           throw CLI::Success();
         })
      ->group("");
}

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
            for (const auto& [name, level] : kLogLevels) {
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
      ->check(CLI::IsMember(kKinds));
  command
      ->add_option("--report", out->report,
                   "also write a one-file HTML report: RSSI and average charts per "
                   "measurement, WQE profile verdicts, the event timeline")
      ->type_name("FILE");
}

// The first failed write to standard output (an errno; 0: none): the exit status says it.
int standardOutputError = 0;

void noteOutputFailure(int error) { standardOutputError = error; }

// A live session whose output fails stops as on SIGTERM: its requests are stopped, and its
// recording and report still written.
void noteOutputFailureAndStop(int error) {
  standardOutputError = error;
  nexhost::LiveRunner::requestStop();
}

std::unique_ptr<nexhost::EventPrinter> makePrinter(bool json, void (*onFailure)(int)) {
  auto printer = std::make_unique<nexhost::EventPrinter>(
      stdout,
      json ? nexhost::EventPrinter::Format::kJsonLines : nexhost::EventPrinter::Format::kText);
  printer->setOnWriteFailure(onFailure);
  return printer;
}

// Refuses, before anything runs, an output that would replace an input or another output,
// and asks for a file where standard output already carries the events.
bool checkOutputs(const std::vector<nexhost::NamedPath>& inputs,
                  const std::vector<nexhost::NamedPath>& outputs, bool eventsOnStandardOutput) {
  std::string error;
  for (const nexhost::NamedPath& output : outputs) {
    if (eventsOnStandardOutput && output.path == "-") {
      std::fprintf(stderr, "nexhost: %s: standard output carries the events; give a file\n",
                   output.name.c_str());
      return false;
    }
  }
  if (nexhost::checkDistinctOutputs(inputs, outputs, &error)) return true;
  std::fprintf(stderr, "nexhost: %s\n", error.c_str());
  return false;
}

// One host: its output hooked up, the plug-in loaded and handed its links.
struct Session {
  std::unique_ptr<nexhost::Plugin> plugin;
  std::unique_ptr<nexhost::EventPrinter> printer;
  std::unique_ptr<nexhost::ReportFile> report;
  std::unique_ptr<nexhost::Progress> progress;  // a replay's, on a terminal
};

// --report: the file is opened before anything runs, so that a path that cannot be
// written is refused with exit code 2. An earlier report stays until the new one is done.
bool openReport(const OutputOptions& out, const std::string& source, Session* session) {
  if (out.report.empty()) return true;
  std::string error;
  session->report = nexhost::ReportFile::open(out.report, "--report", source, &error);
  if (!session->report) std::fprintf(stderr, "nexhost: %s\n", error.c_str());
  return session->report != nullptr;
}

// The report takes every event as it happens, beside the printer (which filters its own).
void attachSession(nexhost::Trace& trace, Session* session) {
  trace.addObserver(
      [](const nexhost::Event& e, void* context) {
        auto* s = static_cast<Session*>(context);
        // The progress line steps aside for what prints, and comes back below it.
        if (s->progress && s->printer->prints(e.kind)) s->progress->clear();
        s->printer->print(e);
        if (s->report) s->report->add(e);
        if (s->progress) s->progress->at(e.time);
      },
      session);
}
// Writes the report once the run has ended, whatever its outcome.
int finishReport(Session& session, int status) {
  std::string error;
  if (session.report && !session.report->write(&error)) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return status == kExitOk ? kExitFailure : status;
  }
  return status;
}

// nexhost report RUN.jsonl -o FILE.html [--compare OTHER.jsonl]: the report of a saved
// --json run, with another run's series drawn on its charts.
int reportCommand(const std::string& input, const std::string& output, const std::string& compare) {
  std::vector<nexhost::NamedPath> inputs = {{"the run", input}};
  if (!compare.empty()) inputs.push_back({"--compare", compare});
  if (!checkOutputs(inputs, {{"-o", output}}, false)) return kExitUsage;
  if (input == "-" && compare == "-") {
    std::fprintf(stderr, "nexhost: report: only one of the runs can be standard input\n");
    return kExitUsage;
  }
  nexhost::SavedRun run;
  nexhost::SavedRun comparedRun;
  std::string error;
  if (!run.open(input, &error) || (!compare.empty() && !comparedRun.open(compare, &error))) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return kExitUsage;
  }
  std::unique_ptr<nexhost::ReportFile> report =
      nexhost::ReportFile::open(output, "-o", input, &error);
  if (!report) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return kExitUsage;
  }
  if (!compare.empty()) {
    // Only its charts are drawn: it keeps no timeline.
    nexhost::RunReport::Limits limits;
    limits.timelineBytes = 0;
    auto compared = std::make_unique<nexhost::RunReport>(limits);
    if (!nexhost::addJsonLines(comparedRun.stream(), comparedRun.name(), compared.get(), &error)) {
      std::fprintf(stderr, "nexhost: invalid run: %s\n", error.c_str());
      return kExitUsage;
    }
    const std::string& name = comparedRun.name();
    report->report().compareWith(std::move(compared), name.substr(name.rfind('/') + 1));
  }
  if (!nexhost::addJsonLines(run.stream(), run.name(), &report->report(), &error)) {
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

// nexhost decode: modem records as hex, one per argument or line of standard input.
constexpr std::size_t kMaxDecodeLineBytes = 64 * 1024;  // a start indication is 12,368 digits
constexpr std::size_t kMaxDecodeRecords = 100000;

struct DecodeOptions {
  bool json = false;
  std::string type;
  std::vector<std::string> records;
};

// For --help: each type with its size, one per line.
std::string recordTypesTable() {
  std::string table;
  for (const nexhost::RecordKind& kind : nexhost::recordKinds()) {
    char line[80];
    std::snprintf(line, sizeof line, "  %-28s %5zu\n", kind.name, kind.size);
    table += line;
  }
  return table;
}

// A record as the modem event a run prints for it.
nexhost::Event modemEvent(const nexhost::RecordBytes& record) {
  const std::vector<uint8_t>& bytes = record.bytes;
  return nexhost::Event{0, "modem",
                        nexhost::Json{{"message", record.kind->name},
                                      {"fields", record.kind->decode(bytes.data(), bytes.size())},
                                      {"bytes", nexhost::hexText(bytes.data(), bytes.size())}}};
}

// The next line of `in` without its newline; false at the end. A line past `limit` bytes
// sets `tooLong` (the rest of it is not read).
bool readLine(std::FILE* in, std::size_t limit, std::string* line, bool* tooLong) {
  line->clear();
  *tooLong = false;
  int c = 0;
  while ((c = std::fgetc(in)) != EOF && c != '\n') {
    if (line->size() == limit) {
      *tooLong = true;
      return true;
    }
    line->push_back(static_cast<char>(c));
  }
  return c != EOF || !line->empty();
}

int decodeCommand(const DecodeOptions& options) {
  const nexhost::RecordKind* defaultKind = nullptr;
  if (!options.type.empty()) {
    defaultKind = nexhost::recordKindNamed(options.type);
    if (defaultKind == nullptr) {
      std::fprintf(stderr, "nexhost: --type: unknown record type \"%s\" (known: %s)\n",
                   nexhost::printableBytes(options.type).c_str(),
                   nexhost::recordKindNames().c_str());
      return kExitUsage;
    }
  }
  std::unique_ptr<nexhost::EventPrinter> printer = makePrinter(options.json, noteOutputFailure);
  std::size_t records = 0;
  const auto print = [&](const nexhost::RecordBytes& record) {
    if (++records <= kMaxDecodeRecords) printer->print(modemEvent(record));
  };
  const auto tooMany = [&](const std::string& where) {
    if (records <= kMaxDecodeRecords) return false;
    std::fprintf(stderr, "nexhost: decode: %s: more than %zu records\n", where.c_str(),
                 kMaxDecodeRecords);
    return true;
  };
  const bool fromStdin =
      options.records.empty() || (options.records.size() == 1 && options.records[0] == "-");
  // Arguments: one record each.
  for (std::size_t i = 0; !fromStdin && i < options.records.size(); ++i) {
    const std::string where = "argument " + std::to_string(i + 1);
    nexhost::RecordDumpReader reader(defaultKind, print);
    if (!reader.addLine(options.records[i]) || !reader.finish()) {
      std::fprintf(stderr, "nexhost: decode: %s: %s\n", where.c_str(), reader.error().c_str());
      return kExitUsage;
    }
    if (tooMany(where)) return kExitUsage;
  }
  if (!fromStdin) return kExitOk;
  // Standard input: as pasted from a log (one record a line, wrapped, xxd, hexdump -C).
  nexhost::RecordDumpReader reader(defaultKind, print);
  std::string line;
  bool tooLong = false;
  // A reader that went away (or a full disk) ends the reading too.
  for (std::size_t n = 1;
       standardOutputError == 0 && readLine(stdin, kMaxDecodeLineBytes, &line, &tooLong); ++n) {
    const std::string where = "standard input line " + std::to_string(n);
    if (tooLong) {
      std::fprintf(stderr, "nexhost: decode: %s: longer than %zu bytes\n", where.c_str(),
                   kMaxDecodeLineBytes);
      return kExitUsage;
    }
    if (!reader.addLine(line)) {
      std::fprintf(stderr, "nexhost: decode: standard input %s: %s\n", reader.where().c_str(),
                   reader.error().c_str());
      return kExitUsage;
    }
    if (tooMany(where)) return kExitUsage;
  }
  if (!reader.finish()) {
    std::fprintf(stderr, "nexhost: decode: standard input %s: %s\n", reader.where().c_str(),
                 reader.error().c_str());
    return kExitUsage;
  }
  if (tooMany("standard input")) return kExitUsage;
  return kExitOk;
}

bool startSession(nexhost::Host& host, const std::string& pluginPath, const OutputOptions& out,
                  void (*onOutputFailure)(int), Session* session) {
  session->printer = makePrinter(out.json, onOutputFailure);
  session->printer->setKinds(std::set<std::string>(out.only.begin(), out.only.end()));
  session->printer->setSilent(out.quiet);
  attachSession(host.trace, session);
  host.logger.setTraceLevel(out.logLevel);
  std::string error;
  session->plugin = nexhost::Plugin::load(pluginPath, &error);
  if (!session->plugin) {
    std::fprintf(stderr, "nexhost: cannot load the plug-in: %s\n", error.c_str());
    return false;
  }
  nexhost::initializeLinks(host, *session->plugin->manager());
  return true;
}

int runCommand(const std::string& pluginPath, const std::string& file, const OutputOptions& out) {
  if (!checkOutputs({{"the scenario", file}}, {{"--report", out.report}}, true)) return kExitUsage;
  nexhost::Scenario scenario;
  try {
    scenario = nexhost::loadScenario(file);
  } catch (const nexhost::ScenarioError& e) {
    std::fprintf(stderr, "nexhost: invalid scenario: %s\n", e.what());
    return kExitUsage;
  }
  Session session;  // outlives the host, whose trace prints through it
  if (!openReport(out, file, &session)) return kExitUsage;
  nexhost::Host host;
  nexhost::applyPeers(host, scenario.peers);
  if (!startSession(host, pluginPath, out, noteOutputFailure, &session)) return kExitFailure;
  session.printer->setFlushEachEvent(false);
  session.progress = std::make_unique<nexhost::Progress>(scenario.end(), !out.json);
  // A run whose output fails still runs to its end: the report shows all of it.
  nexhost::runScenario(host, *session.plugin->manager(), scenario);
  session.progress.reset();
  return finishReport(session, kExitOk);
}

int liveCommand(const std::string& pluginPath, LiveOptions options, const OutputOptions& out) {
  if (options.stationSocket.empty()) {
    options.stationSocket = options.ctrlDir + "/" + options.interface;
  }
  if (!checkOutputs({{"--scenario", options.scenario}},
                    {{"--record", options.record}, {"--report", out.report}}, true)) {
    return kExitUsage;
  }
  std::vector<nexhost::ScenarioStep> steps;
  std::optional<long long> endAt = options.duration;
  nexhost::ScenarioPeers peers;
  try {
    if (!options.ssid.empty()) {
      options.request.ssid = options.ssid;
      options.request.samplingInterval = options.sampling;
      options.request.reportingInterval = options.reporting;
      options.request.alpha = options.alpha;
      steps.push_back(nexhost::measurementStep(options.request));
    }
    if (!options.scenario.empty()) {
      nexhost::Scenario scenario = nexhost::loadScenario(options.scenario);
      peers = scenario.peers;
      steps.insert(steps.end(), scenario.steps.begin(), scenario.steps.end());
      // A scenario ends with its last step unless a duration is given.
      if (!endAt && options.ssid.empty()) endAt = scenario.end();
    }
  } catch (const nexhost::ScenarioError& e) {
    std::fprintf(stderr, "nexhost: invalid %s: %s\n",
                 options.scenario.empty() ? "request" : "scenario", e.what());
    return kExitUsage;
  }
  if (steps.empty() && !options.duration) {
    std::fprintf(stderr, "nexhost: nothing to do: give --ssid, --scenario or --duration\n");
    return kExitUsage;
  }
  std::stable_sort(
      steps.begin(), steps.end(),
      [](const nexhost::ScenarioStep& a, const nexhost::ScenarioStep& b) { return a.at < b.at; });

  Session session;  // outlives the host, whose trace prints through it
  if (!openReport(out, "live " + options.stationSocket, &session)) return kExitUsage;
  nexhost::LiveSupplicant* supplicant = nullptr;
  nexhost::Host host([&](nexhost::Host& h) {
    auto live = std::make_unique<nexhost::LiveSupplicant>(
        h.trace, nexhost::LiveSupplicant::Options{options.stationSocket, options.p2pSocket,
                                                  options.timeoutMs});
    supplicant = live.get();
    return live;
  });
  std::string error;
  std::unique_ptr<nexhost::SessionRecorder> recorder;
  if (!options.record.empty()) {
    recorder = std::make_unique<nexhost::SessionRecorder>(host.clock, options.record, stderr);
    if (!recorder->open(&error)) {
      std::fprintf(stderr, "nexhost: %s\n", error.c_str());
      return kExitUsage;
    }
  }
  if (!supplicant->open(&error)) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return kExitFailure;
  }
  nexhost::applyPlatform(host, peers);
  if (options.chipset != 0) host.platform.chipsetType = options.chipset;
  auto forkRunner = std::make_unique<nexhost::RealForkRunner>();
  if (!options.hostapdCtrl.empty()) {
    forkRunner->replacements.emplace_back(kHandsetHostapdCtrl, options.hostapdCtrl);
  }
  for (const std::string& r : options.replacements) {
    const std::size_t eq = r.find('=');
    forkRunner->replacements.emplace_back(r.substr(0, eq), r.substr(eq + 1));
  }
  host.platform.forkRunner = std::move(forkRunner);
  if (recorder) {
    nexhost::recordSession(host, *recorder);
    recorder->setDescription("nexhost live session with the wpa_supplicant at " +
                             nexhost::printableBytes(options.stationSocket) + ", recorded");
    recorder->setPlatform(host.platform, host.enginePresent());
  }
  // Before the first event prints: a reader gone by then stops the session as it starts.
  nexhost::LiveRunner::installSignalHandlers();
  if (!startSession(host, pluginPath, out, noteOutputFailureAndStop, &session)) {
    return kExitFailure;
  }
  nexhost::LiveRunner runner(host, *session.plugin->manager(), *supplicant);
  runner.setRecorder(recorder.get());
  int status = kExitOk;
  if (runner.run(steps, endAt) == nexhost::LiveRunner::Outcome::kSupplicantGone) {
    std::fprintf(stderr, "nexhost: wpa_supplicant at %s went away: %s; every request stopped\n",
                 nexhost::printableBytes(options.stationSocket).c_str(),
                 supplicant->goneReason().c_str());
    status = kExitFailure;
  }
  // The recording is written whatever ended the session: a replay shows how it went.
  if (recorder && !recorder->write(&error)) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    status = kExitFailure;
  }
  return finishReport(session, status);
}

}  // namespace

namespace {

// The command line parsed and run; the exit status.
int runNexhost(int argc, char** argv) {
  CLI::App app{kDescription, "nexhost"};
  app.footer(std::string("\nExamples:\n") + kExamples + "\nExit codes:\n" + kExitCodes + "\n" +
             kOutputFiles +
             "\nScenario format and output keys: docs/scenarios.md (installed in\n"
             "/usr/share/doc/nexhost/), or man nexhost.\n");
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("-V,--version",
                       "nexhost " NEXHOST_VERSION " (" NEXHOST_COMMIT ", " NEXHOST_DATE ")");
  std::string pluginPath = defaultPlugin();
  app.add_option("--plugin", pluginPath,
                 "the plug-in to load (default: $NEXHOST_PLUGIN, else the libmdxwifi.so "
                 "beside libnex.so: the build's, or ../lib/<arch>/nexhost/ from the installed "
                 "nexhost)")
      ->type_name("FILE");

  OutputOptions runOutput;
  std::string scenarioFile;
  CLI::App* run = app.add_subcommand(
      "run", "Replay a scenario on a virtual clock with scripted peers and print what happens.");
  run->add_option("SCENARIO", scenarioFile,
                  "the scenario file (JSON; - for standard input, or a pipe)")
      ->type_name("FILE")
      ->required();
  addOutputOptions(run, &runOutput);
  run->footer(
      "\nExample:\n"
      "  nexhost run examples/scan-bss-load.json\n"
      "  nexhost run --json --only modem examples/connected-rssi.json | jq .fields\n"
      "\nTimes are host timer units on a virtual clock; nothing waits. An invalid scenario\n"
      "is refused with exit code 2, naming the file, the JSON path and what was expected.\n"
      "\nAn indication step may give the modem record's exact bytes instead of its fields\n"
      "(\"record\": \"<hex>\", examples/raw-records.json); SSIDs, replies and other texts\n"
      "take any byte as \\xNN. Timer fires are timer events, chipset queries hostapd events.\n");

  OutputOptions liveOutput;
  LiveOptions live;
  CLI::App* liveCmd = app.add_subcommand(
      "live",
      "Run the plug-in in real time against a running wpa_supplicant (and hostapd_cli).\n"
      "One host timer unit is one second. Ctrl-C stops every request and exits.");
  CLI::Option* ctrlDir =
      liveCmd
          ->add_option("-p,--ctrl-dir", live.ctrlDir,
                       "wpa_supplicant's control directory (its ctrl_interface), as wpa_cli -p")
          ->type_name("DIR")
          ->capture_default_str();
  CLI::Option* interface =
      liveCmd
          ->add_option("-i,--interface", live.interface,
                       "the station's interface, whose control socket is DIR/IFACE, as wpa_cli -i")
          ->type_name("IFACE")
          ->capture_default_str();
  liveCmd
      ->add_option("--sta-socket", live.stationSocket,
                   "the station's control socket, in place of -p and -i")
      ->type_name("PATH")
      ->excludes(ctrlDir)
      ->excludes(interface);
  liveCmd
      ->add_option("--p2p-socket", live.p2pSocket,
                   "the P2P interface's control socket (default: none)")
      ->type_name("PATH");
  liveCmd
      ->add_option("--ctrl-timeout", live.timeoutMs,
                   "reply timeout of a control request (ms); a supplicant that leaves PING "
                   "unanswered this long is taken as gone")
      ->check(CLI::Range(1, 600000))
      ->capture_default_str();
  liveCmd
      ->add_option("--scenario", live.scenario,
                   "run this scenario's steps in real time (only its chipset, engine and "
                   "operators peers apply)")
      ->type_name("FILE");
  liveCmd->add_option("--ssid", live.ssid,
                      "start a measurement of this network: a name, \"any\" or \"connected\" "
                      "(connected mode: averaged RSSI of the current link)");
  liveCmd->add_option("--bssid", live.request.bssids,
                      "an access point of interest (repeatable; default: any)");
  liveCmd
      ->add_option("--channel", live.request.channels,
                   "a channel code for every BSSID (repeatable): 1 = 2.4 GHz band, "
                   "2 = 3.6 GHz band, 3 = 5 GHz band, 65535 = any (default), else MHz")
      ->check(CLI::Range(0, 65535));
  liveCmd->add_flag("--bss-load", live.request.bssLoad, "also measure BSS load");
  liveCmd->add_option("--id", live.request.id, "the measurement id")->capture_default_str();
  liveCmd->add_option("--sampling", live.sampling, "RSSI sampling interval in seconds");
  liveCmd->add_option("--reporting", live.reporting, "reporting interval in seconds");
  liveCmd->add_option("--alpha", live.alpha, "weight of the previous RSSI average (0 < alpha < 1)");
  liveCmd->add_option("--duration", live.duration, "stop after this many seconds")
      ->check(CLI::Range(0LL, 1000000000LL));
  liveCmd->add_option("--chipset", live.chipset, "the WLAN chipset type the host reports");
  liveCmd
      ->add_option("--hostapd-ctrl", live.hostapdCtrl,
                   "this machine's hostapd control directory, used in place of the "
                   "handset's in hostapd_cli command lines")
      ->type_name("DIR");
  liveCmd
      ->add_option("--replace", live.replacements,
                   "FROM=TO: replace text in every command line before running it")
      ->check([](const std::string& v) {
        return v.find('=') == std::string::npos || v.find('=') == 0
                   ? std::string("expected FROM=TO")
                   : std::string();
      });
  liveCmd
      ->add_option("--record", live.record,
                   "also write the session as a scenario that nexhost run replays: every "
                   "supplicant reply and hostapd_cli result as received, the steps and "
                   "scan-results events at their times, the chipset, engine and operators")
      ->type_name("FILE");
  addOutputOptions(liveCmd, &liveOutput);
  liveCmd->footer(
      "\nExamples:\n"
      "  nexhost live --ssid any --bss-load --reporting 10\n"
      "  nexhost live -p /run/wpa_supplicant -i wlan1 --ssid connected\n"
      "  nexhost live --ssid connected --sampling 1 --reporting 5 --alpha 0.8\n"
      "  nexhost live --ssid LabNet --bssid 02:00:00:00:00:00 --channel 1 --duration 60\n"
      "  nexhost live --scenario examples/default-profile.json --hostapd-ctrl /var/run/hostapd\n"
      "  nexhost live --ssid any --duration 30 --record session.json; nexhost run session.json\n"
      "\n--record FILE writes the session as a scenario (docs/scenarios.md): nexhost run FILE\n"
      "then sends the modem the same messages, byte for byte, with the same events at the same\n"
      "times (a timer that fired late in the session fires on time in the replay). A session\n"
      "that outgrows what a scenario may hold (16 MiB, 10,000 replies to one command, ...) is\n"
      "recorded up to there, with a warning; the run goes on. A FILE that cannot be written\n"
      "is refused before the run (exit code 2); an earlier FILE stays until the new recording\n"
      "replaces it, whole, as the session ends.\n"
      "\nThe BSSID filter becomes \"SET bssid_filter\" (cleared when it names the broadcast\n"
      "BSSID); channel codes become \"SCAN freq=...\" (1 -> 2400-2500, 2 -> 3650-3700,\n"
      "3 -> 5150-5895, 65535 -> no restriction, other codes are MHz, empty items skipped).\n"
      "\nA missing socket or a denied permission exits with code 1. So does a supplicant\n"
      "that goes away during the run (it terminates, its socket refuses commands, or it\n"
      "leaves PING unanswered for --ctrl-timeout): every request is stopped first.\n"
      "Ctrl-C, SIGTERM, --duration and a reader of standard output that goes away end the\n"
      "run within a second, even while a command waits for its reply.\n");

  std::string reportInput;
  std::string reportOutput;
  CLI::App* reportCmd =
      app.add_subcommand("report", "Write the one-file HTML report of a run saved with --json.");
  reportCmd->add_option("RUN", reportInput, "the run's JSON Lines (- for standard input)")
      ->type_name("FILE")
      ->required();
  reportCmd->add_option("-o,--output", reportOutput, "the HTML file to write")
      ->type_name("FILE")
      ->required();
  std::string reportCompare;
  reportCmd
      ->add_option("--compare", reportCompare,
                   "draw this saved run's series on the same charts too (another plug-in "
                   "build, a live session against its replay)")
      ->type_name("FILE");
  reportCmd->footer(
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

  nexhost::DiffCommand diffOptions;
  CLI::App* diffCmd = nexhost::addDiffCommand(app, kKinds, &diffOptions);

  DecodeOptions decodeOptions;
  CLI::App* decodeCmd = app.add_subcommand(
      "decode", "Decode modem records given as hex, with the same output as a run's modem events.");
  decodeCmd->add_option("RECORD", decodeOptions.records,
                        "a record as hex, optionally prefixed TYPE: (default, or -: records "
                        "from standard input, as pasted from a log)");
  decodeCmd->add_option("--type", decodeOptions.type, "the records' type, where no TYPE: names it");
  decodeCmd->add_flag("--json", decodeOptions.json,
                      "JSON Lines: one modem event per record, as run --json prints it");
  decodeCmd->footer(
      "\nExamples:\n"
      "  nexhost decode STOP:07000000\n"
      "  nexhost decode --type wqe_profile_quality_status < records.txt\n"
      "  xxd record.bin | nexhost decode\n"
      "  nexhost run --json --only modem examples/connected-rssi.json | jq -r .bytes \\\n"
      "    | nexhost decode --json\n"
      "\nA record is hex digits in pairs, either case, with spaces or tabs allowed between\n"
      "pairs. Standard input takes what a log shows: one record a line; records wrapped\n"
      "over lines of one width (a shorter line, a wider one or a blank line ends a record,\n"
      "and the sizes split the lines into records); xxd and hexdump -C dumps (one dump is\n"
      "one record, or records of the type named). A record's type is, in this order: its\n"
      "TYPE: (any case; alone on a line, it names the lines below), --type, or the one type\n"
      "whose records have the record's length.\n"
      "Types and their sizes in bytes:\n" +
      recordTypesTable() +
      "Texts print in the one escape form of every nexhost output: bytes outside printable\n"
      "ASCII, and the backslash, as \\xNN.\n"
      "\nBad hex, an unknown type, a length that is not the type's size, or lines that make\n"
      "no records stop with one line naming the argument or input lines, how they were read,\n"
      "and exit code 2. At most 100,000 records, each line at most 64 KiB.\n");

  addDocumentationWriters(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::Success& e) {  // --help-man, --help-completion: written already
    return kExitOk;
  } catch (const CLI::ParseError& e) {
    std::fprintf(
        stderr, "%s\n",
        nexhost::usageError(app, std::vector<std::string>(argv + 1, argv + argc), e).c_str());
    return kExitUsage;
  }
  if (run->parsed()) return runCommand(pluginPath, scenarioFile, runOutput);
  if (reportCmd->parsed()) return reportCommand(reportInput, reportOutput, reportCompare);
  if (decodeCmd->parsed()) return decodeCommand(decodeOptions);
  if (diffCmd->parsed()) return nexhost::runDiffCommand(diffOptions);
  return liveCommand(pluginPath, live, liveOutput);
}

}  // namespace

int main(int argc, char** argv) {
  nexhost::catchBrokenPipe();
  nexhost::OutputFile::removeTemporariesOnSignal();
  const int status = runNexhost(argc, argv);
  // Help and version texts, events and reports alike: a failed write is exit status 1.
  return nexhost::finishStandardOutput(status, standardOutputError);
}
