// The step table: every kind of step a scenario can hold, and all the host does with it.
#include "scenario/StepKinds.h"

#include <iterator>
#include <stdexcept>

#include "framework/ClientManager.h"
#include "framework/Host.h"
#include "modem/Records.h"
#include "scenario/RecordReaders.h"
#include "scenario/ScenarioReader.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

namespace limits = scenario_limits;

// ---- Readers: the key's value into the step.

template <void (*read)(const Node&, ScenarioStep*)>
void readWith(ScenarioReader&, const Node& n, ScenarioStep* step) {
  read(n, step);
}

void readClientOnly(ScenarioReader&, const Node& n, ScenarioStep* step) {
  n.requireObject("an object (optionally with the client)", {"client"});
  step->client = readClient(n);
}

void readWifi(ScenarioReader&, const Node& n, ScenarioStep* step) {
  const std::string state = n.text("\"on\" or \"off\"", 3);
  if (state != "on" && state != "off") n.fail("\"on\" or \"off\"");
  step->wifiOn = state == "on";
}

void readAdvance(ScenarioReader&, const Node& n, ScenarioStep* step) {
  step->at += n.integer(0, limits::kLatestTime - step->at);
}

void readScanResults(ScenarioReader&, const Node& n, ScenarioStep* step) {
  step->events = static_cast<int>(n.integer(1, INT32_MAX));
}

void readChipset(ScenarioReader&, const Node& n, ScenarioStep* step) {
  step->chipset = static_cast<int>(n.integer(INT32_MIN, INT32_MAX));
}

// {"sta": {...}, "p2p": {...}, "hostapd": {...}}, each as the peers script it.
void readReplies(ScenarioReader& reader, const Node& n, ScenarioStep* step) {
  const std::string what = "new scripts of sta, p2p or hostapd";
  n.requireObject(what, {"sta", "p2p", "hostapd"});
  if (n.value().empty()) n.fail(what);
  auto scripts = std::make_shared<ScriptChange>();
  if (auto sta = n.find("sta")) scripts->station = reader.replies(*sta);
  if (auto p2p = n.find("p2p")) scripts->p2p = reader.replies(*p2p);
  if (auto hostapd = n.find("hostapd")) scripts->hostapd = reader.forkResults(*hostapd);
  step->scripts = std::move(scripts);
}

// ---- Performers. The plug-in may keep or change what it is handed: it gets copies.

NexMdxDsd* clientOf(Host& host, const ScenarioStep& step) { return &host.client(step.client); }

void performStart(Host& host, ClientManager& manager, const ScenarioStep& step) {
  dsd_start_wifi_meas_ind_msg_v01 ind = step.start();
  const bool accepted = manager.startWifiMeasurement(clientOf(host, step), ind);
  host.trace.record("result", Json{{"operation", "startWifiMeasurement"},
                                   {"wifi_meas_id", step.start().wifi_meas_id},
                                   {"accepted", accepted}});
}

void performStop(Host& host, ClientManager& manager, const ScenarioStep& step) {
  dsd_stop_wifi_meas_ind_msg_v01 ind = step.stop();
  manager.stopWifiMeasurement(clientOf(host, step), ind);
}

void performStopAll(Host& host, ClientManager& manager, const ScenarioStep& step) {
  manager.stopAllRequests(clientOf(host, step));
}

void performProfileInit(Host& host, ClientManager& manager, const ScenarioStep& step) {
  dsd_wqe_profile_init_ind_msg_v01 ind = step.profileInit();
  manager.wqeProfileInit(clientOf(host, step), ind);
}

void performProfileMask(Host& host, ClientManager& manager, const ScenarioStep& step) {
  dsd_wqe_profile_type_ind_msg_v01 ind = step.profileMask();
  manager.setWqeProfile(clientOf(host, step), ind);
}

void performDefaultProfile(Host& host, ClientManager& manager, const ScenarioStep& step) {
  manager.createDefaultProfile(clientOf(host, step));
}

void performWifi(Host& host, ClientManager&, const ScenarioStep& step) {
  host.engine.setWifiState(step.wifiOn);
}

