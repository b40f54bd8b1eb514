// The weighted RSSI average must give the same integers on every target. Each product and
// the sum are single-precision floats rounded in that order, then truncated toward zero.
// The rows sit where that order matters: sums that land on or next to an integer, where a
// fused multiply-add (either pairing), a double-precision sum, flooring or rounding would
// each give a neighbour value. The expected values were computed in that plain float order.
#include <gtest/gtest.h>

#include <vector>

#include "Indications.h"
#include "RawMeasurement.h"
#include "TestHost.h"
#include "WifiInfoProvider.h"

namespace {

using RssiAverageTest = PluginTest;

struct Row {
  const char* why;
  float alpha;
  std::vector<int16_t> samples;
  std::vector<int16_t> averages;  // after each sample
};

const Row kRows[] = {
    {"default weight, -65.5 and -68.0", 0.5f, {-60, -71, -71}, {-60, -65, -68}},
    {"-60.5 truncates up, where floor gives -61", 0.5f, {-61, -60}, {-61, -60}},
    {"62.5 truncates down, where rounding gives 63", 0.5f, {62, 63}, {62, 62}},
    {"exact quarter weights, -61.5", 0.25f, {-60, -62}, {-60, -61}},
    // Fusing alpha * previous gives -62, fusing the sample's product -54, a double sum -34.
    {"0.1 near integers", 0.1f, {-81, -61, -53, -33}, {-81, -63, -53, -35}},
    // 0.1f * -41 + (1 - 0.1f) * -41 is -40.9999962 in floats: a steady -41 reads -40.
    {"0.1 steady signal drifts up by one", 0.1f, {-41, -41}, {-41, -40}},
    // A double sum gives -36 and -43; fusing alpha * previous gives -78 at the end.
    {"0.3 near integers", 0.3f, {-30, -40, -47, -94}, {-30, -37, -44, -79}},
    // Fusing the sample's product gives -75 at once; a double sum -63 and -54.
    {"0.7 near integers", 0.7f, {-94, -34, -36, -34}, {-94, -76, -64, -55}},
    // Fusing alpha * previous gives -56; a double sum -52 and -51; the other fusing -51.
    {"0.9 near integers", 0.9f, {-58, -38, -35, -43}, {-58, -55, -53, -52}},
};

TEST_F(RssiAverageTest, MatchesPlainFloatOrderNearTruncationBoundaries) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.why);
    // Connected mode, started for its weight; the samples are fed by hand.
    auto ind = testind::indication(1, DSD_WIFI_MEAS_PARAM_RSSI_V01, {testind::connected()});
    ind.alpha_valid = 1;
    ind.alpha = row.alpha;
    WifiMeasurementRequest::RawMeasurement raw(host.client(), host.com, host.timer,
                                               host.supplicant(), *WifiInfoProvider::getInstance(),
                                               ind, nullptr);
    ASSERT_TRUE(raw.startMeasurement());
    ASSERT_EQ(row.samples.size(), row.averages.size());
    for (std::size_t i = 0; i < row.samples.size(); ++i) {
      raw.computeAvgRSSI(row.samples[i]);
      EXPECT_EQ(raw.averageRssi(), row.averages[i]) << "after sample " << i;
    }
    raw.stopMeasurement();
  }
}

}  // namespace
