#pragma once

#include <string>
#include <utility>
#include <vector>

namespace nexhost {

// What one hostapd_cli run printed and the code forkExec returns.
struct ForkResult {
  ForkResult() = default;
  ForkResult(std::string output, int exitCode, std::string ran = "")
      : output(std::move(output)), exitCode(exitCode), ran(std::move(ran)) {}
  std::string output;
  int exitCode = 0;
  // The command line live mode ran in place of the plug-in's, when a replacement changed
  // it (shown as the event's "ran"; a recorded session keeps it).
  std::string ran;
};

// How forkExec runs a command line for real (live mode). A recording wraps the real one.
class ForkRunner {
 public:
  virtual ~ForkRunner() = default;
  // Runs the plug-in's command line, keeping at most `room` bytes of its output.
  virtual ForkResult run(const std::string& line, std::size_t room) = 0;
};

// Runs the command line with posix_spawn (blanks separate the arguments, no shell), its
// standard output captured, killed after `timeoutMs`. A command that cannot be started
// exits with 127, one killed with 124, one ended by a signal with 128 plus the signal.
class RealForkRunner : public ForkRunner {
 public:
  ForkResult run(const std::string& line, std::size_t room) override;

  // Text replacements applied to the command line first (the handset's paths to this
  // machine's).
  std::vector<std::pair<std::string, std::string>> replacements;
  int timeoutMs = 10000;
};

}  // namespace nexhost
