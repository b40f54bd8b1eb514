#pragma once

#include "nex/NexApi.h"

// The host's timer service. A timer calls callback(context) every `duration` host time
// units until it is removed.
class NEX_API NexTimer {
 public:
  explicit NexTimer(nexhost::Scheduler& scheduler);

  int addTimedCallback(long long duration, int (*callback)(void*), void* context);
  void removeTimedCallback(int id);

 private:
  nexhost::Scheduler* scheduler_;
};
