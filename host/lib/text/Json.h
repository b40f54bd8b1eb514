// The JSON value every room of the host shares: events, records' fields, scenarios.
// Ordered, so that keys print in the order they were made.
#pragma once

#include <nlohmann/json.hpp>

namespace nexhost {

using Json = nlohmann::ordered_json;

}  // namespace nexhost
