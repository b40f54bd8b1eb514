#pragma once

#include <string>
#include <vector>

#include "events/Trace.h"

namespace nexhost {

// One key whose value differs between two events, named by its path from the event
// ("time", "rssi", "bss_info[0].rssi"). A decoded record's fields are named under what the
// record is: a modem message's under its message ("wifi_meas_report.bss_info[0].rssi"), a
// step's indication or configuration under its action ("start.sampling_interval"). Values
// are shown as the text output shows them; "(absent)" where an event lacks the key.
struct FieldChange {
  std::string path;
  std::string before;
  std::string after;

  bool operator==(const FieldChange& other) const {
    return path == other.path && before == other.before && after == other.after;
  }
};

// Whether two events are the same: kind, keys and values, and time unless `ignoreTime`.
bool sameEvent(const Event& a, const Event& b, bool ignoreTime);

// What differs from `a` to `b`, in `a`'s key order (then the keys only `b` has). Events of
// different kinds, or records of different messages or actions, differ only in that: their
// other keys mean different things. A record's "bytes" is listed only when nothing decoded
// differs (the fields are the same bytes, read), as the first byte that differs.
std::vector<FieldChange> fieldChanges(const Event& a, const Event& b, bool ignoreTime);

}  // namespace nexhost
