// The host library's NexMsg, for the targets that link the logger without the rest of the
// host framework.
#include <cstdarg>
#include <cstdio>

#include "framework/Logger.h"
#include "nex/NexMsg.h"

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
