#include "FuzzSupport.h"

#include <cstdarg>
#include <cstdio>

#include "framework/Logger.h"
#include "nex/NexMsg.h"

void resetFuzzLogger() {
  static nexhost::Clock clock;
  static nexhost::Trace trace(clock);
  static nexhost::Logger logger(trace);
  static NexMsg message(logger);
  // Every line is formatted, none is kept.
  logger.setJournal(nexhost::Logger::Journal::kFormatOnly);
  NexMsg::globalLogger = &message;
}
