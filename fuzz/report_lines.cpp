// A saved run as `nexhost report` reads it: every line is an event the report takes, or
// the input is refused with one line naming the line. An exception, a crash or a hang is
// a finding, and so is a page that cannot be written.
#include <cstdio>
#include <cstring>
#include <sstream>

#include "FuzzSupport.h"
#include "events/EventLines.h"
#include "report/Report.h"

namespace nexhost {
// The page's frame is made at build time in nexhost's own build; the fuzzer needs only
// the data written into it.
extern const char* const kReportPage[3];
const char* const kReportPage[3] = {"", "", ""};
}  // namespace nexhost

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::istringstream in(textOf(data, size));
  nexhost::RunReport::Limits limits;
  limits.rowsPerChart = 64;
  limits.charts = 4;
  limits.timelineBytes = 64 * 1024;
  nexhost::RunReport report(limits);
  nexhost::EventLines lines(in, "fuzz.jsonl");
  nexhost::Event event;
  while (lines.next(&event)) report.add(event);
  const std::string& error = lines.error();
  FUZZ_CHECK(std::strchr(error.c_str(), '\n') == nullptr && error.size() < 4096);
  std::FILE* out = std::fopen("/dev/null", "w");
  FUZZ_CHECK(out != nullptr);
  report.write(out, "fuzz.jsonl");
  std::fclose(out);
  return 0;
}
