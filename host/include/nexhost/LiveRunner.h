#pragma once

#include <optional>
#include <vector>

#include "nexhost/ClientManager.h"
#include "nexhost/Host.h"
#include "nexhost/LiveSupplicant.h"
#include "nexhost/Scenario.h"

namespace nexhost {

// Runs the plug-in in real time: one host timer unit is one second. Steps run when their
// time has come, timers fire on the wall clock, and supplicant events are handled as they
// arrive. Ctrl-C (SIGINT) or SIGTERM ends the run after stopping every request.
class LiveRunner {
 public:
  LiveRunner(Host& host, ClientManager& manager, LiveSupplicant& supplicant)
      : host_(host), manager_(manager), supplicant_(supplicant) {}

  enum class Outcome { kFinished, kInterrupted, kSupplicantGone };

  // Runs `steps`, then keeps serving until `endAt` seconds (never when absent).
  Outcome run(const std::vector<ScenarioStep>& steps, std::optional<long long> endAt);

  // Installs the SIGINT and SIGTERM handlers that end run().
  static void installSignalHandlers();

 private:
  Host& host_;
  ClientManager& manager_;
  LiveSupplicant& supplicant_;
};

}  // namespace nexhost
