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
#include "report/RunModel.h"

namespace nexhost {

// A one-file HTML report of a run, built from its events as they happen. Per raw
// measurement: the sampled RSSI, its running average (folded as the plug-in does, with
// the request's alpha) and the reported values, or for scans each access point's RSSI
// and channel utilisation; per WQE profile: the quality verdicts and, for the default
// profile, the Wi-Fi state and the WLAN availability records; then the event timeline.
// Memory and the page's size stay bounded whatever the run's length (see Limits).
class RunReport {
 public:
  // The model's bounds, and the timeline's.
  struct Limits : RunModel::Limits {
    std::size_t timelineBytes = 8 * 1024 * 1024;  // first half and last half kept
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
  // Draws `other`'s series on this report's charts, their labels ending in " (name)"
  // (report --compare); the timeline stays this run's.
  void compareWith(std::unique_ptr<RunReport> other, const std::string& name);

 private:
  void keepInTimeline(const Event& event);

  Limits limits_;
  RunModel model_;
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
  std::unique_ptr<RunReport> compared_;
  std::string comparedName_;
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
// error naming `name` and the line at the first line that is not an event as nexhost
// writes it (EventLines).
bool addJsonLines(std::istream& in, const std::string& name, RunReport* report, std::string* error);

}  // namespace nexhost
