#pragma once

#include <cstdint>
#include <cstdio>
#include <deque>
#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "events/Trace.h"
#include "output/OutputFile.h"

namespace nexhost {

// One time chart: rows of a time and one value per series (none where a series has no
// point at that time), as the page's chart library takes them. Past `maxRows` rows it
// keeps every second row, and from then on every second new one, so that a long run
// keeps an even sample of its whole length in bounded memory.
class ReportChart {
 public:
  explicit ReportChart(std::size_t maxRows) : maxRows_(maxRows < 2 ? 2 : maxRows) {}

  // The series' index; a label seen for the first time adds a series with these
  // display options (the chart library's per-series options).
  std::size_t series(const std::string& label, const Json& options = Json::object());
  void add(long long time, std::size_t series, double value);
  // {"labels": ["time", ...], "series": {label: options}, "rows": [[time, value|null, ...]],
  //  "stride": 1}: stride n means one row in n was kept.
  Json toJson() const;

 private:
  struct Row {
    long long time;
    std::vector<std::optional<double>> values;
  };
  void closeRow();

  std::size_t maxRows_;
  std::vector<std::string> labels_;
  Json options_ = Json::object();
  std::vector<Row> rows_;
  std::optional<Row> open_;  // the row points at the same time go into
  std::size_t made_ = 0;     // rows made so far, kept or not
  std::size_t stride_ = 1;
};

// A one-file HTML report of a run, built from its events as they happen. Per raw
// measurement: the sampled RSSI, its running average (folded as the plug-in does, with
// the request's alpha) and the reported values, or for scans each access point's RSSI
// and channel utilisation; per WQE profile: the quality verdicts and, for the default
// profile, the Wi-Fi state and the WLAN availability records; then the event timeline.
// Memory and the page's size stay bounded whatever the run's length (see Limits).
class RunReport {
 public:
  struct Limits {
    std::size_t rowsPerChart = 10000;
    std::size_t charts = 64;                       // measurements and profiles charted
    std::size_t availabilityRecords = 500;         // the last ones listed in a table
    std::size_t timelineBytes = 16 * 1024 * 1024;  // first half and last half kept
  };

  RunReport();
  explicit RunReport(Limits limits);
  ~RunReport();
  RunReport(const RunReport&) = delete;
  RunReport& operator=(const RunReport&) = delete;

  void add(const Event& event);
  // What the page charts: {"measurements": [...], "profiles": [...], "notes": [...]}.
  Json charts();
  // The whole page; `source` names what ran (a scenario, a live socket, a saved run).
  void write(std::FILE* out, const std::string& source);

 private:
  struct Measurement;
  struct Profile;
  struct PendingStart {
    int client = 0;
    Json indication;
    std::vector<std::pair<long long, long long>> timers;  // id, period
  };
  struct PendingPoll {
    long long time;
    int16_t rssi;
  };

  void onStep(const Event& event);
  void onModem(const Event& event);
  void onSupplicant(const Event& event);
  void onStarted(long long time, bool accepted);
  // A successful SIGNAL_POLL is a sample unless a STATUS follows it (a status query).
  void settlePoll();
  void takeSample(long long time, std::optional<int16_t> rssi);
  Measurement* activeMeasurement(int client, long long id);
  Profile* profile(long long type);
  void keepInTimeline(const Event& event);

  Limits limits_;
  std::vector<std::unique_ptr<Measurement>> measurements_;
  std::vector<std::unique_ptr<Profile>> profiles_;
  std::optional<PendingStart> pendingStart_;
  std::optional<PendingPoll> pendingPoll_;
  std::size_t chartsRefused_ = 0;
  long long firstTime_ = 0;
  long long lastTime_ = 0;
  std::size_t events_ = 0;
  Json kindCounts_ = Json::object();
  // The timeline: the first events up to half the budget, and a window of the latest.
  std::string timelineHead_;
  std::deque<std::string> timelineTail_;
  std::size_t timelineTailBytes_ = 0;
  std::size_t timelineLeftOut_ = 0;
  bool headFull_ = false;
};

// A report for a file: opened before the run, so that an output that cannot be written is
// refused before anything runs; fed every event; written when the run ends. The file is
// replaced only once the whole page is written (OutputFile): destroyed unwritten, or
// failing to write, it leaves whatever was there.
class ReportFile {
 public:
  // `option` names the output in errors ("--report", "-o").
  static std::unique_ptr<ReportFile> open(const std::string& path, std::string option,
                                          std::string source, std::string* error);
  ReportFile(const ReportFile&) = delete;
  ReportFile& operator=(const ReportFile&) = delete;

  RunReport& report() { return report_; }
  void add(const Event& event) { report_.add(event); }
  // Writes the page and puts the file in place; false with one line naming the output.
  bool write(std::string* error);
  // The errno of a failed write (EPIPE: standard output's reader went away).
  int errorNumber() const { return file_->errorNumber(); }

 private:
  ReportFile(std::unique_ptr<OutputFile> file, std::string source)
      : file_(std::move(file)), source_(std::move(source)) {}

  std::unique_ptr<OutputFile> file_;
  std::string source_;
  RunReport report_;
};

// Feeds a saved `--json` run (JSON Lines) to a report. Returns false with a one-line
// error naming `name` and the line when a line is not an event nexhost writes, longer
// than 1 MiB or nested deeper than 32 levels.
bool addJsonLines(std::istream& in, const std::string& name, RunReport* report, std::string* error);

}  // namespace nexhost
