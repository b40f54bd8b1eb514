#include "scenario/ScenarioRunner.h"

#include "scenario/SessionRecorder.h"
#include "text/ByteText.h"

namespace nexhost {

void applyPlatform(Host& host, const ScenarioPeers& peers) {
  host.platform.chipsetType = peers.chipset;
  host.platform.operators = peers.operators;
  host.setEnginePresent(peers.engine);
}

void applyPeers(Host& host, const ScenarioPeers& peers) {
  applyPlatform(host, peers);
  host.platform.forkScripts = peers.hostapd;
  ScriptedSupplicant* supplicant = host.scripted();
  if (supplicant == nullptr) return;
  for (const auto& [command, replies] : peers.station) {
    supplicant->setSequence(SUPPLICANT_STA, command, replies);
  }
  for (const auto& [command, replies] : peers.p2p) {
    supplicant->setSequence(SUPPLICANT_P2P, command, replies);
  }
  supplicant->setConnectResult(SUPPLICANT_P2P, peers.p2pConnects);
  supplicant->setScanReadyDelay(peers.scanReadyAfter);
}

void StepPerformer::perform(const ScenarioStep& step) {
  const StepKind& kind = *step.kind;
  // Live mode's peers are real: there is no script to change.
  if (kind.scriptsPeers && host_.scripted() == nullptr) return;
  if (recorder_ != nullptr) recorder_->step(step);
  Json event{{"action", kind.key}};
  if (kind.fromClient) {
    event["client"] = step.client;
    clientsUsed_.insert(step.client);
  }
  if (kind.describe(step, &event)) host_.trace.record("step", std::move(event));
  kind.perform(host_, manager_, step);
}

void initializeLinks(Host& host, ClientManager& manager) {
  host.trace.record("step", Json{{"action", "initialize_links"}});
  manager.initializeLinks(&host.com, &host.timer, &host.supplicant());
}

void StepPerformer::stopEverything() {
  for (int c : clientsUsed_) {
    ScenarioStep step;
    step.kind = &stepKind("stop_all");
    step.client = c;
    perform(step);
  }
}

void runScenario(Host& host, ClientManager& manager, const Scenario& scenario) {
  StepPerformer performer(host, manager);
  for (const ScenarioStep& step : scenario.steps) {
    // New scripts hold from their time on: a command sent then already gets them.
    if (step.kind->scriptsPeers) {
      host.scheduler.advanceBefore(step.at);
    } else {
      host.scheduler.advanceTo(step.at);
    }
    performer.perform(step);
  }
}

}  // namespace nexhost
