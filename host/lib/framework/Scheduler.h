#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "events/Trace.h"

namespace nexhost {

// Single-threaded timers on the host clock. Plug-in timers repeat every period until
// removed; host events (a scripted scan completing, a scenario step) run once. Nothing
// runs until the clock is advanced.
class Scheduler {
 public:
  Scheduler(Clock& clock, Trace& trace) : clock_(clock), trace_(trace) {}

  long long now() const { return clock_.now(); }

  int addTimer(long long period, int (*callback)(void*), void* context);
  void removeTimer(int id);
  bool timerActive(int id) const;
  std::size_t activeTimers() const;

  // Runs `action` once at time `at` (not before now).
  void scheduleAt(long long at, std::function<void()> action);

  // Runs everything due up to and including `until`, in time order (timers before host
  // events at the same time, each in creation order), then sets the clock to `until`.
  void advanceTo(long long until);
  void advanceBy(long long delta) { advanceTo(clock_.now() + delta); }
  // Runs everything due before `until`, then sets the clock to `until`: what is due at
  // `until` itself runs at the next advance.
  void advanceBefore(long long until);
  std::optional<long long> nextDue() const;

  // A real clock (live mode) can leave the host behind: a slow supplicant, a burst of
  // events. Then what is late runs at the current time, and a timer that missed periods
  // fires once and counts its next period from then, instead of firing once per missed
  // period. A virtual clock is never behind; there every period fires.
  void setRealClock(bool real) { realClock_ = real; }

 private:
  struct Timer {
    long long period;
    long long due;
    int (*callback)(void*);
    void* context;
  };

  Clock& clock_;
  Trace& trace_;
  int nextTimerId_ = 1;
  long long nextEventSeq_ = 0;
  std::map<int, Timer> timers_;
  // What runs next, in due order: timers by (due, id), host events by (due, sequence).
  // Each firing costs a logarithm of what is pending, however many requests run.
  std::set<std::pair<long long, int>> timerQueue_;
  std::map<std::pair<long long, long long>, std::function<void()>> events_;
  bool realClock_ = false;
};

}  // namespace nexhost
