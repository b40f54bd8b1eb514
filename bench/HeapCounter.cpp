// The benchmark binary replaces the C allocator's entry points with thin wrappers that
// count, then hand over to glibc's own allocator. operator new and every library in the
// process allocate through them, and so does the plug-in's malloc. Sizes are the usable
// sizes glibc hands out, which is what the heap really gives up.
#include "HeapCounter.h"

#include <malloc.h>

#include <cerrno>
#include <cstdint>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
}

namespace {

bool counting = false;
std::size_t allocations = 0;
// Relative to the baseline: blocks older than the stretch may be freed within it.
long long live = 0;
long long peak = 0;

inline void taken(void* block) {
  if (!counting || block == nullptr) return;
  ++allocations;
  live += static_cast<long long>(malloc_usable_size(block));
  if (live > peak) peak = live;
}

inline void released(void* block) {
  if (!counting || block == nullptr) return;
  live -= static_cast<long long>(malloc_usable_size(block));
}

}  // namespace

namespace heap {

void begin() {
  allocations = 0;
  live = 0;
  peak = 0;
  counting = true;
}

Stats end() {
  counting = false;
  Stats stats;
  stats.allocations = allocations;
  stats.peakBytes = static_cast<std::size_t>(peak);
  return stats;
}

}  // namespace heap

extern "C" {

void* malloc(size_t size) {
  void* block = __libc_malloc(size);
  taken(block);
  return block;
}

void* calloc(size_t count, size_t size) {
  void* block = __libc_calloc(count, size);
  taken(block);
  return block;
}

void* realloc(void* block, size_t size) {
  released(block);
  void* moved = __libc_realloc(block, size);
  if (moved == nullptr && size != 0) {
    taken(block);  // the old block stays
    return nullptr;
  }
  taken(moved);
  return moved;
}

void free(void* block) {
  released(block);
  __libc_free(block);
}

void* memalign(size_t alignment, size_t size) {
  void* block = __libc_memalign(alignment, size);
  taken(block);
  return block;
}

void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }

int posix_memalign(void** out, size_t alignment, size_t size) {
  if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0) return EINVAL;
  void* block = memalign(alignment, size);
  if (block == nullptr) return ENOMEM;
  *out = block;
  return 0;
}

}  // extern "C"
