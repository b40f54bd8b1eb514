#pragma once

#include <set>

#include "framework/ClientManager.h"
#include "framework/Host.h"
#include "scenario/Scenario.h"
#include "scenario/SessionRecorder.h"

namespace nexhost {

// Scripts the host's peers as a scenario describes them (supplicant replies and scan
// timing, hostapd_cli results, chipset, engine, operators).
void applyPeers(Host& host, const ScenarioPeers& peers);
// Only what a live run takes from a scenario: chipset, engine presence and operators.
void applyPlatform(Host& host, const ScenarioPeers& peers);

// Does one step to the plug-in through the manager's slots (or to the engine and the
// supplicant backend), recording it in the trace first.
class StepPerformer {
 public:
  StepPerformer(Host& host, ClientManager& manager) : host_(host), manager_(manager) {}

  void perform(const ScenarioStep& step);
  // Hands every step performed to `recorder` (may be null), with the time it ran.
  void setRecorder(SessionRecorder* recorder) { recorder_ = recorder; }
  // Stop-all for every modem client a step has used, as a clean shutdown does.
  void stopEverything();

 private:
  Host& host_;
  ClientManager& manager_;
  std::set<int> clientsUsed_;
  SessionRecorder* recorder_ = nullptr;
};

// Hands the plug-in its links, as the host does once after init.
void initializeLinks(Host& host, ClientManager& manager);

// Runs a scenario on the virtual clock: each step runs once everything due up to its
// time has run.
void runScenario(Host& host, ClientManager& manager, const Scenario& scenario);

}  // namespace nexhost
