#include "framework/Scheduler.h"

#include <algorithm>

namespace nexhost {

int Scheduler::addTimer(long long period, int (*callback)(void*), void* context) {
  const int id = nextTimerId_++;
  // A period below one unit would fire without end on a virtual clock: run it every unit.
  const long long effective = std::max(period, 1LL);
  const long long due = clock_.now() + effective;
  timers_[id] = Timer{effective, due, callback, context};
  timerQueue_.emplace(due, id);
  trace_.record("timer", Json{{"action", "add"}, {"id", id}, {"period", period}});
  return id;
}

void Scheduler::removeTimer(int id) {
  const auto timer = timers_.find(id);
  const bool existed = timer != timers_.end();
  if (existed) {
    timerQueue_.erase({timer->second.due, id});
    timers_.erase(timer);
  }
  trace_.record("timer", Json{{"action", "remove"}, {"id", id}, {"existed", existed}});
}

bool Scheduler::timerActive(int id) const { return timers_.count(id) != 0; }

std::size_t Scheduler::activeTimers() const { return timers_.size(); }

void Scheduler::scheduleAt(long long at, std::function<void()> action) {
  events_.emplace(std::make_pair(std::max(at, clock_.now()), nextEventSeq_++), std::move(action));
}

std::optional<long long> Scheduler::nextDue() const {
  std::optional<long long> due;
  if (!timerQueue_.empty()) due = timerQueue_.begin()->first;
  if (!events_.empty() && (!due || events_.begin()->first.first < *due)) {
    due = events_.begin()->first.first;
  }
  return due;
}

void Scheduler::advanceTo(long long until) {
  if (realClock_) clock_.set(std::max(clock_.now(), until));
  for (;;) {
    const bool timerDue = !timerQueue_.empty() && timerQueue_.begin()->first <= until;
    const bool eventDue = !events_.empty() && events_.begin()->first.first <= until;
    if (timerDue && (!eventDue || timerQueue_.begin()->first <= events_.begin()->first.first)) {
      const auto [due, id] = *timerQueue_.begin();
      Timer& t = timers_.at(id);
      clock_.set(std::max(clock_.now(), due));
      timerQueue_.erase(timerQueue_.begin());
      t.due = realClock_ ? clock_.now() + t.period : due + t.period;
      timerQueue_.emplace(t.due, id);
      // The callback may remove this timer (or others); look nothing up afterwards.
      int (*callback)(void*) = t.callback;
      void* context = t.context;
      // The commonest event of all: not even built when nobody takes it.
      if (trace_.active()) trace_.record("timer", Json{{"action", "fire"}, {"id", id}});
      callback(context);
    } else if (eventDue) {
      const auto event = events_.begin();
      clock_.set(std::max(clock_.now(), event->first.first));
      std::function<void()> action = std::move(event->second);
      events_.erase(event);
      action();
    } else {
      break;
    }
  }
  clock_.set(std::max(clock_.now(), until));
}

void Scheduler::advanceBefore(long long until) {
  if (until > clock_.now()) advanceTo(until - 1);
  clock_.set(std::max(clock_.now(), until));
}

}  // namespace nexhost
