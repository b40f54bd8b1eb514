#pragma once

#include <cstdarg>

#include "nex/NexApi.h"

// The host's logger. Every plug-in log line goes through the global logger with a level
// (0 trace .. 4 error), the plug-in unit's module number, the source position and a
// printf-style format, which the compiler checks at every call.
class NEX_API NexMsg {
 public:
  explicit NexMsg(nexhost::Logger& logger);

  static NexMsg* globalLogger;

  void print(int level, int module, const char* file, int line, const char* format, ...)
      __attribute__((format(printf, 6, 7)));

 private:
  void emit(int level, int module, const char* file, int line, const char* format, va_list args);
  nexhost::Logger* logger_;
};
