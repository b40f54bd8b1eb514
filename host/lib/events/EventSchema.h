#pragma once

#include <optional>
#include <string>
#include <vector>

#include "events/Trace.h"

namespace nexhost {

// One line of a run saved with `nexhost run --json` as its event, checked against the
// events a run writes; nullopt with `error` saying what is wrong (without the input's
// name and line) otherwise. Refused: anything that is not JSON (the text output above
// all), nested deeper than 32 levels, with a key twice in one object, or with a key the
// event's kind does not have or of another type. A record's fields (a modem message's
// `fields`, a step's `indication` or `config`) must be fields of that record, of the type
// its decoding gives them, and lists no longer than the record holds; a float field must
// fit in 32 bits. So whatever a line holds, what reads the event finds the types the run
// wrote.
//
// Time and memory are linear in the line: objects are built in their order without a
// look-up per key, and every key is looked up once.
std::optional<Event> readEventLine(const std::string& line, std::string* error);

// Every kind of event a run writes, in the order the schema lists them ("step", "result",
// "modem", ...): what --only and --ignore take.
std::vector<std::string> eventKinds();

}  // namespace nexhost
