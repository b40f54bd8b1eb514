#include "MallocFailure.h"

#include <cstddef>

namespace {
int callsUntilFailure = -1;  // -1: never fail
}  // namespace

void failMallocAfter(int skip) { callsUntilFailure = skip; }

extern "C" void* __real_malloc(std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size) {
  if (callsUntilFailure >= 0 && callsUntilFailure-- == 0) return nullptr;
  return __real_malloc(size);
}
