// The progress line of a long replay: "nexhost: unit 91,234 of 200,000 (45%)" on standard
// error, from about 2 s into the run, redrawn four times a second. Only on a terminal:
// never when standard output or standard error is a pipe or a file, nor with --json.
#pragma once

#include <chrono>

namespace nexhost {

class Progress {
 public:
  // `end`: the run's last unit; `enabled`: whether the caller allows a line at all.
  Progress(long long end, bool enabled);
  ~Progress() { clear(); }

  // The run has reached `time`; cheap enough to call for every event.
  void at(long long time) {
    if (enabled_ && ++calls_ % 256 == 0) tick(time);
  }
  // Erases the line (before output is printed to the terminal, and at the end).
  void clear();

 private:
  void tick(long long time);

  long long end_;
  bool enabled_;
  unsigned calls_ = 0;
  bool shown_ = false;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point nextDraw_;
};

}  // namespace nexhost
