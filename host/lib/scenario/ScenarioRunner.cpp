#include "scenario/ScenarioRunner.h"

#include "modem/Records.h"
#include "scenario/SessionRecorder.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

template <typename Record>
std::string hexOf(const Record& record) {
  return hexText(reinterpret_cast<const uint8_t*>(&record), sizeof record);
}

// The record a step hands over, in hex (what nexhost decode reads); empty for other steps.
std::string recordBytes(const ScenarioStep& step) {
  switch (step.action) {
    case StepAction::kStart:
      return hexOf(step.start());
    case StepAction::kStop:
      return hexOf(step.stop());
    case StepAction::kWqeProfileInit:
      return hexOf(step.profileInit());
    case StepAction::kSetWqeProfile:
      return hexOf(step.profileMask());
    case StepAction::kWlanConfig:
      return hexOf(step.config());
    default:
      return "";
  }
}

}  // namespace

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
  if (step.action == StepAction::kAdvance) return;
  if (recorder_ != nullptr) recorder_->step(step);
  if (step.action == StepAction::kScanResults) {
    // The supplicant's doing, not the host's: shown as live mode shows it, no step.
    host_.supplicantBackend().fireScanReady(step.events);
    return;
  }
  Json record{{"action", step.name()}};
  NexMdxDsd& client = host_.client(step.client);
  const bool usesClient =
      step.action != StepAction::kWifi && step.action != StepAction::kWlanConfig &&
      step.action != StepAction::kScanReady && step.action != StepAction::kChipset;
  if (usesClient) {
    record["client"] = step.client;
    clientsUsed_.insert(step.client);
  }
  switch (step.action) {
    case StepAction::kStart:
      record["indication"] = decode(step.start());
      break;
    case StepAction::kStop:
      record["indication"] = decode(step.stop());
      break;
    case StepAction::kWqeProfileInit:
      record["indication"] = decode(step.profileInit());
      break;
    case StepAction::kSetWqeProfile:
      record["indication"] = decode(step.profileMask());
      break;
    case StepAction::kWifi:
      record["on"] = step.wifiOn;
      break;
    case StepAction::kChipset:
      record["chipset"] = step.chipset;
      break;
    case StepAction::kWlanConfig:
      record["to"] = !step.configTarget           ? Json("all")
                     : step.configTarget->empty() ? Json("default")
                                                  : Json(printableBytes(*step.configTarget));
      record["config"] = decode(step.config());
      break;
    default:
      break;
  }
  const std::string bytes = recordBytes(step);
  if (!bytes.empty()) record["bytes"] = bytes;
  host_.trace.record("step", std::move(record));

  // The plug-in may keep or change what it is handed: give it copies.
  switch (step.action) {
    case StepAction::kStart: {
      dsd_start_wifi_meas_ind_msg_v01 ind = step.start();
      const bool accepted = manager_.startWifiMeasurement(&client, ind);
      host_.trace.record("result", Json{{"operation", "startWifiMeasurement"},
                                        {"wifi_meas_id", step.start().wifi_meas_id},
                                        {"accepted", accepted}});
      break;
    }
    case StepAction::kStop: {
      dsd_stop_wifi_meas_ind_msg_v01 ind = step.stop();
      manager_.stopWifiMeasurement(&client, ind);
      break;
    }
    case StepAction::kStopAll:
      manager_.stopAllRequests(&client);
      break;
    case StepAction::kWqeProfileInit: {
      dsd_wqe_profile_init_ind_msg_v01 ind = step.profileInit();
      manager_.wqeProfileInit(&client, ind);
      break;
    }
    case StepAction::kSetWqeProfile: {
      dsd_wqe_profile_type_ind_msg_v01 ind = step.profileMask();
      manager_.setWqeProfile(&client, ind);
      break;
    }
    case StepAction::kCreateDefaultProfile:
      manager_.createDefaultProfile(&client);
      break;
    case StepAction::kWifi:
      host_.engine.setWifiState(step.wifiOn);
      break;
    case StepAction::kWlanConfig:
      host_.engine.deliverConfig(step.config(), step.configTarget);
      break;
    case StepAction::kScanReady:
      host_.supplicantBackend().fireScanReady();
      break;
    case StepAction::kScanResults:  // performed above
      break;
    case StepAction::kChipset:
      host_.platform.chipsetType = step.chipset;
      break;
    case StepAction::kAdvance:
      break;
  }
}

void initializeLinks(Host& host, ClientManager& manager) {
  host.trace.record("step", Json{{"action", "initialize_links"}});
  manager.initializeLinks(&host.com, &host.timer, &host.supplicant());
}

void StepPerformer::stopEverything() {
  for (int c : clientsUsed_) {
    ScenarioStep step;
    step.action = StepAction::kStopAll;
    step.client = c;
    perform(step);
  }
}

void runScenario(Host& host, ClientManager& manager, const Scenario& scenario) {
  StepPerformer performer(host, manager);
  for (const ScenarioStep& step : scenario.steps) {
    host.scheduler.advanceTo(step.at);
    performer.perform(step);
  }
}

}  // namespace nexhost
