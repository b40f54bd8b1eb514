#pragma once

#include <cstddef>
#include <cstdint>

#include "nex/NexApi.h"

// Options of NexUtils::forkExec, in the host's field order. The record holds a pointer, so
// its layout differs between 32-bit and 64-bit targets; the host library must be built for
// the same target as the plug-in.
//
//   field           32-bit (armeabi-v7a, armhf)   64-bit (arm64-v8a, x86_64)
//   flags           0                             0
//   outputBuffer    4  (4 bytes)                  8  (8 bytes; 4 bytes of padding before)
//   outputCapacity  8                             16
//   reserved1[4]    12                            20
//   mode            28                            36
//   reserved2[2]    32                            40
//   size            40 (ten 32-bit words)         48 (4 bytes of tail padding)
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
