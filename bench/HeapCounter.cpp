// The benchmark binary replaces the C allocator's entry points with thin wrappers that
// count, then hand over to glibc's own allocator. operator new and every library in the
// process allocate through them, and so does the plug-in's malloc. Bytes are the sizes
// asked for (as heaptrack counts them), not what glibc rounds them up to.
#include "HeapCounter.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

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
std::size_t transient = 0;
// Relative to the baseline. Blocks older than the stretch that it frees are not known
// here and count nothing, so the peak errs high, never low.
long long live = 0;
long long peak = 0;

// The size of every block taken within the stretch, by address: open addressing, with
// tombstones for freed blocks. Static, so counting allocates nothing itself.
constexpr std::size_t kSlotBits = 17;
constexpr std::size_t kSlots = std::size_t{1} << kSlotBits;
struct Slot {
  void* block;
  std::size_t size;
};
Slot slots[kSlots];
std::size_t slotsUsed = 0;
void* const kFreed = reinterpret_cast<void*>(1);

std::size_t home(void* block) {
  return static_cast<std::size_t>(
      (reinterpret_cast<uintptr_t>(block) >> 4) * 0x9E3779B97F4A7C15ull >> (64 - kSlotBits));
}

inline void taken(void* block, std::size_t size) {
  if (!counting || block == nullptr) return;
  ++allocations;
  live += static_cast<long long>(size);
  if (live > peak) peak = live;
  if (slotsUsed + 1 >= kSlots) return;  // full: later frees of it count nothing
  std::size_t i = home(block);
  while (slots[i].block != nullptr) i = (i + 1) & (kSlots - 1);
  slots[i] = Slot{block, size};
  ++slotsUsed;
}

inline void released(void* block) {
  if (!counting || block == nullptr) return;
  for (std::size_t i = home(block); slots[i].block != nullptr; i = (i + 1) & (kSlots - 1)) {
    if (slots[i].block == block) {
      live -= static_cast<long long>(slots[i].size);
      slots[i].block = kFreed;
      ++transient;
      return;
    }
  }
}

}  // namespace

namespace heap {

void begin() {
  std::memset(slots, 0, sizeof slots);
  slotsUsed = 0;
  allocations = 0;
  transient = 0;
  live = 0;
  peak = 0;
  counting = true;
}

Stats end() {
  counting = false;
  Stats stats;
  stats.allocations = allocations;
  stats.peakBytes = static_cast<std::size_t>(peak);
  stats.transient = transient;
  return stats;
}

}  // namespace heap

extern "C" {

void* malloc(size_t size) {
  void* block = __libc_malloc(size);
  taken(block, size);
  return block;
}

void* calloc(size_t count, size_t size) {
  void* block = __libc_calloc(count, size);
  taken(block, count * size);
  return block;
}

void* realloc(void* block, size_t size) {
  void* moved = __libc_realloc(block, size);
  if (moved == nullptr && size != 0) return nullptr;  // the old block stays
  released(block);
  taken(moved, size);
  return moved;
}

void free(void* block) {
  released(block);
  __libc_free(block);
}

void* memalign(size_t alignment, size_t size) {
  void* block = __libc_memalign(alignment, size);
  taken(block, size);
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
