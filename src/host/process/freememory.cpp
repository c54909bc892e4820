#include "process/freememory.h"

#include <malloc.h>

namespace {

/// The blocks of a listing of 100,000 entries are smaller: it needs no new pages each time.
constexpr int largeBlock = 1 << 20;
/// In bytes, at the end of each thread's heap.
constexpr int mostFree = 1 << 19;

} // namespace

void limitFreeMemory()
{
    // Either call also stops the allocator from raising both limits.
    // NOLINTBEGIN(concurrency-mt-unsafe): there is no second thread yet
    mallopt(M_MMAP_THRESHOLD, largeBlock);
    mallopt(M_TRIM_THRESHOLD, mostFree);
    // NOLINTEND(concurrency-mt-unsafe)
}
