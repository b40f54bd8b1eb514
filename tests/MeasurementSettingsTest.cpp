// The settings the report folds its average with are the plug-in's, read from the start
// record as it reads them: a saved run's record bytes when it has them, else its fields.
#include <gtest/gtest.h>

#include <cstring>

#include "dsd/dsd_messages_v01.h"
#include "report/MeasurementSettings.h"
#include "text/ByteText.h"

namespace {

using nexhost::Json;

TEST(MeasurementSettingsTest, OutOfRangeValuesKeepThePluginsOwn) {
  const struct {
    const char* why;
    Json fields;
    float alpha;
    long long sampling;
    long long reporting;
  } cases[] = {
      {"nothing valid: the plug-in's defaults", Json::object(), 0.5f, 2, 5},
      {"alpha inside (0, 1) is taken", {{"alpha_valid", 1}, {"alpha", 0.25}}, 0.25f, 2, 5},
      {"alpha above 1 is not", {{"alpha_valid", 1}, {"alpha", 5}}, 0.5f, 2, 5},
      {"nor below 0", {{"alpha_valid", 1}, {"alpha", -0.5}}, 0.5f, 2, 5},
      {"nor 1 itself", {{"alpha_valid", 1}, {"alpha", 1.0}}, 0.5f, 2, 5},
      {"nor NaN", {{"alpha_valid", 1}, {"alpha", "nan"}}, 0.5f, 2, 5},
      {"a value without its flag is not", {{"alpha", 0.25}, {"sampling_interval", 9}}, 0.5f, 2, 5},
      {"valid intervals are taken as they are, 0 and negative too",
       {{"sampling_interval_valid", 1},
        {"sampling_interval", 0},
        {"reporting_interval_valid", 1},
        {"reporting_interval", -3}},
       0.5f,
       0,
       -3},
  };
  for (const auto& c : cases) {
    const auto settings = nexhost::measurementSettings({{"indication", c.fields}});
    ASSERT_TRUE(settings) << c.why;
    EXPECT_EQ(settings->alpha, c.alpha) << c.why;
    EXPECT_EQ(settings->samplingPeriod, c.sampling) << c.why;
    EXPECT_EQ(settings->reportingPeriod, c.reporting) << c.why;
  }
}

// Connected mode needs the flag and all 32 SSID bytes of the first entry zero; the fields
// end a text at its first NUL, so the bytes decide when the event has them.
TEST(MeasurementSettingsTest, ConnectedModeFollowsTheFirstSsidsBytes) {
  dsd_start_wifi_meas_ind_msg_v01 record;
  std::memset(&record, 0, sizeof record);
  record.wifi_ident_valid = 1;
  const auto bytes = [&] {
    return nexhost::hexText(reinterpret_cast<const uint8_t*>(&record), sizeof record);
  };
  const auto connected = [](const Json& event) {
    return nexhost::measurementSettings(event)->connected;
  };
  const Json zeroSsid = {{"wifi_ident_valid", 1}, {"wifi_ident", {{{"ssid", ""}}}}};
  EXPECT_TRUE(connected({{"indication", zeroSsid}}));
  EXPECT_FALSE(
      connected({{"indication", {{"wifi_ident_valid", 1}, {"wifi_ident", {{{"ssid", "Lab"}}}}}}}));
  EXPECT_FALSE(connected({{"indication", {{"wifi_ident", {{{"ssid", ""}}}}}}}));
  EXPECT_TRUE(connected({{"indication", zeroSsid}, {"bytes", bytes()}}));
  record.wifi_ident[0].ssid_info.ssid[5] = 'x';  // "" to the fields, not to the plug-in
  EXPECT_FALSE(connected({{"indication", zeroSsid}, {"bytes", bytes()}}));
  // No entries listed: still the first entry's bytes, which are zero.
  record.wifi_ident[0].ssid_info.ssid[5] = 0;
  record.wifi_ident_len = 0;
  EXPECT_TRUE(connected({{"indication", {{"wifi_ident_valid", 1}}}, {"bytes", bytes()}}));
}

TEST(MeasurementSettingsTest, AStepWithoutTheRecordHasNoSettings) {
  EXPECT_FALSE(nexhost::measurementSettings({{"action", "start"}, {"client", 0}}));
}

}  // namespace
