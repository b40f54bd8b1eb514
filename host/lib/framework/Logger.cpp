#include "framework/Logger.h"

#include <cstdio>

#include "text/ByteText.h"

namespace nexhost {

void Logger::write(int level, int module, const char* file, int line, std::string text) {
  // Printed and traced in the escape form (a line may hold any byte an SSID holds); kept
  // as the plug-in wrote it.
  if (level >= stderrLevel_ && stderrLevel_ >= 0) {
    std::fprintf(stderr, "[%d] %d %s:%d %s\n", level, module, file, line,
                 printableBytes(text).c_str());
  }
  if (level >= traceLevel_) {
    trace_.record("log",
                  Json{{"level", level}, {"module", module}, {"text", printableBytes(text)}});
  }
  if (journal_ != Journal::kKeep) return;
  lines_.push_back(LogLine{level, module, file != nullptr ? file : "", line, std::move(text)});
}

std::size_t Logger::count(const std::string& text) const {
  std::size_t n = 0;
  for (const LogLine& l : lines_) n += (l.text == text) ? 1 : 0;
  return n;
}

const LogLine* Logger::find(const std::string& text) const {
  for (const LogLine& l : lines_) {
    if (l.text == text) return &l;
  }
  return nullptr;
}

}  // namespace nexhost
