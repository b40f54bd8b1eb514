#include "nexhost/LiveRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>

#include "nexhost/ScenarioRunner.h"

namespace nexhost {

namespace {

constexpr long long kMsPerUnit = 1000;
// Wake at least this often, so that a lost wake-up never stalls the run.
constexpr long long kLongestWaitMs = 1000;

// The handler only writes a byte; the loop sees it in poll().
int stopPipe[2] = {-1, -1};

void onStopSignal(int) {
  const char byte = 1;
  const int saved = errno;
  if (write(stopPipe[1], &byte, 1) < 0) {
  }
  errno = saved;
}

long long monotonicMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

}  // namespace

void LiveRunner::installSignalHandlers() {
  if (stopPipe[0] < 0 && pipe2(stopPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
  struct sigaction action {};
  action.sa_handler = onStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

LiveRunner::Outcome LiveRunner::run(const std::vector<ScenarioStep>& steps,
                                    std::optional<long long> endAt) {
  StepPerformer performer(host_, manager_);
  const long long startMs = monotonicMs();
  auto elapsedUnits = [&] { return (monotonicMs() - startMs) / kMsPerUnit; };
  std::size_t next = 0;
  Outcome outcome = Outcome::kFinished;
  for (;;) {
    const long long now = elapsedUnits();
    host_.scheduler.advanceTo(now);
    while (next < steps.size() && steps[next].at <= now) performer.perform(steps[next++]);
    // Everything is printed as it happens; keep no history in a long session.
    host_.trace.clear();
    host_.logger.clear();
    host_.modem.clear();
    if (endAt && now >= *endAt) break;

    std::optional<long long> wake = host_.scheduler.nextDue();
    if (next < steps.size()) wake = std::min(wake.value_or(steps[next].at), steps[next].at);
    if (endAt) wake = std::min(wake.value_or(*endAt), *endAt);
    long long waitMs = kLongestWaitMs;
    if (wake) waitMs = std::clamp(*wake * kMsPerUnit - (monotonicMs() - startMs), 0LL, waitMs);

    pollfd fds[2] = {{supplicant_.eventFd(), POLLIN, 0}, {stopPipe[0], POLLIN, 0}};
    const int ready = poll(fds, 2, static_cast<int>(waitMs));
    if (ready < 0 && errno != EINTR) break;
    if (ready <= 0) continue;
    if (fds[1].revents != 0) {
      // Consume the signal, so that a later run in this process starts clean.
      char pending[16];
      while (read(stopPipe[0], pending, sizeof pending) > 0) {
      }
      outcome = Outcome::kInterrupted;
      break;
    }
    if (fds[0].revents != 0) {
      host_.scheduler.advanceTo(elapsedUnits());
      if (supplicant_.handleEvents() < 0 || (fds[0].revents & (POLLERR | POLLHUP)) != 0) {
        outcome = Outcome::kSupplicantGone;
        break;
      }
    }
  }
  performer.stopEverything();
  return outcome;
}

}  // namespace nexhost
