#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "events/Trace.h"

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

}  // namespace nexhost
