// The live loop end to end: the plug-in's measurement against a wpa_supplicant stand-in,
// in real time, ended by its duration, by a signal or by the supplicant going away, and
// kept within a second of that whatever the stand-in does.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "FakeSupplicant.h"
#include "MdxWifiClientMgr.h"
#include "TestHost.h"
#include "live/LiveRunner.h"
#include "scenario/Recording.h"
#include "scenario/ScenarioRunner.h"
#include "scenario/SessionRecorder.h"

namespace {

using nexhost::LiveRunner;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

class LiveRunnerTest : public ::testing::Test {
 protected:
  explicit LiveRunnerTest(int ctrlTimeoutMs = 2000, bool record = false)
      : ctrlTimeoutMs_(ctrlTimeoutMs), record_(record) {}

  void SetUp() override {
    server.on("SET bssid_filter ", {"OK\n"});
    server.on("SCAN", {"OK\n"});
    for (const auto& [command, file] : {std::pair{"SCAN_RESULTS", "scan_results.txt"},
                                        {"BSS 02:00:00:00:00:00", "bss.txt"},
                                        {"BSS 02:00:00:00:02:00", "bss_5ghz.txt"},
                                        {"SIGNAL_POLL", "signal_poll.txt"},
                                        {"STATUS", "status.txt"}}) {
      server.on(command, {readTestData(std::string("hwsim/") + file)});
    }
    std::string error;
    ASSERT_TRUE(live->open(&error)) << error;
    if (record_) {  // wired before the plug-in gets the supplicant, as nexhost live does
      recorder = std::make_unique<nexhost::SessionRecorder>(host.clock, recordingFile, nullptr);
      ASSERT_TRUE(recorder->open(&error)) << error;
      nexhost::recordSession(host, *recorder);
    }
    host.trace.addObserver(
        [](const nexhost::Event& e, void* self) {
          static_cast<LiveRunnerTest*>(self)->seen.push_back(e);
        },
        this);
    // The plug-in's manager, seen through the host's own view of its slots.
    manager = reinterpret_cast<nexhost::ClientManager*>(MdxWifiClientMgr::getInstance());
    nexhost::initializeLinks(host, *manager);
    LiveRunner::installSignalHandlers();
  }

  // A scan measurement of any network, or (ssid "connected") of the current link.
  static std::vector<nexhost::ScenarioStep> measure(const std::string& ssid, bool bssLoad = false) {
    nexhost::MeasurementOptions options;
    options.ssid = ssid;
    options.bssLoad = bssLoad;
    options.samplingInterval = 1;
    options.reportingInterval = ssid == "connected" ? 1 : 30;
    return {nexhost::measurementStep(options)};
  }

  std::vector<nexhost::Event> ofKind(const std::string& kind) const {
    std::vector<nexhost::Event> out;
    for (const auto& e : seen) {
      if (e.kind == kind) out.push_back(e);
    }
    return out;
  }

  const int ctrlTimeoutMs_;
  const bool record_;
  const std::string recordingFile = ::testing::TempDir() + "recorded-session.json";
  std::unique_ptr<nexhost::SessionRecorder> recorder;
  FakeSupplicant server;
  nexhost::LiveSupplicant* live = nullptr;
  nexhost::Host host{[this](nexhost::Host& h) {
    auto backend = std::make_unique<nexhost::LiveSupplicant>(
        h.trace, nexhost::LiveSupplicant::Options{server.path, "", ctrlTimeoutMs_});
    live = backend.get();
    return backend;
  }};
  nexhost::ClientManager* manager = nullptr;
  std::vector<nexhost::Event> seen;
};

TEST_F(LiveRunnerTest, ScanResultsEventBringsReportsThenTheDurationEndsTheRun) {
  std::thread supplicant([this] {
    if (server.waitFor("SCAN", 3000)) server.sendEvent("<2>CTRL-EVENT-SCAN-RESULTS ");
  });
  LiveRunner runner(host, *manager, *live);
  const auto outcome = runner.run(measure("any"), 1);
  supplicant.join();
  EXPECT_EQ(outcome, LiveRunner::Outcome::kFinished);
  const auto reports = ofKind("modem");
  ASSERT_EQ(reports.size(), 2u);  // LabNet5 and LabNet, one report
  EXPECT_EQ(reports[0].data["fields"]["ssid"], "LabNet");
  EXPECT_EQ(reports[1].data["fields"]["bss_info"][0]["rssi"], -27);
  EXPECT_TRUE(server.waitFor("SCAN_RESULTS", 0));
  // The end stops the request: its reporting timer goes.
  const auto last = ofKind("step").back();
  EXPECT_EQ(last.data["action"], "stop_all");
  EXPECT_EQ(ofKind("timer").back().data["action"], "remove");
}

// A report due just as the duration ends is still built from the supplicant's answers.
TEST_F(LiveRunnerTest, WorkDueAtTheEndOfTheDurationGetsItsAnswers) {
  LiveRunner runner(host, *manager, *live);
  EXPECT_EQ(runner.run(measure("connected"), 2), LiveRunner::Outcome::kFinished);
  const auto reports = ofKind("modem");
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports.back().time, 2);
  EXPECT_EQ(reports.back().data["fields"]["ssid"], "LabNet");
}

