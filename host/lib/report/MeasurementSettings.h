#pragma once

#include <optional>

#include "events/Trace.h"

namespace nexhost {

// What a raw measurement runs with, read from its start record the way the plug-in reads
// it: a valid interval is taken as it is, alpha only inside (0, 1), anything else keeps the
// plug-in's own value. The report draws its average from these and nothing else.
struct MeasurementSettings {
  bool connected = false;  // the first network's SSID is all zero bytes: samples the link
  float alpha = 0.5f;      // weight of the previous average
  long long samplingPeriod = 2;
  long long reportingPeriod = 5;
};

// From a start step's "indication" fields and, when the event has them, its record bytes
// (hex), which are what the plug-in was given; empty when the event holds neither.
std::optional<MeasurementSettings> measurementSettings(const Json& stepEvent);

}  // namespace nexhost
