#pragma once

#include <optional>
#include <vector>

#include "framework/ClientManager.h"
#include "framework/Host.h"
#include "live/LiveSupplicant.h"
#include "scenario/Scenario.h"
#include "scenario/SessionRecorder.h"

namespace nexhost {

// Runs the plug-in in real time: one host timer unit is one second. Steps run when their
// time has come, timers fire on the wall clock, and supplicant events are handled as they
// arrive, each at its own time. A late timer fires once and counts its next period from
// then (Scheduler::setRealClock).
//
// The run ends at `endAt`, on SIGINT or SIGTERM, or when the supplicant goes away; then
// every request is stopped. The end is kept within a second whatever the supplicant does:
// the stop signal and the end of the run cut a command waiting for its reply, and at most
// LiveSupplicant::kMaxEventsPerWake events are read between two looks at them.
//
// The supplicant is checked with PING before timers or steps run and at least every
// kLivenessPeriodMs; no PONG within the command timeout means it is gone.
class LiveRunner {
 public:
  static constexpr long long kLivenessPeriodMs = 1000;
  // What is due when the run's time is up still runs, and its commands get this long past
  // the end for their answers.
  static constexpr long long kEndGraceMs = 500;
  // Stopping every request at the end may wait this long, in all, for the supplicant.
  static constexpr long long kShutdownGraceMs = 500;

  LiveRunner(Host& host, ClientManager& manager, LiveSupplicant& supplicant)
      : host_(host), manager_(manager), supplicant_(supplicant) {}

  enum class Outcome { kFinished, kInterrupted, kSupplicantGone };

  // Runs `steps`, then keeps serving until `endAt` seconds (never when absent).
  Outcome run(const std::vector<ScenarioStep>& steps, std::optional<long long> endAt);

  // Hands every step performed to `recorder` (recordSession hands it the rest).
  void setRecorder(SessionRecorder* recorder);

  // Installs the SIGINT and SIGTERM handlers that end run().
  static void installSignalHandlers();
  // Ends run() as SIGTERM does: for a reader of the output that went away, which must not
  // leave requests running or files unwritten. Safe in a signal handler.
  static void requestStop();

 private:
  Host& host_;
  ClientManager& manager_;
  LiveSupplicant& supplicant_;
  SessionRecorder* recorder_ = nullptr;
};

}  // namespace nexhost