// A recorded session replays on the virtual clock into the same events at the same times,
// the modem's bytes included: a filtered scan (its filters sent as live mode sends them)
// and a connected measurement, answered by the supplicant's results event.
class LiveRunnerRecordTest : public LiveRunnerTest {
 protected:
  LiveRunnerRecordTest() : LiveRunnerTest(2000, true) {}
};

TEST_F(LiveRunnerRecordTest, RecordedSessionReplaysIntoTheSameEvents) {
  server.on("SET bssid_filter 02:00:00:00:00:00", {"OK\n"});
  server.on("SCAN freq=2437", {"OK\n"});
  std::thread supplicant([this] {
    if (server.waitFor("SCAN freq=2437", 3000)) server.sendEvent("<2>CTRL-EVENT-SCAN-RESULTS ");
  });
  nexhost::MeasurementOptions scan;
  scan.id = 2;
  scan.ssid = "LabNet";
  scan.bssids = {"02:00:00:00:00:00"};
  scan.channels = {2437};
  scan.bssLoad = true;
  scan.reportingInterval = 2;
  std::vector<nexhost::ScenarioStep> steps = measure("connected");
  steps.push_back(nexhost::measurementStep(scan));
  const std::string& file = recordingFile;
  recorder->setPlatform(host.platform, host.enginePresent());
  LiveRunner runner(host, *manager, *live);
  runner.setRecorder(recorder.get());
  EXPECT_EQ(runner.run(steps, 3), LiveRunner::Outcome::kFinished);
  supplicant.join();
  std::string error;
  ASSERT_TRUE(recorder->write(&error)) << error;

  const nexhost::Scenario scenario = nexhost::loadScenario(file);
  std::vector<nexhost::Event> replayed;
  {
    nexhost::Host replay;
    nexhost::applyPeers(replay, scenario.peers);
    replay.trace.addObserver(
        [](const nexhost::Event& e, void* out) {
          static_cast<std::vector<nexhost::Event>*>(out)->push_back(e);
        },
        &replayed);
    nexhost::initializeLinks(replay, *manager);
    nexhost::runScenario(replay, *manager, scenario);
  }
  const auto line = [](const nexhost::Event& e) {
    nexhost::Json j{{"time", e.time}, {"kind", e.kind}};
    j.update(e.data);
    return j.dump();
  };
  for (std::size_t i = 0; i < std::min(seen.size(), replayed.size()); ++i) {
    ASSERT_EQ(line(seen[i]), line(replayed[i])) << "event " << i << " of " << file;
  }
  EXPECT_EQ(seen.size(), replayed.size());
  EXPECT_GE(ofKind("modem").size(), 3u);
}

// How a run is ended, and what the supplicant does meanwhile.
struct EndCase {
  const char* name;
  enum Peer { kQuiet, kSlowScanReply, kScanResultsFlood } peer;
  int signal;  // sent at stopAtMs; 0: the run's duration ends it at stopAtMs
  int stopAtMs;
};

void PrintTo(const EndCase& c, std::ostream* os) { *os << c.name; }

class LiveRunnerEndTest : public LiveRunnerTest, public ::testing::WithParamInterface<EndCase> {
 protected:
  // A command may wait 10 s for its reply: only the stop can cut the slow one short.
  LiveRunnerEndTest() : LiveRunnerTest(10000) {}
};

TEST_P(LiveRunnerEndTest, EndsWithinASecondWhateverTheSupplicantDoes) {
  const EndCase& c = GetParam();
  std::atomic<bool> running{true};
  std::thread peer;
  if (c.peer == EndCase::kSlowScanReply) server.on("SCAN", {"OK\n"}, 6000);
  if (c.peer == EndCase::kScanResultsFlood) {
    // Each answer takes 150 ms, so a scan cycle with BSS load (three commands) takes
    // longer than the 200 ms between two results events.
    server.setReplyDelay(150);
    peer = std::thread([&] {
      for (int i = 0; i < 25 && running; ++i) {
        server.sendEvent("<2>CTRL-EVENT-SCAN-RESULTS ");
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
      }
    });
  }
  std::thread user([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(c.stopAtMs));
    if (c.signal != 0) kill(getpid(), c.signal);
  });
  LiveRunner runner(host, *manager, *live);
  const auto started = Clock::now();
  const auto outcome =
      runner.run(measure("any", true),
                 c.signal != 0 ? std::nullopt : std::optional<long long>(c.stopAtMs / 1000));
  const double took = secondsSince(started);
  running = false;
  user.join();
  if (peer.joinable()) peer.join();

  EXPECT_EQ(outcome,
            c.signal != 0 ? LiveRunner::Outcome::kInterrupted : LiveRunner::Outcome::kFinished);
  EXPECT_LT(took, c.stopAtMs / 1000.0 + 1.5) << "the end came late";
  EXPECT_EQ(ofKind("step").back().data["action"], "stop_all");
  EXPECT_EQ(ofKind("timer").back().data["action"], "remove");
  if (c.peer == EndCase::kScanResultsFlood) {
    // Results events that came during a cycle were taken together, each event at its own
    // time: the cycles' times follow the wall clock.
    const auto ready = ofKind("supplicant");
    long long cycles = 0, coalesced = 0, last = 0;
    for (const auto& e : ready) {
      if (e.data.value("event", "") != "scan-ready") continue;
      ++cycles;
      coalesced += e.data.value("events", 1) > 1 ? 1 : 0;
      last = e.time;
    }
    EXPECT_GT(coalesced, 0) << cycles << " cycles";
    EXPECT_GE(last, c.stopAtMs / 1000 - 1);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Live, LiveRunnerEndTest,
    ::testing::Values(EndCase{"CtrlCWhileIdle", EndCase::kQuiet, SIGINT, 300},
                      EndCase{"CtrlCDuringASlowReply", EndCase::kSlowScanReply, SIGINT, 500},
                      EndCase{"DurationDuringASlowReply", EndCase::kSlowScanReply, 0, 1000},
                      EndCase{"SigtermInAScanResultsFlood", EndCase::kScanResultsFlood, SIGTERM,
                              2500},
                      EndCase{"DurationInAScanResultsFlood", EndCase::kScanResultsFlood, 0, 2000}),
    [](const auto& info) { return std::string(info.param.name); });

