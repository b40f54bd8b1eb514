#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace nexhost {

using Json = nlohmann::ordered_json;

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

class Trace {
 public:
  explicit Trace(const Clock& clock) : clock_(clock) {}

  void record(std::string kind, Json data);
  const std::vector<Event>& events() const { return events_; }
  void clear() { events_.clear(); }

  // Optional live observer (nexhost prints events as they happen).
  void setObserver(void (*observer)(const Event&, void*), void* context);

 private:
  const Clock& clock_;
  std::vector<Event> events_;
  void (*observer_)(const Event&, void*) = nullptr;
  void* observerContext_ = nullptr;
};

}  // namespace nexhost
