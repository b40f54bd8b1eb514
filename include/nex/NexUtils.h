#pragma once

#include <cstddef>
#include <cstdint>

#include "nex/NexApi.h"

// Options of NexUtils::forkExec, in the host's field order: ten 32-bit words on the
// 32-bit target (40 bytes). The buffer pointer is the one field whose size follows the
// target: on a 64-bit target it is 8 bytes and 8-byte aligned, so every later field
// moves by 8 and the record is 48 bytes.
struct NexForkExecOpt {
  int32_t flags;
  char* outputBuffer;       // standard output, NUL-terminated
  int32_t outputCapacity;   // bytes, the terminator included
  int32_t reserved1[4];
  int32_t mode;             // the plug-in always asks for 2
  int32_t reserved2[2];
};

static_assert(offsetof(NexForkExecOpt, flags) == 0, "forkExec options start with flags");
static_assert(offsetof(NexForkExecOpt, outputBuffer) == sizeof(void*), "buffer after flags");
static_assert(offsetof(NexForkExecOpt, outputCapacity) == 2 * sizeof(void*), "capacity");
static_assert(offsetof(NexForkExecOpt, mode) == 2 * sizeof(void*) + 20, "mode word");
static_assert(sizeof(NexForkExecOpt) == (sizeof(void*) == 4 ? 40 : 48), "forkExec options size");

class NEX_API NexUtils {
 public:
  static int getWlanChipsetType();
  // Runs a command line; returns 0 on success or a non-zero error code.
  static int forkExec(const char* commandLine, const NexForkExecOpt* options);
};
