#include "Command.h"
#include "events/EventSchema.h"

namespace nexhost {

const std::vector<Command>& commands() {
  static const std::vector<Command> table = {
      {"run", "Replay a scenario on a virtual clock with scripted peers and print what happens.",
       defineRun},
      {"live",
       "Run the plug-in in real time against a running wpa_supplicant (and hostapd_cli).\n"
       "One host timer unit is one second. Ctrl-C stops every request and exits.",
       defineLive},
      {"report", "Write the one-file HTML report of a run saved with --json.", defineReport},
      {"diff", "Compare two runs saved with --json event by event; exit 0 when equal, 1 when not.",
       defineDiff},
      {"decode", "Decode modem records given as hex, with the same output as a run's modem events.",
       defineDecode},
  };
  return table;
}

std::vector<std::string> eventKindNames() { return eventKinds(); }

// 5 prints none.
const std::vector<std::pair<std::string, int>>& logLevels() {
  static const std::vector<std::pair<std::string, int>> levels = {
      {"trace", 0}, {"debug", 1}, {"info", 2}, {"warn", 3}, {"error", 4}, {"none", 5}};
  return levels;
}

}  // namespace nexhost
