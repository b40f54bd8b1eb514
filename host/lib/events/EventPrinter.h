#pragma once

#include <cstdio>
#include <set>
#include <string>

#include "events/Trace.h"

namespace nexhost {

// Renders trace events as nexhost prints them: readable text (one line per event, and an
// indented block of fields under each modem message and step), or JSON Lines (one object
// per event: "time", "kind", then the event's own keys).
class EventPrinter {
 public:
  enum class Format { kText, kJsonLines };

  EventPrinter(std::FILE* out, Format format) : out_(out), format_(format) {}

  // Print only these kinds; empty prints every kind.
  void setKinds(std::set<std::string> kinds) { kinds_ = std::move(kinds); }
  // Print nothing at all (nexhost -q: a run for its report).
  void setSilent(bool silent) { silent_ = silent; }
  // Whether an event of this kind prints.
  bool prints(const std::string& kind) const {
    return !silent_ && (kinds_.empty() || kinds_.count(kind) != 0);
  }
  // Flush after each event (the default: a live run's events show when they happen). A
  // replay runs as fast as it can and lets stdio buffer: a write per event would be most
  // of its cost.
  void setFlushEachEvent(bool flush) { flushEachEvent_ = flush; }

  // A write that fails (a full disk, a reader gone) ends the printing: its errno is kept,
  // nothing more is written, and `onFailure`, when set, is called once with that errno
  // (live mode stops its session there).
  void setOnWriteFailure(void (*onFailure)(int error)) { onFailure_ = onFailure; }
  int writeError() const { return writeError_; }

  void print(const Event& event);
  // Hooks the printer to a trace, so that events print as they happen.
  void attach(Trace& trace);

  static std::string text(const Event& event);
  // The event's one line as text() prints it, past its time and kind columns: every view
  // of a run (the text output, the report's timeline) tells an event with this line.
  static std::string summary(const Event& event);
  static std::string jsonLine(const Event& event);

 private:
  std::FILE* out_;
  Format format_;
  std::set<std::string> kinds_;
  bool silent_ = false;
  bool flushEachEvent_ = true;
  int writeError_ = 0;
  void (*onFailure_)(int error) = nullptr;
};

}  // namespace nexhost
