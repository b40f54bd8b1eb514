#pragma once

#include <string>

#include "events/Trace.h"

namespace nexhost {

// Draws a second run's series on the first run's charts (`report A --compare B`): each
// chart of `compared` is matched to the chart of the same measurement (client, id and
// mode, any mode for one known by its reports alone) or profile in `charts`, and its series are
// added there, their labels ending in `suffix`, their rows merged into the chart's by time. A chart
// only the compared run has is named in the notes. Both take the report's chart data
// ({"measurements": [...], "profiles": [...], "notes": [...]}, each chart {"panels": [...]}, each
// panel {"name", "labels", "series", "rows", "stride"}): panels match by name, rows are in time
// order, as the report keeps them. A merged chart has at most the rows of both.
void overlayCharts(Json* charts, const Json& compared, const std::string& suffix);

}  // namespace nexhost
