// report --compare: a second run's series drawn on the first run's charts.
#include <gtest/gtest.h>

#include "compare/ChartOverlay.h"

namespace {

using nexhost::Json;

// A measurement's or profile's chart of one panel.
Json chart(const Json& identity, const Json& labels, const Json& rows) {
  Json c = identity;
  c["panels"] = Json::array({{{"name", "rssi"},
                              {"labels", labels},
                              {"series", Json::object()},
                              {"rows", rows},
                              {"stride", 1}}});
  return c;
}

Json measurements(const Json& list) {
  return Json{{"measurements", list}, {"profiles", Json::array()}, {"notes", Json::array()}};
}

const Json kMeasurement3 = {{"client", 0}, {"id", 3}, {"mode", "connected"}};

TEST(ChartOverlayTest, RowsMergeByTimeWithEachRunsColumns) {
  const struct {
    const char* why;
    Json rowsA;
    Json rowsB;
    Json expected;
  } cases[] = {
      {"the same times share a row", Json::parse("[[1,-50],[2,-51]]"),
       Json::parse("[[1,-60],[2,-61]]"), Json::parse("[[1,-50,-60],[2,-51,-61]]")},
      {"other times interleave, each with nulls in the other run's columns",
       Json::parse("[[1,-50],[3,-51]]"), Json::parse("[[2,-60],[4,-61]]"),
       Json::parse("[[1,-50,null],[2,null,-60],[3,-51,null],[4,null,-61]]")},
      {"one run ends before the other", Json::parse("[[1,-50]]"), Json::parse("[[1,-60],[5,-61]]"),
       Json::parse("[[1,-50,-60],[5,null,-61]]")},
      {"an empty chart takes the other's rows", Json::array(), Json::parse("[[2,-60]]"),
       Json::parse("[[2,null,-60]]")},
  };
  for (const auto& c : cases) {
    Json charts =
        measurements(Json::array({chart(kMeasurement3, Json::array({"time", "RSSI"}), c.rowsA)}));
    nexhost::overlayCharts(
        &charts,
        measurements(Json::array({chart(kMeasurement3, Json::array({"time", "RSSI"}), c.rowsB)})),
        " (B)");
    EXPECT_EQ(charts["measurements"][0]["panels"][0]["rows"], c.expected) << c.why;
    EXPECT_EQ(charts["measurements"][0]["panels"][0]["labels"],
              Json::array({"time", "RSSI", "RSSI (B)"}))
        << c.why;
  }
}

TEST(ChartOverlayTest, ChartsMatchByTheirMeasurementOrProfileNotTheirPlace) {
  const Json other = {{"client", 0}, {"id", 4}, {"mode", "scan"}};
  Json charts = measurements(
      Json::array({chart(kMeasurement3, Json::array({"time", "average"}), Json::array()),
                   chart(other, Json::array({"time", "RSSI x"}), Json::array())}));
  charts["profiles"].push_back(
      chart({{"profile", 0}}, Json::array({"time", "verdict"}), Json::array()));
  Json compared =
      measurements(Json::array({chart(other, Json::array({"time", "RSSI y"}), Json::array()),
                                chart({{"client", 1}, {"id", 3}, {"mode", "connected"}},
                                      Json::array({"time", "average"}), Json::array())}));
  compared["profiles"].push_back(
      chart({{"profile", 0}}, Json::array({"time", "verdict"}), Json::array()));
  compared["measurements"][0]["panels"][0]["series"] = {{"RSSI y", {{"axis", "y2"}}}};
  nexhost::overlayCharts(&charts, compared, " (B)");
  EXPECT_EQ(charts["measurements"][0]["panels"][0]["labels"], Json::array({"time", "average"}));
  EXPECT_EQ(charts["measurements"][1]["panels"][0]["labels"],
            Json::array({"time", "RSSI x", "RSSI y (B)"}));
  EXPECT_EQ(charts["measurements"][1]["panels"][0]["series"],
            Json({{"RSSI y (B)", {{"axis", "y2"}}}}));
  EXPECT_EQ(charts["profiles"][0]["panels"][0]["labels"],
            Json::array({"time", "verdict", "verdict (B)"}));
  EXPECT_EQ(charts["notes"], Json::array({"the compared run's measurement client 1 id 3 mode "
                                          "\"connected\" is not in this run: not drawn"}));
}

// A handset's log holds the modem messages alone: its measurement, known by its reports,
// goes onto the replay's whatever the replay's mode; two known modes must agree.
TEST(ChartOverlayTest, AMeasurementKnownByItsReportsMatchesEitherMode) {
  const Json reportsOnly = {{"client", 0}, {"id", 3}, {"mode", "reports"}};
  const Json scan = {{"client", 0}, {"id", 3}, {"mode", "scan"}};
  for (const Json& mine : {kMeasurement3, scan}) {
    Json charts =
        measurements(Json::array({chart(mine, Json::array({"time", "a"}), Json::array())}));
    nexhost::overlayCharts(
        &charts,
        measurements(Json::array({chart(reportsOnly, Json::array({"time", "b"}), Json::array())})),
        " (log)");
    EXPECT_EQ(charts["measurements"][0]["panels"][0]["labels"],
              Json::array({"time", "a", "b (log)"}))
        << mine.dump();
  }
  Json charts = measurements(Json::array({chart(scan, Json::array({"time", "a"}), Json::array())}));
  nexhost::overlayCharts(
      &charts,
      measurements(Json::array({chart(kMeasurement3, Json::array({"time", "b"}), Json::array())})),
      " (B)");
  EXPECT_EQ(charts["notes"].size(), 1u);
}

}  // namespace
