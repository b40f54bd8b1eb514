#pragma once

#include <string>
#include <utility>
#include <vector>

#include "text/Json.h"

namespace nexhost {

// The host's clock, in host timer units. Virtual in replays; live mode moves it with the
// wall clock.
class Clock {
 public:
  long long now() const { return now_; }
  void set(long long t) { now_ = t; }

 private:
  long long now_ = 0;
};

// Everything the plug-in does to its host, in order: modem messages, supplicant and
// hostapd commands, timers, engine registrations and log lines.
struct Event {
  long long time;
  std::string kind;  // "modem", "supplicant", "hostapd", "timer", "engine", "log", "step"
  Json data;
};

// Hands each event to its observers as it happens, in the order they were added (nexhost
// prints it, and a report takes it). Events are kept in events() only when asked (tests):
// a long run must not grow with its history.
class Trace {
 public:
  explicit Trace(const Clock& clock) : clock_(clock) {}

  void record(std::string kind, Json data);
  // Whether a recorded event reaches anyone; a producer may skip building one otherwise.
  bool active() const { return keep_ || !observers_.empty(); }

  void setKeep(bool keep) { keep_ = keep; }
  const std::vector<Event>& events() const { return events_; }
  void clear() { events_.clear(); }

  using Observer = void (*)(const Event&, void*);
  void addObserver(Observer observer, void* context);

 private:
  const Clock& clock_;
  bool keep_ = false;
  std::vector<Event> events_;
  std::vector<std::pair<Observer, void*>> observers_;
};

}  // namespace nexhost