void performWlanConfig(Host& host, ClientManager&, const ScenarioStep& step) {
  host.engine.deliverConfig(step.config(), step.configTarget);
}

void performScanReady(Host& host, ClientManager&, const ScenarioStep&) {
  host.supplicantBackend().fireScanReady();
}

void performScanResults(Host& host, ClientManager&, const ScenarioStep& step) {
  host.supplicantBackend().fireScanReady(step.events);
}

void performChipset(Host& host, ClientManager&, const ScenarioStep& step) {
  host.platform.chipsetType = step.chipset;
}

void performNothing(Host&, ClientManager&, const ScenarioStep&) {}

void performReplies(Host& host, ClientManager&, const ScenarioStep& step) {
  if (ScriptedSupplicant* supplicant = host.scripted()) {
    for (const auto& [command, replies] : step.scripts->station) {
      supplicant->setSequence(SUPPLICANT_STA, command, replies);
    }
    for (const auto& [command, replies] : step.scripts->p2p) {
      supplicant->setSequence(SUPPLICANT_P2P, command, replies);
    }
  }
  for (const auto& [line, results] : step.scripts->hostapd) {
    host.platform.setForkScript(line, results);
  }
}

// ---- Describers: the step event's keys.

template <typename Record>
std::string hexOf(const Record& record) {
  return hexText(reinterpret_cast<const uint8_t*>(&record), sizeof record);
}

// An indication, decoded field by field and as its bytes (what nexhost decode reads).
template <typename Record>
bool describeIndication(const ScenarioStep& step, Json* event) {
  const Record record = step.record.unpack<Record>();
  (*event)["indication"] = decode(record);
  (*event)["bytes"] = hexOf(record);
  return true;
}

bool describeNothingMore(const ScenarioStep&, Json*) { return true; }

bool describeWifi(const ScenarioStep& step, Json* event) {
  (*event)["on"] = step.wifiOn;
  return true;
}

bool describeChipset(const ScenarioStep& step, Json* event) {
  (*event)["chipset"] = step.chipset;
  return true;
}

bool describeWlanConfig(const ScenarioStep& step, Json* event) {
  (*event)["to"] = !step.configTarget           ? Json("all")
                   : step.configTarget->empty() ? Json("default")
                                                : Json(printableBytes(*step.configTarget));
  (*event)["config"] = decode(step.config());
  (*event)["bytes"] = hexOf(step.config());
  return true;
}

// The supplicant's doing, not the host's: shown as live mode shows it, by the supplicant
// event alone.
bool describeNoEvent(const ScenarioStep&, Json*) { return false; }

// The commands whose scripts change, by peer.
bool describeReplies(const ScenarioStep& step, Json* event) {
  const auto commands = [](const auto& scripts) {
    Json list = Json::array();
    for (const auto& script : scripts) list.push_back(printableBytes(script.first));
    return list;
  };
  if (!step.scripts->station.empty()) (*event)["sta"] = commands(step.scripts->station);
  if (!step.scripts->p2p.empty()) (*event)["p2p"] = commands(step.scripts->p2p);
  if (!step.scripts->hostapd.empty()) (*event)["hostapd"] = commands(step.scripts->hostapd);
  return true;
}

// ---- Recorders: the key's value in a recorded session.

Json clientOnly(int client) {
  Json value = Json::object();
  if (client != 0) value["client"] = client;
  return value;
}

// Indications as their exact bytes.
template <typename Record>
Json recordIndication(const ScenarioStep& step) {
  Json value = clientOnly(step.client);
  value["record"] = hexOf(step.record.unpack<Record>());
  return value;
}

Json recordClientOnly(const ScenarioStep& step) { return clientOnly(step.client); }
Json recordEmpty(const ScenarioStep&) { return Json::object(); }
Json recordWifi(const ScenarioStep& step) { return step.wifiOn ? "on" : "off"; }
Json recordChipset(const ScenarioStep& step) { return step.chipset; }
Json recordScanResults(const ScenarioStep& step) { return step.events; }