// How the supplicant goes away, in the middle of a connected-mode measurement.
struct GoneCase {
  const char* name;
  enum How { kTerminates, kKilled, kSocketRemoved, kHangs } how;
  double detectedWithin;  // seconds after it went
};

void PrintTo(const GoneCase& c, std::ostream* os) { *os << c.name; }

class LiveRunnerGoneTest : public LiveRunnerTest, public ::testing::WithParamInterface<GoneCase> {
 protected:
  LiveRunnerGoneTest() : LiveRunnerTest(1000) {}
};

TEST_P(LiveRunnerGoneTest, SupplicantThatGoesAwayEndsTheRun) {
  const GoneCase& c = GetParam();
  std::atomic<double> wentAt{0};
  const auto started = Clock::now();
  std::thread killer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    wentAt = secondsSince(started);
    switch (c.how) {
      case GoneCase::kTerminates:
        server.sendEvent("<2>CTRL-EVENT-TERMINATING ");
        server.die(false);
        break;
      case GoneCase::kKilled:
        server.die(false);
        break;
      case GoneCase::kSocketRemoved:
        server.die(true);
        break;
      case GoneCase::kHangs:
        server.hang();
        break;
    }
  });
  LiveRunner runner(host, *manager, *live);
  const auto outcome = runner.run(measure("connected"), 8);
  const double took = secondsSince(started);
  killer.join();

  EXPECT_EQ(outcome, LiveRunner::Outcome::kSupplicantGone);
  EXPECT_LT(took - wentAt, c.detectedWithin);
  EXPECT_FALSE(live->goneReason().empty());
  // Nothing reports a link the host could not read.
  const auto reports = ofKind("modem");
  EXPECT_FALSE(reports.empty());
  for (const auto& m : reports) {
    EXPECT_EQ(m.data["fields"]["ssid"], "LabNet") << m.time;
    EXPECT_EQ(m.data["fields"]["bss_info"][0]["bssid"], "02:00:00:00:00:00") << m.time;
  }
  EXPECT_EQ(ofKind("step").back().data["action"], "stop_all");
}

INSTANTIATE_TEST_SUITE_P(
    Live, LiveRunnerGoneTest,
    ::testing::Values(GoneCase{"Terminates", GoneCase::kTerminates, 1.5},
                      // Its socket refuses the next command or PING, at most a second later.
                      GoneCase{"Killed", GoneCase::kKilled, 2.0},
                      GoneCase{"SocketRemoved", GoneCase::kSocketRemoved, 2.0},
                      // The next PING (at most a second later) waits the 1 s command timeout.
                      GoneCase{"Hangs", GoneCase::kHangs, 3.0}),
    [](const auto& info) { return std::string(info.param.name); });

// In live mode the host can fall behind the wall clock; a late timer then fires once and
// counts its next period from now, where the virtual clock fires every missed period.
TEST(LiveClockTest, LateTimerFiresOnceAndCountsItsPeriodFromNow) {
  struct Case {
    bool realClock;
    int fired;
    long long nextDue;
  } cases[] = {{false, 3, 8}, {true, 1, 9}};
  for (const Case& c : cases) {
    nexhost::Clock clock;
    nexhost::Trace trace{clock};
    nexhost::Scheduler scheduler{clock, trace};
    scheduler.setRealClock(c.realClock);
    int fired = 0;
    scheduler.addTimer(
        2, [](void* n) { return ++*static_cast<int*>(n); }, &fired);
    scheduler.advanceTo(7);  // due at 2, 4 and 6
    EXPECT_EQ(fired, c.fired) << c.realClock;
    EXPECT_EQ(scheduler.nextDue(), c.nextDue) << c.realClock;
  }
}

}  // namespace
