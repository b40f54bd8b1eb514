// Whole scenario files, as nexhost run reads them. Every input is loaded or refused with
// one short line; any other exception, a crash or a hang is a finding. Reply files are
// looked up beside the examples, so that seeds taken from them load their captures.
#include <cstring>

#include "FuzzSupport.h"
#include "scenario/Scenario.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    const nexhost::Scenario scenario =
        nexhost::parseScenario(textOf(data, size), "fuzz.json", MDX_EXAMPLES_DIR);
    long long previous = 0;
    for (const nexhost::ScenarioStep& step : scenario.steps) {
      FUZZ_CHECK(step.at >= previous && std::strlen(step.name()) > 0);
      previous = step.at;
    }
  } catch (const nexhost::ScenarioError& e) {
    const char* message = e.what();
    FUZZ_CHECK(std::strchr(message, '\n') == nullptr && std::strlen(message) < 4096);
  }
  return 0;
}
