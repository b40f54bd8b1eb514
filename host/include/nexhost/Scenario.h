#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "dsd/dsd_messages_v01.h"
#include "nex/NexCde.h"
#include "nexhost/Platform.h"
#include "nexhost/Supplicant.h"

namespace nexhost {

// A scenario that cannot be used, with where and why: "FILE: PATH: expected ...".
class ScenarioError : public std::runtime_error {
 public:
  ScenarioError(const std::string& file, const std::string& path, const std::string& problem)
      : std::runtime_error(file + ": " + (path.empty() ? "" : path + ": ") + problem),
        path_(path) {}
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// The scripted world around the plug-in. docs/scenarios.md describes the file format.
struct ScenarioPeers {
  // Replies by command text; a sequence is consumed in order and its last reply repeats.
  std::map<std::string, std::vector<SupplicantBackend::Reply>> station;
  std::map<std::string, std::vector<SupplicantBackend::Reply>> p2p;
  std::optional<long long> scanReadyAfter;  // absent: scans never complete by themselves
  bool p2pConnects = true;
  std::map<std::string, Platform::ForkResult> hostapd;  // by whole command line
  int chipset = 0;
  bool engine = true;
  std::map<std::string, std::string> operators;  // ICCID digits -> operator name
};

enum class StepAction {
  kStart,
  kStop,
  kStopAll,
  kWqeProfileInit,
  kSetWqeProfile,
  kCreateDefaultProfile,
  kWifi,
  kWlanConfig,
  kScanReady,
  kAdvance,
};

// One thing the host does at a time. Records are built (and checked) when the scenario is
// loaded, so a run never meets a bad step halfway.
struct ScenarioStep {
  long long at = 0;
  StepAction action = StepAction::kAdvance;
  std::string name;  // the action's key in the file: "start", "wlan_config", ...
  int client = 0;    // modem client index
  dsd_start_wifi_meas_ind_msg_v01 start{};
  dsd_stop_wifi_meas_ind_msg_v01 stop{};
  dsd_wqe_profile_init_ind_msg_v01 profileInit{};
  dsd_wqe_profile_type_ind_msg_v01 profileMask{};
  bool wifiOn = false;
  CasWlanNetConfigType config{};
  // Engine client that receives the configuration: absent = every registered client, ""
  // = the default profile, else a registration name ("profile1").
  std::optional<std::string> configTarget;
};

struct Scenario {
  std::string file;
  std::string description;
  ScenarioPeers peers;
  std::vector<ScenarioStep> steps;
  long long end() const { return steps.empty() ? 0 : steps.back().at; }
};

// Loads and checks a scenario file; reply and output files are read relative to it.
// Throws ScenarioError.
Scenario loadScenario(const std::string& path);
// The same from text already read; `name` is used in errors.
Scenario parseScenario(const std::string& text, const std::string& name,
                       const std::string& baseDir);

// A step built from live mode's command-line options.
struct MeasurementOptions {
  uint32_t id = 1;
  std::string ssid;  // a name, "any" or "connected"
  std::vector<std::string> bssids;
  std::vector<uint16_t> channels;
  bool bssLoad = false;
  std::optional<int32_t> samplingInterval;
  std::optional<int32_t> reportingInterval;
  std::optional<float> alpha;
};
// Throws ScenarioError (with the option's name as the path) on a bad value.
ScenarioStep measurementStep(const MeasurementOptions& options);

}  // namespace nexhost
