// nexhost live: the plug-in in real time against a running wpa_supplicant (and
// hostapd_cli), one host timer unit a second.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

#include "Command.h"
#include "Output.h"
#include "live/LiveRunner.h"
#include "live/LiveSupplicant.h"
#include "scenario/Recording.h"
#include "scenario/Scenario.h"
#include "scenario/ScenarioRunner.h"
#include "scenario/SessionRecorder.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

// The handset's hostapd control directory, as the plug-in names it in its command lines.
constexpr const char* kHandsetHostapdCtrl = "/data/vendor/wifi/hostapd/ctrl";

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
  MeasurementOptions request;
  std::string ssid;
  std::optional<int32_t> sampling;
  std::optional<int32_t> reporting;
  std::optional<float> alpha;
  OutputOptions out;
};

int runLive(const std::string& pluginPath, LiveOptions options) {
  const OutputOptions& out = options.out;
  if (options.stationSocket.empty()) {
    options.stationSocket = options.ctrlDir + "/" + options.interface;
  }
  if (!checkOutputs({{"--scenario", options.scenario}},
                    {{"--record", options.record}, {"--report", out.report}}, true)) {
    return kExitUsage;
  }
  std::vector<ScenarioStep> steps;
  std::optional<long long> endAt = options.duration;
  ScenarioPeers peers;
  try {
    if (!options.ssid.empty()) {
      options.request.ssid = options.ssid;
      options.request.samplingInterval = options.sampling;
      options.request.reportingInterval = options.reporting;
      options.request.alpha = options.alpha;
      steps.push_back(measurementStep(options.request));
    }
    if (!options.scenario.empty()) {
      Scenario scenario = loadScenario(options.scenario);
      peers = scenario.peers;
      steps.insert(steps.end(), scenario.steps.begin(), scenario.steps.end());
      // A scenario ends with its last step unless a duration is given.
      if (!endAt && options.ssid.empty()) endAt = scenario.end();
    }
  } catch (const ScenarioError& e) {
    std::fprintf(stderr, "nexhost: invalid %s: %s\n",
                 options.scenario.empty() ? "request" : "scenario", e.what());
    return kExitUsage;
  }
  if (steps.empty() && !options.duration) {
    std::fprintf(stderr, "nexhost: nothing to do: give --ssid, --scenario or --duration\n");
    return kExitUsage;
  }
  std::stable_sort(steps.begin(), steps.end(),
                   [](const ScenarioStep& a, const ScenarioStep& b) { return a.at < b.at; });

  Session session;  // outlives the host, whose trace prints through it
  if (!openReport(out, "live " + options.stationSocket, &session)) return kExitUsage;
  LiveSupplicant* supplicant = nullptr;
  Host host([&](Host& h) {
    auto live = std::make_unique<LiveSupplicant>(
        h.trace,
        LiveSupplicant::Options{options.stationSocket, options.p2pSocket, options.timeoutMs});
    supplicant = live.get();
    return live;
  });
  std::string error;
  std::unique_ptr<SessionRecorder> recorder;
  if (!options.record.empty()) {
    recorder = std::make_unique<SessionRecorder>(host.clock, options.record, stderr);
    if (!recorder->open(&error)) {
      std::fprintf(stderr, "nexhost: %s\n", error.c_str());
      return kExitUsage;
    }
  }
  if (!supplicant->open(&error)) {
    std::fprintf(stderr, "nexhost: %s\n", error.c_str());
    return kExitFailure;
  }
  applyPlatform(host, peers);
  if (options.chipset != 0) host.platform.chipsetType = options.chipset;
  auto forkRunner = std::make_unique<RealForkRunner>();
  if (!options.hostapdCtrl.empty()) {
    forkRunner->replacements.emplace_back(kHandsetHostapdCtrl, options.hostapdCtrl);
  }
  for (const std::string& r : options.replacements) {
    const std::size_t eq = r.find('=');
    forkRunner->replacements.emplace_back(r.substr(0, eq), r.substr(eq + 1));
  }
  host.platform.forkRunner = std::move(forkRunner);
  if (recorder) {
    recordSession(host, *recorder);
    recorder->setDescription("nexhost live session with the wpa_supplicant at " +
                             printableBytes(options.stationSocket) + ", recorded");
    recorder->setPlatform(host.platform, host.enginePresent());
  }
  // Before the first event prints: a reader gone by then stops the session as it starts.
  LiveRunner::installSignalHandlers();
  if (!startSession(host, pluginPath, out, noteOutputFailureAndStop, &session)) {
    return kExitFailure;
  }
  LiveRunner runner(host, *session.plugin->manager(), *supplicant);
  runner.setRecorder(recorder.get());
  int status = kExitOk;
  if (runner.run(steps, endAt) == LiveRunner::Outcome::kSupplicantGone) {
    std::fprintf(stderr, "nexhost: wpa_supplicant at %s went away: %s; every request stopped\n",
                 printableBytes(options.stationSocket).c_str(), supplicant->goneReason().c_str());
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

std::function<int()> defineLive(CLI::App* command, const GlobalOptions& global) {
  auto options = std::make_shared<LiveOptions>();
  CLI::Option* ctrlDir =
      command
          ->add_option("-p,--ctrl-dir", options->ctrlDir,
                       "wpa_supplicant's control directory (its ctrl_interface), as wpa_cli -p")
          ->type_name("DIR")
          ->capture_default_str();
  CLI::Option* interface =
      command
          ->add_option("-i,--interface", options->interface,
                       "the station's interface, whose control socket is DIR/IFACE, as wpa_cli -i")
          ->type_name("IFACE")
          ->capture_default_str();
  command
      ->add_option("--sta-socket", options->stationSocket,
                   "the station's control socket, in place of -p and -i")
      ->type_name("PATH")
      ->excludes(ctrlDir)
      ->excludes(interface);
  command
      ->add_option("--p2p-socket", options->p2pSocket,
                   "the P2P interface's control socket (default: none)")
      ->type_name("PATH");
  command
      ->add_option("--ctrl-timeout", options->timeoutMs,
                   "reply timeout of a control request (ms); a supplicant that leaves PING "
                   "unanswered this long is taken as gone")
      ->check(CLI::Range(1, 600000))
      ->capture_default_str();
  command
      ->add_option("--scenario", options->scenario,
                   "run this scenario's steps in real time (only its chipset, engine and "
                   "operators peers apply)")
      ->type_name("FILE");
  command->add_option("--ssid", options->ssid,
                      "start a measurement of this network: a name, \"any\" or \"connected\" "
                      "(connected mode: averaged RSSI of the current link)");
  command->add_option("--bssid", options->request.bssids,
                      "an access point of interest (repeatable; default: any)");
  command
      ->add_option("--channel", options->request.channels,
                   "a channel code for every BSSID (repeatable): 1 = 2.4 GHz band, "
                   "2 = 3.6 GHz band, 3 = 5 GHz band, 65535 = any (default), else MHz")
      ->check(CLI::Range(0, 65535));
  command->add_flag("--bss-load", options->request.bssLoad, "also measure BSS load");
  command->add_option("--id", options->request.id, "the measurement id")->capture_default_str();
  command->add_option("--sampling", options->sampling, "RSSI sampling interval in seconds");
  command->add_option("--reporting", options->reporting, "reporting interval in seconds");
  command->add_option("--alpha", options->alpha,
                      "weight of the previous RSSI average (0 < alpha < 1)");
  command->add_option("--duration", options->duration, "stop after this many seconds")
      ->check(CLI::Range(0LL, 1000000000LL));
  command->add_option("--chipset", options->chipset, "the WLAN chipset type the host reports");
  command
      ->add_option("--hostapd-ctrl", options->hostapdCtrl,
                   "this machine's hostapd control directory, used in place of the "
                   "handset's in hostapd_cli command lines")
      ->type_name("DIR");
  command
      ->add_option("--replace", options->replacements,
                   "FROM=TO: replace text in every command line before running it")
      ->check([](const std::string& v) {
        return v.find('=') == std::string::npos || v.find('=') == 0
                   ? std::string("expected FROM=TO")
                   : std::string();
      });
  command
      ->add_option("--record", options->record,
                   "also write the session as a scenario that nexhost run replays: every "
                   "supplicant reply and hostapd_cli result as received, the steps and "
                   "scan-results events at their times, the chipset, engine and operators")
      ->type_name("FILE");
  addOutputOptions(command, &options->out);
  command->footer(
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

  return [options, &global] { return runLive(global.pluginPath, *options); };
}

}  // namespace nexhost
