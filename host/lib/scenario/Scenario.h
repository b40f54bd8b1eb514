#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "dsd/dsd_messages_v01.h"
#include "framework/Platform.h"
#include "framework/Supplicant.h"
#include "nex/NexCde.h"
#include "scenario/StepKinds.h"
#include "text/ByteText.h"

namespace nexhost {

// A scenario that cannot be used, with where and why: "FILE: PATH: expected ...".
class ScenarioError : public std::runtime_error {
 public:
  ScenarioError(const std::string& file, const std::string& path, const std::string& problem)
      // A parser's message may quote the input's raw bytes.
      : std::runtime_error(asciiMessage(file + ": " + (path.empty() ? "" : path + ": ") + problem)),
        path_(path) {}
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// What a scenario may hold; past any of these it is refused (docs/scenarios.md lists them).
namespace scenario_limits {
constexpr std::size_t kFileBytes = 16u << 20;     // the scenario file
constexpr int kDepth = 32;                        // nesting of arrays and objects
constexpr std::size_t kTextBytes = 1u << 20;      // one reply or output, inline or a file
constexpr std::size_t kAllTextBytes = 64u << 20;  // all replies and outputs together
constexpr std::size_t kSteps = 100000;
constexpr std::size_t kCommands = 10000;  // scripted commands of an interface, or of hostapd_cli
constexpr std::size_t kRepliesPerCommand = 10000;  // in one sequence
constexpr std::size_t kOperators = 1000;
constexpr long long kLatestTime = 1000000000000LL;  // of any step; far from overflow
constexpr int kLastClient = 7;                      // modem clients are 0 to this
// No list or object of a scenario may hold more than the largest of the counts above;
// past them the reader stops at once instead of building the rest.
constexpr std::size_t kListItems = kSteps;
constexpr std::size_t kObjectMembers = kCommands;
}  // namespace scenario_limits

// The scripted world around the plug-in. docs/scenarios.md describes the file format.
struct ScenarioPeers {
  // Replies by command text; a sequence is consumed in order and its last reply repeats.
  std::map<std::string, std::vector<SupplicantBackend::Reply>> station;
  std::map<std::string, std::vector<SupplicantBackend::Reply>> p2p;
  std::optional<long long> scanReadyAfter;  // absent: scans never complete by themselves
  bool p2pConnects = true;
  // hostapd_cli results by whole command line; a sequence is consumed like the replies.
  std::map<std::string, std::vector<Platform::ForkResult>> hostapd;
  int chipset = 0;
  bool engine = true;
  std::map<std::string, std::string> operators;  // ICCID digits -> operator name
};

// Scripts that replace a command's old ones from a step's time on: replies by command
// text, hostapd_cli results by command line.
struct ScriptChange {
  std::map<std::string, std::vector<SupplicantBackend::Reply>> station;
  std::map<std::string, std::vector<SupplicantBackend::Reply>> p2p;
  std::map<std::string, std::vector<Platform::ForkResult>> hostapd;
};

// A fixed-size record kept as its non-zero bytes. Modem records are mostly zero-filled
// arrays (a start indication is 6 KB for a single network), and a scenario may hold
// 100,000 of them.
class PackedRecord {
 public:
  PackedRecord() = default;
  template <typename Record>
  explicit PackedRecord(const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record> && sizeof(Record) <= 0xFFFF);
    pack(reinterpret_cast<const uint8_t*>(&record), sizeof record);
  }
  // The record again, every byte as packed (a record of another type gets only the bytes
  // that fit).
  template <typename Record>
  Record unpack() const {
    Record record;
    unpackInto(reinterpret_cast<uint8_t*>(&record), sizeof record);
    return record;
  }

 private:
  void pack(const uint8_t* bytes, std::size_t size);
  void unpackInto(uint8_t* bytes, std::size_t size) const;

  // Runs of bytes: offset and length (2 bytes each, little-endian), then the bytes.
  std::vector<uint8_t> runs_;
};

// One thing the host does at a time. Records are built (and checked) when the scenario is
// loaded, so a run never meets a bad step halfway.
struct ScenarioStep {
  long long at = 0;
  const StepKind* kind = nullptr;  // what the step does: a row of the step table
  int client = 0;                  // modem client index
  bool wifiOn = false;
  int chipset = 0;  // the chipset type the host reports from this step on
  int events = 1;   // scan-results events the supplicant sent together
  // Engine client that receives the configuration: absent = every registered client, ""
  // = the default profile, else a registration name ("profile1").
  std::optional<std::string> configTarget;
  PackedRecord record;  // the indication or configuration the action hands over
  std::shared_ptr<const ScriptChange> scripts;  // of a "replies" step

  const char* name() const { return kind->key; }  // "start", "wlan_config", ...
  // The action's record; each is valid only for its own action.
  dsd_start_wifi_meas_ind_msg_v01 start() const {
    return record.unpack<dsd_start_wifi_meas_ind_msg_v01>();
  }
  dsd_stop_wifi_meas_ind_msg_v01 stop() const {
    return record.unpack<dsd_stop_wifi_meas_ind_msg_v01>();
  }
  dsd_wqe_profile_init_ind_msg_v01 profileInit() const {
    return record.unpack<dsd_wqe_profile_init_ind_msg_v01>();
  }
  dsd_wqe_profile_type_ind_msg_v01 profileMask() const {
    return record.unpack<dsd_wqe_profile_type_ind_msg_v01>();
  }
  CasWlanNetConfigType config() const { return record.unpack<CasWlanNetConfigType>(); }
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
