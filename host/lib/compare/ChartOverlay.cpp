#include "compare/ChartOverlay.h"

#include <algorithm>

namespace nexhost {

namespace {

// What makes a chart the same one in both runs.
struct ChartKind {
  const char* list;
  const char* keys[3];
  const char* name;  // how a note names it
};
constexpr ChartKind kChartKinds[] = {
    {"measurements", {"client", "id", "mode"}, "measurement"},
    {"profiles", {"profile", nullptr, nullptr}, "profile"},
};

// A measurement known by its reports alone (a run filtered to its modem messages, a
// handset's log) has no mode: it matches the same measurement in either mode.
bool modeUnknown(const Json& chart) { return chart.value("mode", Json()) == "reports"; }

bool sameChart(const ChartKind& kind, const Json& a, const Json& b) {
  for (const char* key : kind.keys) {
    if (key == nullptr || a.value(key, Json()) == b.value(key, Json())) continue;
    if (std::string(key) == "mode" && (modeUnknown(a) || modeUnknown(b))) continue;
    return false;
  }
  return true;
}

std::string chartName(const ChartKind& kind, const Json& chart) {
  std::string name = kind.name;
  for (const char* key : kind.keys) {
    if (key != nullptr) name += std::string(" ") + key + " " + chart.value(key, Json()).dump();
  }
  return name;
}

long long rowTime(const Json& row) { return row.at(0).get<long long>(); }

// One merged row: A's values (nulls where A has no row at this time), then B's likewise.
Json joined(const Json* a, std::size_t widthA, const Json* b, std::size_t widthB) {
  Json row = Json::array({rowTime(a != nullptr ? *a : *b)});
  for (std::size_t i = 1; i <= widthA; ++i) row.push_back(a != nullptr ? a->at(i) : Json());
  for (std::size_t i = 1; i <= widthB; ++i) row.push_back(b != nullptr ? b->at(i) : Json());
  return row;
}

void overlay(Json* chart, const Json& other, const std::string& suffix) {
  const std::size_t widthA = chart->at("labels").size() - 1;
  const std::size_t widthB = other.at("labels").size() - 1;
  for (std::size_t i = 1; i <= widthB; ++i) {
    const std::string label = other["labels"][i].get<std::string>();
    (*chart)["labels"].push_back(label + suffix);
    if (other["series"].contains(label)) {
      (*chart)["series"][label + suffix] = other["series"][label];
    }
  }
  const Json& rowsA = chart->at("rows");
  const Json& rowsB = other.at("rows");
  Json rows = Json::array();
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < rowsA.size() || j < rowsB.size()) {
    const bool takeA =
        j == rowsB.size() || (i < rowsA.size() && rowTime(rowsA[i]) <= rowTime(rowsB[j]));
    const bool takeB =
        i == rowsA.size() || (j < rowsB.size() && rowTime(rowsB[j]) <= rowTime(rowsA[i]));
    rows.push_back(
        joined(takeA ? &rowsA[i] : nullptr, widthA, takeB ? &rowsB[j] : nullptr, widthB));
    i += takeA ? 1 : 0;
    j += takeB ? 1 : 0;
  }
  (*chart)["rows"] = std::move(rows);
  (*chart)["stride"] = std::max(chart->value("stride", 1LL), other.value("stride", 1LL));
}

// Each panel onto the panel of the same name.
void overlayPanels(Json* chart, const Json& other, const std::string& suffix) {
  Json& mine = (*chart)["panels"];
  for (const Json& theirs : other.value("panels", Json::array())) {
    auto match = std::find_if(mine.begin(), mine.end(), [&](const Json& panel) {
      return panel.value("name", Json()) == theirs.value("name", Json());
    });
    if (match != mine.end()) overlay(&*match, theirs, suffix);
  }
}

}  // namespace

void overlayCharts(Json* charts, const Json& compared, const std::string& suffix) {
  for (const ChartKind& kind : kChartKinds) {
    Json& mine = (*charts)[kind.list];
    for (const Json& theirs : compared.value(kind.list, Json::array())) {
      auto match = std::find_if(mine.begin(), mine.end(),
                                [&](const Json& chart) { return sameChart(kind, chart, theirs); });
      if (match != mine.end()) {
        overlayPanels(&*match, theirs, suffix);
      } else {
        (*charts)["notes"].push_back("the compared run's " + chartName(kind, theirs) +
                                     " is not in this run: not drawn");
      }
    }
  }
}

}  // namespace nexhost
