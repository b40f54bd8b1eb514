#include "Progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace nexhost {

namespace {

constexpr std::chrono::milliseconds kQuietStart{2000};
constexpr std::chrono::milliseconds kRedraw{250};

// 200000 -> "200,000"
std::string grouped(long long n) {
  std::string digits = std::to_string(n < 0 ? -n : n);
  for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) digits.insert(at, ",");
  return (n < 0 ? "-" : "") + digits;
}

}  // namespace

Progress::Progress(long long end, bool enabled)
    : end_(end),
      enabled_(enabled && isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1),
      start_(std::chrono::steady_clock::now()),
      nextDraw_(start_ + kQuietStart) {}

void Progress::tick(long long time) {
  const auto now = std::chrono::steady_clock::now();
  if (now < nextDraw_) return;
  nextDraw_ = now + kRedraw;
  std::fflush(stdout);  // what is printed stays above the line
  const int percent = end_ > 0 ? static_cast<int>(time * 100 / end_) : 0;
  std::fprintf(stderr, "\rnexhost: unit %s of %s (%d%%)\033[K", grouped(time).c_str(),
               grouped(end_).c_str(), percent);
  shown_ = true;
}

void Progress::clear() {
  if (!shown_) return;
  std::fputs("\r\033[K", stderr);
  shown_ = false;
}

}  // namespace nexhost
