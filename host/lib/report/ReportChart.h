#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "events/Trace.h"

namespace nexhost {

// One time chart: rows of a time and the values of the series that have a point then, as
// the page's chart library takes them. Bounded whatever the run sends: past `maxRows` rows
// it keeps every second row, and from then on every second new one, so that a long run
// keeps an even sample of its whole length; past `maxSeries` series, points of new labels
// go to one overflow series that keeps the highest value at each time. A row holds only
// the series present at its time.
class ReportChart {
 public:
  struct Limits {
    std::size_t maxRows = 10000;
    std::size_t maxSeries = 32;
    std::string overflowLabel = "others (highest)";
  };
  explicit ReportChart(Limits limits);

  // The series' index; a label seen for the first time adds a series with these display
  // options (the chart library's per-series options), or past the limit is counted and
  // given the overflow series.
  std::size_t series(const std::string& label, const Json& options = Json::object());
  void add(long long time, std::size_t series, double value);
  // {"labels": ["time", ...], "series": {label: options}, "rows": [[time, value|null, ...]],
  //  "stride": 1, "left_out": 0, "left_out_past_count": false}: only series with a point are
  //  listed; stride n means one row in n was kept; left_out counts the labels drawn as the
  //  overflow series (at least that many when past_count).
  Json toJson() const;

 private:
  struct Row {
    long long time;
    std::vector<std::pair<uint32_t, double>> values;  // series, value
  };
  void closeRow();

  Limits limits_;
  std::vector<std::string> labels_;
  std::unordered_map<std::string, std::size_t> index_;
  Json options_ = Json::object();
  std::size_t overflow_ = 0;  // its index, once made
  bool hasOverflow_ = false;
  // The labels past the limit, counted up to a bound of their own.
  std::unordered_set<std::string> leftOut_;
  bool leftOutPastCount_ = false;
  std::vector<Row> rows_;
  Row open_{0, {}};  // the row points at the same time go into
  bool isOpen_ = false;
  std::size_t made_ = 0;  // rows made so far, kept or not
  std::size_t stride_ = 1;
};

}  // namespace nexhost
