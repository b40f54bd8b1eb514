#include "RawMeasurement.h"

#include "Log.h"

WifiMeasurementRequest::RawMeasurement::RawMeasurement(
    NexMdxDsd& client, NexCom& /*com*/, NexTimer& timer, NexSupplicantWrapper& supplicant,
    WifiInfoProvider& infoProvider, dsd_start_wifi_meas_ind_msg_v01 indication,
    CompletionCallback /*callback*/)
    : client(&client),
      timer(&timer),
      supplicant(&supplicant),
      infoProvider(&infoProvider),
      indication(indication) {
  MDX_LOG(2, "RawMeasurement Xtor");
}

WifiMeasurementRequest::RawMeasurement::~RawMeasurement() { MDX_LOG(2, "RawMeasurement D-Xtor"); }

bool WifiMeasurementRequest::RawMeasurement::isConfigParamOk() {
  bool ok = true;
  if (indication.meas_param_mask == 0) {
    MDX_LOG(1, "No params specified for measurement");
    ok = false;
  } else if ((indication.meas_param_mask & DSD_WIFI_MEAS_PARAM_RSSI_V01) == 0) {
    MDX_LOG(1, "Measurement parameters does not include RSSI");
    ok = false;
  }
  if (indication.sampling_interval_valid) samplingInterval = indication.sampling_interval;
  if (indication.reporting_interval_valid) reportingInterval = indication.reporting_interval;
  if (indication.alpha_valid && indication.alpha > 0.0f && indication.alpha < 1.0f) {
    alpha = indication.alpha;
  }
  MDX_LOG(0, "samplingInterval  : %u", static_cast<unsigned>(samplingInterval));
  MDX_LOG(0, "reportingInterval : %u", static_cast<unsigned>(reportingInterval));
  MDX_LOG(0, "alpha             : %f", static_cast<double>(alpha));
  return ok;
}

bool WifiMeasurementRequest::RawMeasurement::startMeasurement() {
  if (!isConfigParamOk()) return false;
  measurementId = indication.wifi_meas_id;
  return true;
}

void WifiMeasurementRequest::RawMeasurement::stopMeasurement() { reportId = 1; }

void WifiMeasurementRequest::RawMeasurement::computeAvgRSSI(int16_t sample) {
  if (!rssiSampled) {
    avgRssi = sample;
    prevAvgRssi = sample;
    rssiSampled = true;
    return;
  }
  // Each product and the sum in its own float, so that no target fuses a multiply-add
  // and truncates differently.
  const float previousPart = alpha * static_cast<float>(prevAvgRssi);
  const float samplePart = (1.0f - alpha) * static_cast<float>(sample);
  const float average = previousPart + samplePart;
  avgRssi = static_cast<int16_t>(static_cast<int>(average));  // truncates toward zero
  prevAvgRssi = avgRssi;
}
