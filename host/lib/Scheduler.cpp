#include "nexhost/Scheduler.h"

#include <algorithm>

namespace nexhost {

int Scheduler::addTimer(long long period, int (*callback)(void*), void* context) {
  const int id = nextTimerId_++;
  // A period below one unit would fire without end on a virtual clock: run it every unit.
  const long long effective = std::max(period, 1LL);
  timers_[id] = Timer{effective, clock_.now() + effective, callback, context};
  trace_.record("timer", Json{{"action", "add"}, {"id", id}, {"period", period}});
  return id;
}

void Scheduler::removeTimer(int id) {
  const bool existed = timers_.erase(id) != 0;
  trace_.record("timer", Json{{"action", "remove"}, {"id", id}, {"existed", existed}});
}

bool Scheduler::timerActive(int id) const { return timers_.count(id) != 0; }

std::size_t Scheduler::activeTimers() const { return timers_.size(); }

void Scheduler::scheduleAt(long long at, std::function<void()> action) {
  events_[nextEventSeq_++] = HostEvent{std::max(at, clock_.now()), std::move(action)};
}

std::optional<long long> Scheduler::nextDue() const {
  std::optional<long long> due;
  for (const auto& [id, t] : timers_) {
    if (!due || t.due < *due) due = t.due;
  }
  for (const auto& [seq, e] : events_) {
    if (!due || e.due < *due) due = e.due;
  }
  return due;
}

void Scheduler::advanceTo(long long until) {
  for (;;) {
    // The earliest due timer (lowest id on ties), then the earliest host event.
    auto timer = timers_.end();
    for (auto it = timers_.begin(); it != timers_.end(); ++it) {
      if (it->second.due <= until && (timer == timers_.end() || it->second.due < timer->second.due)) {
        timer = it;
      }
    }
    auto event = events_.end();
    for (auto it = events_.begin(); it != events_.end(); ++it) {
      if (it->second.due <= until && (event == events_.end() || it->second.due < event->second.due)) {
        event = it;
      }
    }
    const bool timerFirst = timer != timers_.end() &&
                            (event == events_.end() || timer->second.due <= event->second.due);
    if (timerFirst) {
      Timer& t = timer->second;
      clock_.set(std::max(clock_.now(), t.due));
      t.due += t.period;
      // The callback may remove this timer (or others); look nothing up afterwards.
      int (*callback)(void*) = t.callback;
      void* context = t.context;
      trace_.record("timer", Json{{"action", "fire"}, {"id", timer->first}});
      callback(context);
    } else if (event != events_.end()) {
      clock_.set(std::max(clock_.now(), event->second.due));
      std::function<void()> action = std::move(event->second.action);
      events_.erase(event);
      action();
    } else {
      break;
    }
  }
  clock_.set(std::max(clock_.now(), until));
}

}  // namespace nexhost
