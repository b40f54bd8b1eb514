// Counts what the process takes from the heap, for one measured stretch at a time.
#pragma once

#include <cstddef>

namespace heap {

struct Stats {
  std::size_t allocations = 0;  // malloc, calloc, realloc, operator new, ...
  std::size_t peakBytes = 0;    // highest growth of the bytes asked for and not yet freed
  std::size_t transient = 0;    // allocations freed again within the stretch
};

// Starts a stretch: zeroes the counts; the live heap at this point is the baseline.
void begin();
// Ends it and returns what it took. Outside a stretch nothing is counted.
Stats end();

}  // namespace heap
