#include "events/Trace.h"

namespace nexhost {

void Trace::record(std::string kind, Json data) {
  if (!keep_) {
    if (observers_.empty()) return;
    const Event event{clock_.now(), std::move(kind), std::move(data)};
    for (const auto& [observer, context] : observers_) observer(event, context);
    return;
  }
  events_.push_back(Event{clock_.now(), std::move(kind), std::move(data)});
  for (const auto& [observer, context] : observers_) observer(events_.back(), context);
}

void Trace::addObserver(Observer observer, void* context) {
  observers_.emplace_back(observer, context);
}

}  // namespace nexhost
