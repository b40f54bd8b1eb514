// One logging macro for every plug-in unit. A unit whose lines belong to another module
// defines MDX_LOG_MODULE_ID before including this header.
#pragma once

#include "nex/NexMsg.h"

#ifndef MDX_LOG_MODULE_ID
#define MDX_LOG_MODULE_ID 10357
#endif

#define MDX_LOG(level, ...)                                                          \
  do {                                                                               \
    NexMsg* const mdxLogger = NexMsg::globalLogger;                                  \
    if (mdxLogger != nullptr) {                                                      \
      mdxLogger->print((level), MDX_LOG_MODULE_ID, __FILE__, __LINE__, __VA_ARGS__); \
    }                                                                                \
  } while (0)
