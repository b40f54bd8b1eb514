#pragma once

#include <string>

#include "events/Trace.h"

namespace nexhost {

class ClientManager;
class Host;
class Node;
class ScenarioReader;
struct ScenarioStep;

// What a step means to a run's report (report/Report.cpp): the measurements and WQE
// profiles it charts follow from these.
enum class StepInReport {
  kNothing,
  kStartsMeasurement,      // the measurement charted once the manager accepts it
  kStopsMeasurement,       // of the client, by the indication's wifi_meas_id
  kStopsEveryMeasurement,  // of the client
  kCreatesDefaultProfile,  // profile 0
  kSelectsProfiles,        // those of the indication's mask
};

// One kind of step: everything the host does with it, from the scenario file to the
// report. Adding a kind is one row of the table (scenario/StepKinds.cpp) and its
// functions, plus its section in docs/scenarios.md.
struct StepKind {
  const char* key;  // in the scenario file, and the step event's "action"
  // Handed over by a modem client: the step names its client, and a clean shutdown sends
  // that client stop-all.
  bool fromClient;
  // Changes the scripted peers rather than the plug-in: it holds from its time on, before
  // what is due then, and live mode, whose peers are real, skips it.
  bool scriptsPeers;
  // Reads the key's value into the step (its time is set; `advance` moves it).
  void (*read)(ScenarioReader& reader, const Node& value, ScenarioStep* step);
  // Does it to the plug-in (or the engine, the supplicant, the platform).
  void (*perform)(Host& host, ClientManager& manager, const ScenarioStep& step);
  // The step event's keys after "action" and "client"; false: the step shows no event.
  bool (*describe)(const ScenarioStep& step, Json* event);
  // The key's value as a recorded session writes it; null: not written.
  Json (*record)(const ScenarioStep& step);
  StepInReport report;
};

// The table's rows, in the order the docs list them.
struct StepKindList {
  const StepKind* first;
  const StepKind* last;
  const StepKind* begin() const { return first; }
  const StepKind* end() const { return last; }
};
StepKindList stepKinds();
// The kind with this key; null for none.
const StepKind* stepKindNamed(const std::string& key);
// A kind the host makes steps of itself ("start" from live mode's options, "stop_all" at
// shutdown). Throws std::logic_error for a key the table lacks.
const StepKind& stepKind(const std::string& key);

}  // namespace nexhost
