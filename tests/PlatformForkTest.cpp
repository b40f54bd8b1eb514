// forkExec run for real: standard output captured up to the caller's capacity and
// terminated, the exit status reported as the command's result.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "framework/Platform.h"

namespace {

struct Outcome {
  int code;
  std::string output;
};

Outcome runReal(nexhost::Platform& platform, const char* line, int capacity) {
  char buffer[64];
  std::memset(buffer, 'x', sizeof buffer);
  NexForkExecOpt options{};
  options.outputBuffer = buffer;
  options.outputCapacity = capacity;
  options.mode = 2;
  const int code = platform.forkExec(line, &options);
  return {code, std::string(buffer, strnlen(buffer, sizeof buffer))};
}

TEST(PlatformForkTest, RealRunCapturesOutputAndExitStatus) {
  struct Case {
    const char* line;
    int capacity;
    int code;
    const char* output;
  } cases[] = {
      {"printf state=ENABLED", 64, 0, "state=ENABLED"},
      {"printf abcdefgh", 4, 0, "abc"},  // cut to the capacity, terminator included
      {"printf   %s   spaced   out", 64, 0, "spacedout"},  // blanks separate arguments
      {"false", 64, 1, ""},
      {"ls /nexhost-no-such-file", 64, 2, ""},
      {"nexhost-no-such-program STATUS", 64, 127, ""},
      {"", 64, 127, ""},
  };
  nexhost::Clock clock;
  nexhost::Trace trace{clock};
  nexhost::Platform platform{trace};
  platform.forkRunner = std::make_unique<nexhost::RealForkRunner>();
  for (const Case& c : cases) {
    const Outcome run = runReal(platform, c.line, c.capacity);
    EXPECT_EQ(run.code, c.code) << c.line;
    EXPECT_EQ(run.output, c.output) << c.line;
  }
}

TEST(PlatformForkTest, RealRunAppliesReplacementsAndTimeLimit) {
  nexhost::Clock clock;
  nexhost::Trace trace{clock};
  nexhost::Platform platform{trace};
  trace.setKeep(true);
  auto runner = std::make_unique<nexhost::RealForkRunner>();
  nexhost::RealForkRunner& real = *runner;
  real.replacements = {{"/data/vendor/ctrl", "handset"}};
  platform.forkRunner = std::move(runner);
  EXPECT_EQ(runReal(platform, "printf /data/vendor/ctrl", 64).output, "handset");
  EXPECT_EQ(trace.events().back().data["ran"], "printf handset");
  EXPECT_EQ(trace.events().back().data["command_line"], "printf /data/vendor/ctrl");

  real.timeoutMs = 100;
  EXPECT_EQ(runReal(platform, "sleep 5", 64).code, 124);
}

}  // namespace
