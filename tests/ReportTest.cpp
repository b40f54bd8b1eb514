// The run report's data: what its charts hold is derived from the event stream alone.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "report/Report.h"

namespace {

using nexhost::Event;
using nexhost::Json;
using nexhost::RunReport;

void feed(RunReport& report, const std::string& jsonLines) {
  std::istringstream in(jsonLines);
  std::string error;
  ASSERT_TRUE(nexhost::addJsonLines(in, "run", &report, &error)) << error;
}

std::string startConnected(double alpha) {
  return R"({"time":0,"kind":"step","action":"start","client":0,"indication":{"wifi_meas_id":3,)"
         R"("wifi_ident_valid":1,"wifi_ident":[{"ssid":""}],"alpha_valid":1,"alpha":)" +
         std::to_string(alpha) + R"(}}
{"time":0,"kind":"timer","action":"add","id":1,"period":1}
{"time":0,"kind":"timer","action":"add","id":2,"period":2}
{"time":0,"kind":"result","operation":"startWifiMeasurement","wifi_meas_id":3,"accepted":true}
)";
}

std::string poll(long long time, int rssi) {
  return R"({"time":)" + std::to_string(time) +
         R"(,"kind":"supplicant","interface":"sta","command":"SIGNAL_POLL","ok":true,"rssi":)" +
         std::to_string(rssi) + "}\n";
}

// Samples are the polls of the sampling timer; a poll that begins a status query (STATUS
// follows) is not one. The average folds them as the plug-in does, truncating.
TEST(RunReportTest, ConnectedChartHoldsSamplesTheirAverageAndTheReportedValue) {
  RunReport report;
  feed(report,
       startConnected(0.5) + poll(1, -60) + poll(2, -71) + poll(2, -90) +
           R"({"time":2,"kind":"supplicant","interface":"sta","command":"STATUS","ok":true}
{"time":2,"kind":"modem","client":0,"message":"wifi_meas_report","fields":{"wifi_meas_id":3,"bss_info":[{"rssi":-65}]}}
)" + poll(3, -71) +
           R"({"time":3,"kind":"step","action":"stop","client":0,"indication":{"wifi_meas_id":3}}
)" + poll(4, -20));
  const Json chart = report.charts()["measurements"][0];
  EXPECT_EQ(chart["mode"], "connected");
  EXPECT_EQ(chart["panels"][0]["labels"],
            Json::parse(R"(["time","sampled RSSI","average","reported"])"));
  EXPECT_EQ(chart["panels"][0]["rows"],
            Json::parse("[[1,-60,-60,null],[2,-71,-65,-65],[3,-71,-68,null]]"));
  EXPECT_EQ(chart["stopped"], 3);
}

// Past the series limit new labels share one series, which keeps the highest value at a
// time; a series without a point is not listed (the legend lists what is drawn).
TEST(ReportChartTest, SeriesPastTheLimitShareOneAndEmptySeriesAreNotListed) {
  nexhost::ReportChart chart({100, 2, "others"});
  chart.series("never drawn");
  const std::size_t a = chart.series("a");
  const std::size_t b = chart.series("b");  // the third label: past the limit
  EXPECT_EQ(chart.series("c"), b);
  chart.add(1, a, -50);
  chart.add(1, b, -70);
  chart.add(1, chart.series("c"), -60);
  chart.add(2, chart.series("d"), -80);
  const Json json = chart.toJson();
  EXPECT_EQ(json["labels"], Json::parse(R"(["time","a","others"])"));
  EXPECT_EQ(json["rows"], Json::parse("[[1,-50,-60],[2,null,-80]]"));
  EXPECT_EQ(json["left_out"], 3);  // b, c, d
}

TEST(RunReportTest, BoundsChartRowsAndTimelineOnALongRun) {
  RunReport::Limits limits;
  limits.rowsPerChart = 8;
  limits.timelineBytes = 4096;
  RunReport report(limits);
  std::string run = startConnected(0.8);
  for (int t = 1; t <= 1000; ++t) run += poll(t, -50 - t % 7);
  feed(report, run);
  const Json charts = report.charts();
  const Json& chart = charts["measurements"][0]["panels"][0];
  EXPECT_LE(chart["rows"].size(), 8u);
  EXPECT_EQ(chart["rows"][0][0], 1);  // an even sample from the start on
  EXPECT_EQ(chart["stride"], 128);
  ASSERT_EQ(charts["notes"].size(), 1u);
  EXPECT_NE(charts["notes"][0].get<std::string>().find("leaves out"), std::string::npos);
}

}  // namespace
