#include "FuzzSupport.h"

#include <cstdarg>
#include <cstdio>

#include "nex/NexMsg.h"
#include "framework/Logger.h"

// The host library's NexMsg, without the rest of the host framework.
NexMsg* NexMsg::globalLogger = nullptr;

NexMsg::NexMsg(nexhost::Logger& logger) : logger_(&logger) {}

void NexMsg::print(int level, int module, const char* file, int line, const char* format, ...) {
  char text[2048];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof(text), format, args);
  va_end(args);
  logger_->write(level, module, file, line, text);
}

void resetFuzzLogger() {
  static nexhost::Clock clock;
  static nexhost::Trace trace(clock);
  static nexhost::Logger logger(trace);
  static NexMsg message(logger);
  // Every line is formatted, none is kept.
  logger.setJournal(nexhost::Logger::Journal::kFormatOnly);
  NexMsg::globalLogger = &message;
}