Json recordWlanConfig(const ScenarioStep& step) {
  Json value{{"record", hexOf(step.config())}};
  if (step.configTarget) value["to"] = step.configTarget->empty() ? "default" : *step.configTarget;
  return value;
}

Json recordNothing(const ScenarioStep&) { return Json(); }

using Start = dsd_start_wifi_meas_ind_msg_v01;
using Stop = dsd_stop_wifi_meas_ind_msg_v01;
using ProfileInit = dsd_wqe_profile_init_ind_msg_v01;
using ProfileMask = dsd_wqe_profile_type_ind_msg_v01;

// Every kind of step. Columns: key, fromClient, scriptsPeers, read, perform, describe,
// record, report.
constexpr StepKind kStepKinds[] = {
    // A measurement start indication from the modem.
    {"start", true, false, readWith<readStart>, performStart, describeIndication<Start>,
     recordIndication<Start>, StepInReport::kStartsMeasurement},
    // A measurement stop indication.
    {"stop", true, false, readWith<readStop>, performStop, describeIndication<Stop>,
     recordIndication<Stop>, StepInReport::kStopsMeasurement},
    // Stops every request of the client, as a clean shutdown does.
    {"stop_all", true, false, readClientOnly, performStopAll, describeNothingMore, recordClientOnly,
     StepInReport::kStopsEveryMeasurement},
    // A WQE profile init indication.
    {"wqe_profile_init", true, false, readWith<readProfileInit>, performProfileInit,
     describeIndication<ProfileInit>, recordIndication<ProfileInit>, StepInReport::kNothing},
    // A WQE profile selection (mask) indication.
    {"set_wqe_profile", true, false, readWith<readProfileMask>, performProfileMask,
     describeIndication<ProfileMask>, recordIndication<ProfileMask>,
     StepInReport::kSelectsProfiles},
    // Creates and starts the default WQE profile.
    {"create_default_profile", true, false, readClientOnly, performDefaultProfile,
     describeNothingMore, recordClientOnly, StepInReport::kCreatesDefaultProfile},
    // The decision engine reports Wi-Fi on or off.
    {"wifi", false, false, readWifi, performWifi, describeWifi, recordWifi, StepInReport::kNothing},
    // The decision engine reports a WLAN configuration change.
    {"wlan_config", false, false, readWith<readWlanConfig>, performWlanConfig, describeWlanConfig,
     recordWlanConfig, StepInReport::kNothing},
    // The supplicant reports scan results as ready (a "client" is read but unused).
    {"scan_ready", false, false, readClientOnly, performScanReady, describeNothingMore, recordEmpty,
     StepInReport::kNothing},
    // Scan-results events that came together, answered by one scan-ready; recordings use it.
    {"scan_results", false, false, readScanResults, performScanResults, describeNoEvent,
     recordScanResults, StepInReport::kNothing},
    // The chipset type the host reports from now on.
    {"chipset", false, false, readChipset, performChipset, describeChipset, recordChipset,
     StepInReport::kNothing},
    // Lets time pass: not shown, and not recorded (the times say it).
    {"advance", false, false, readAdvance, performNothing, describeNoEvent, recordNothing,
     StepInReport::kNothing},
    // New scripted replies or hostapd_cli results from now on (a signal that fades, a link
    // that goes). Never recorded: live mode skips it, its peers being real.
    {"replies", false, true, readReplies, performReplies, describeReplies, recordNothing,
     StepInReport::kNothing},
};

}  // namespace

StepKindList stepKinds() { return {std::begin(kStepKinds), std::end(kStepKinds)}; }

const StepKind* stepKindNamed(const std::string& key) {
  for (const StepKind& kind : kStepKinds) {
    if (key == kind.key) return &kind;
  }
  return nullptr;
}

const StepKind& stepKind(const std::string& key) {
  const StepKind* kind = stepKindNamed(key);
  if (kind == nullptr) throw std::logic_error("no step kind \"" + key + "\"");
  return *kind;
}

}  // namespace nexhost
