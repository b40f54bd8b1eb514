#include "live/LiveRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "scenario/ScenarioRunner.h"

namespace nexhost {

namespace {

constexpr long long kMsPerUnit = 1000;
// Wake at least this often, so that a lost wake-up never stalls the run.
constexpr long long kLongestWaitMs = 1000;

// The handler only writes a byte; the loop and a command waiting for its reply see it in
// poll().
int stopPipe[2] = {-1, -1};

void onStopSignal(int) { LiveRunner::requestStop(); }

// Consumes a pending stop signal, so that a later run in this process starts clean.
bool takeStopSignal() {
  bool taken = false;
  char pending[16];
  while (read(stopPipe[0], pending, sizeof pending) > 0) taken = true;
  return taken;
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

void LiveRunner::requestStop() {
  const char byte = 1;
  const int saved = errno;
  if (stopPipe[1] >= 0 && write(stopPipe[1], &byte, 1) < 0) {
  }
  errno = saved;
}

void LiveRunner::setRecorder(SessionRecorder* recorder) { recorder_ = recorder; }

LiveRunner::Outcome LiveRunner::run(const std::vector<ScenarioStep>& steps,
                                    std::optional<long long> endAt) {
  StepPerformer performer(host_, manager_);
  performer.setRecorder(recorder_);
  host_.scheduler.setRealClock(true);
  const long long startMs = monotonicMs();
  const long long endMs = endAt ? startMs + *endAt * kMsPerUnit : -1;
  supplicant_.setStopWhen(StopWhen{stopPipe[0], endAt ? endMs + kEndGraceMs : -1});
  auto elapsedUnits = [&] { return (monotonicMs() - startMs) / kMsPerUnit; };
  long long checkedMs = startMs;  // open() has just heard from the supplicant
  std::size_t next = 0;

  // Brings the host up to now: the supplicant checked when anything is due (so that no
  // timer works on a supplicant that is gone) or its check is old, then due timers and
  // steps.
  auto catchUp = [&] {
    const long long now = elapsedUnits();
    const std::optional<long long> due = host_.scheduler.nextDue();
    const bool work = (due && *due <= now) || (next < steps.size() && steps[next].at <= now);
    if (work || monotonicMs() - checkedMs >= kLivenessPeriodMs) {
      supplicant_.checkAlive();
      checkedMs = monotonicMs();
    }
    if (supplicant_.gone()) return;
    host_.scheduler.advanceTo(now);
    while (next < steps.size() && steps[next].at <= now && !supplicant_.gone()) {
      performer.perform(steps[next++]);
    }
  };

  Outcome outcome = Outcome::kFinished;
  for (;;) {
    catchUp();
    // Everything is printed as it happens; keep no history in a long session.
    host_.trace.clear();
    host_.logger.clear();
    host_.modem.clear();
    if (supplicant_.gone()) {
      outcome = Outcome::kSupplicantGone;
      break;
    }
    if (takeStopSignal()) {
      outcome = Outcome::kInterrupted;
      break;
    }
    const long long nowMs = monotonicMs();
    if (endAt && nowMs >= endMs) break;

    // Sleep until the next due time, step, liveness check or the end, at most a second.
    long long waitMs = std::min(kLongestWaitMs, checkedMs + kLivenessPeriodMs - nowMs);
    std::optional<long long> wake = host_.scheduler.nextDue();
    if (next < steps.size()) wake = std::min(wake.value_or(steps[next].at), steps[next].at);
    if (wake) waitMs = std::min(waitMs, startMs + *wake * kMsPerUnit - nowMs);
    if (endAt) waitMs = std::min(waitMs, endMs - nowMs);
    pollfd fds[2] = {{supplicant_.eventFd(), POLLIN, 0}, {stopPipe[0], POLLIN, 0}};
    const int ready = poll(fds, 2, static_cast<int>(std::max(waitMs, 0LL)));
    if (ready < 0 && errno != EINTR) break;
    if (ready > 0 && fds[0].revents != 0 && fds[1].revents == 0) {
      supplicant_.handleEvents(catchUp);
    }
  }
  // Stopping may talk to the supplicant; a slow one gets a short grace, a gone one none.
  supplicant_.setStopWhen(StopWhen{stopPipe[0], monotonicMs() + kShutdownGraceMs});
  performer.stopEverything();
  takeStopSignal();
  return outcome;
}

}  // namespace nexhost
