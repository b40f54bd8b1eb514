// The live loop end to end: the plug-in's measurement against a wpa_supplicant stand-in,
// in real time, ended by its duration, by Ctrl-C or by the supplicant going away.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "FakeSupplicant.h"
#include "MdxWifiClientMgr.h"
#include "TestHost.h"
#include "nexhost/LiveRunner.h"
#include "nexhost/ScenarioRunner.h"

namespace {

using nexhost::LiveRunner;

class LiveRunnerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    server.on("SET bssid_filter ", {"OK\n"});
    server.on("SCAN", {"OK\n"});
    server.on("SCAN_RESULTS", {readTestData("hwsim/scan_results.txt")});
    std::string error;
    ASSERT_TRUE(live->open(&error)) << error;
    host.trace.setObserver(
        [](const nexhost::Event& e, void* self) {
          static_cast<LiveRunnerTest*>(self)->seen.push_back(e);
        },
        this);
    // The plug-in's manager, seen through the host's own view of its slots.
    manager = reinterpret_cast<nexhost::ClientManager*>(MdxWifiClientMgr::getInstance());
    nexhost::initializeLinks(host, *manager);
    LiveRunner::installSignalHandlers();
  }

  std::vector<nexhost::ScenarioStep> scanAnyNetwork() {
    nexhost::MeasurementOptions options;
    options.ssid = "any";
    options.reportingInterval = 30;
    return {nexhost::measurementStep(options)};
  }

  std::vector<nexhost::Event> ofKind(const std::string& kind) const {
    std::vector<nexhost::Event> out;
    for (const auto& e : seen) {
      if (e.kind == kind) out.push_back(e);
    }
    return out;
  }

  FakeSupplicant server;
  nexhost::LiveSupplicant* live = nullptr;
  nexhost::Host host{[this](nexhost::Host& h) {
    auto backend = std::make_unique<nexhost::LiveSupplicant>(
        h.trace, nexhost::LiveSupplicant::Options{server.path, "", 2000});
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
  const auto outcome = runner.run(scanAnyNetwork(), 1);
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

TEST_F(LiveRunnerTest, CtrlCStopsEveryRequest) {
  std::thread user([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    kill(getpid(), SIGINT);
  });
  LiveRunner runner(host, *manager, *live);
  const auto started = std::chrono::steady_clock::now();
  const auto outcome = runner.run(scanAnyNetwork(), std::nullopt);
  user.join();
  EXPECT_EQ(outcome, LiveRunner::Outcome::kInterrupted);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(3));
  EXPECT_EQ(ofKind("step").back().data["action"], "stop_all");
  EXPECT_EQ(ofKind("timer").back().data["action"], "remove");
}

TEST_F(LiveRunnerTest, TerminatingSupplicantEndsTheRun) {
  std::thread supplicant([this] {
    if (server.waitFor("SCAN", 3000)) server.sendEvent("<2>CTRL-EVENT-TERMINATING ");
  });
  LiveRunner runner(host, *manager, *live);
  const auto outcome = runner.run(scanAnyNetwork(), std::nullopt);
  supplicant.join();
  EXPECT_EQ(outcome, LiveRunner::Outcome::kSupplicantGone);
  EXPECT_EQ(ofKind("step").back().data["action"], "stop_all");
}

}  // namespace
