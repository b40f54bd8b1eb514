#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "events/Trace.h"
#include "report/MeasurementSettings.h"
#include "report/ReportChart.h"

namespace nexhost {

// What a run's charts show, derived from its events alone. Per raw measurement: the
// sampled RSSI, its running average (folded as the plug-in does, with the request's alpha)
// and the reported values, or for scans each access point's RSSI and channel utilisation;
// per WQE profile: the quality verdicts and, for the default profile, the Wi-Fi state and
// the WLAN availability records. Memory stays bounded whatever the run's length (Limits).
class RunModel {
 public:
  struct Limits {
    std::size_t rowsPerChart = 10000;
    std::size_t seriesPerChart = 32;        // access points, the rest as one series
    std::size_t charts = 64;                // measurements and profiles charted
    std::size_t availabilityRecords = 500;  // the last ones listed in a table
  };

  explicit RunModel(Limits limits);
  ~RunModel();
  RunModel(const RunModel&) = delete;
  RunModel& operator=(const RunModel&) = delete;

  void add(const Event& event);
  // {"measurements": [...], "profiles": [...], "notes": [...]}.
  Json charts();

 private:
  struct Measurement;
  struct Profile;
  struct PendingStart {
    int client = 0;
    Json indication;
    std::optional<MeasurementSettings> settings;
  };
  struct PendingPoll {
    long long time;
    int16_t rssi;
  };

  void onStep(const Event& event);
  void onModem(const Event& event);
  void onSupplicant(const Event& event);
  void onStarted(long long time, bool accepted);
  // Null past the chart limit.
  Measurement* addMeasurement(int client, long long id, long long time, const Json& request,
                              std::optional<MeasurementSettings> settings);
  // A successful SIGNAL_POLL is a sample unless a STATUS follows it (a status query).
  void settlePoll();
  void takeSample(long long time, std::optional<int16_t> rssi);
  Measurement* activeMeasurement(int client, long long id);
  Profile* profile(long long type);

  Limits limits_;
  std::vector<std::unique_ptr<Measurement>> measurements_;
  std::vector<std::unique_ptr<Profile>> profiles_;
  std::optional<PendingStart> pendingStart_;
  std::optional<PendingPoll> pendingPoll_;
  std::size_t chartsRefused_ = 0;
  bool sawSteps_ = false;       // else measurements are known by their reports
  bool sawSupplicant_ = false;  // else connected mode has no samples
};

}  // namespace nexhost
