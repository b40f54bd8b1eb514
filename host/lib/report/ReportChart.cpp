#include "report/ReportChart.h"

#include <algorithm>

namespace nexhost {

namespace {

// Labels counted past the series limit; beyond them the page says "at least".
constexpr std::size_t kLeftOutNamesCounted = 100000;

}  // namespace

ReportChart::ReportChart(Limits limits) : limits_(std::move(limits)) {
  limits_.maxRows = std::max<std::size_t>(limits_.maxRows, 2);
}

std::size_t ReportChart::series(const std::string& label, const Json& options) {
  auto it = index_.find(label);
  if (it != index_.end()) return it->second;
  if (labels_.size() - (hasOverflow_ ? 1 : 0) >= limits_.maxSeries) {
    if (leftOut_.size() < kLeftOutNamesCounted) {
      leftOut_.insert(label);
    } else {
      leftOutPastCount_ = leftOutPastCount_ || leftOut_.count(label) == 0;
    }
    if (!hasOverflow_) {
      hasOverflow_ = true;
      overflow_ = labels_.size();
      labels_.push_back(limits_.overflowLabel);
      options_[limits_.overflowLabel] = Json{{"strokePattern", {2, 2}}, {"color", "#999999"}};
    }
    return overflow_;
  }
  index_.emplace(label, labels_.size());
  labels_.push_back(label);
  if (!options.empty()) options_[label] = options;
  return labels_.size() - 1;
}

void ReportChart::add(long long time, std::size_t series, double value) {
  if (isOpen_ && open_.time == time && hasOverflow_ && series == overflow_) {
    for (auto& point : open_.values) {
      if (point.first == series) {
        point.second = std::max(point.second, value);
        return;
      }
    }
  }
  if (isOpen_) {
    const bool taken = std::any_of(open_.values.begin(), open_.values.end(),
                                   [&](const auto& point) { return point.first == series; });
    if (open_.time != time || taken) closeRow();
  }
  if (!isOpen_) {
    open_ = Row{time, {}};
    isOpen_ = true;
  }
  open_.values.emplace_back(static_cast<uint32_t>(series), value);
}

void ReportChart::closeRow() {
  if (!isOpen_) return;
  isOpen_ = false;
  if (made_++ % stride_ == 0) rows_.push_back(std::move(open_));
  if (rows_.size() > limits_.maxRows) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < rows_.size(); i += 2) rows_[kept++] = std::move(rows_[i]);
    rows_.resize(kept);
    stride_ *= 2;
  }
}

Json ReportChart::toJson() const {
  std::vector<const Row*> rows;
  rows.reserve(rows_.size() + 1);
  for (const Row& row : rows_) rows.push_back(&row);
  if (isOpen_ && made_ % stride_ == 0) rows.push_back(&open_);
  // Points of one chart arrive in time order; a sort keeps the page safe if they do not.
  std::stable_sort(rows.begin(), rows.end(),
                   [](const Row* a, const Row* b) { return a->time < b->time; });
  // Only series with a point kept: the legend lists what is drawn. column[i]: series i's
  // column, 0 for none.
  std::vector<std::size_t> column(labels_.size(), 0);
  for (const Row* row : rows) {
    for (const auto& point : row->values) column[point.first] = 1;
  }
  Json out{{"labels", Json::array({"time"})},
           {"series", Json::object()},
           {"stride", stride_},
           {"left_out", leftOut_.size()},
           {"left_out_past_count", leftOutPastCount_}};
  std::size_t width = 0;
  for (std::size_t i = 0; i < labels_.size(); ++i) {
    if (column[i] == 0) continue;
    column[i] = ++width;
    out["labels"].push_back(labels_[i]);
    if (options_.contains(labels_[i])) out["series"][labels_[i]] = options_[labels_[i]];
  }
  Json& table = out["rows"] = Json::array();
  for (const Row* row : rows) {
    Json line(Json::value_t::array);
    line.get_ref<Json::array_t&>().resize(width + 1);
    line[0] = row->time;
    for (const auto& point : row->values) line[column[point.first]] = point.second;
    table.push_back(std::move(line));
  }
  return out;
}

}  // namespace nexhost
