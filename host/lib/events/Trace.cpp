#include "events/Trace.h"

namespace nexhost {

void Trace::record(std::string kind, Json data) {
  if (!keep_) {
    if (observer_ != nullptr) {
      observer_(Event{clock_.now(), std::move(kind), std::move(data)}, observerContext_);
    }
    return;
  }
  events_.push_back(Event{clock_.now(), std::move(kind), std::move(data)});
  if (observer_ != nullptr) observer_(events_.back(), observerContext_);
}

void Trace::setObserver(void (*observer)(const Event&, void*), void* context) {
  observer_ = observer;
  observerContext_ = context;
}

}  // namespace nexhost
