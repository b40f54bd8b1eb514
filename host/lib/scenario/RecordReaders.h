#pragma once

// The records a step hands over (the modem's indications and the engine's WLAN
// configuration), read from their fields by name or from their exact bytes ("record").

#include "scenario/JsonTree.h"
#include "scenario/Scenario.h"

namespace nexhost {

// The modem client a step names ("client", 0 to 7), else 0.
int readClient(const Node& n);

void readStart(const Node& n, ScenarioStep* step);
void readStop(const Node& n, ScenarioStep* step);
void readProfileInit(const Node& n, ScenarioStep* step);
void readProfileMask(const Node& n, ScenarioStep* step);
void readWlanConfig(const Node& n, ScenarioStep* step);

}  // namespace nexhost
