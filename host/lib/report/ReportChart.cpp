#include "report/ReportChart.h"

#include <algorithm>

namespace nexhost {

std::size_t ReportChart::series(const std::string& label, const Json& options) {
  for (std::size_t i = 0; i < labels_.size(); ++i) {
    if (labels_[i] == label) return i;
  }
  labels_.push_back(label);
  if (!options.empty()) options_[label] = options;
  return labels_.size() - 1;
}

void ReportChart::add(long long time, std::size_t series, double value) {
  if (open_ && (open_->time != time ||
                (series < open_->values.size() && open_->values[series].has_value()))) {
    closeRow();
  }
  if (!open_) open_ = Row{time, {}};
  if (open_->values.size() <= series) open_->values.resize(series + 1);
  open_->values[series] = value;
}

void ReportChart::closeRow() {
  if (!open_) return;
  if (made_++ % stride_ == 0) rows_.push_back(std::move(*open_));
  open_.reset();
  if (rows_.size() > maxRows_) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < rows_.size(); i += 2) rows_[kept++] = std::move(rows_[i]);
    rows_.resize(kept);
    stride_ *= 2;
  }
}

Json ReportChart::toJson() const {
  std::vector<const Row*> rows;
  for (const Row& row : rows_) rows.push_back(&row);
  if (open_ && made_ % stride_ == 0) rows.push_back(&*open_);
  // Points of one chart arrive in time order; a sort keeps the page safe if they do not.
  std::stable_sort(rows.begin(), rows.end(),
                   [](const Row* a, const Row* b) { return a->time < b->time; });
  Json out{{"labels", Json::array({"time"})}, {"series", options_}, {"stride", stride_}};
  for (const std::string& label : labels_) out["labels"].push_back(label);
  Json& table = out["rows"] = Json::array();
  for (const Row* row : rows) {
    Json line = Json::array({row->time});
    for (std::size_t i = 0; i < labels_.size(); ++i) {
      if (i < row->values.size() && row->values[i]) {
        line.push_back(*row->values[i]);
      } else {
        line.push_back(nullptr);
      }
    }
    table.push_back(std::move(line));
  }
  return out;
}

}  // namespace nexhost
