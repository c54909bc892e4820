#include "process/freememory.h"

#include <cstddef>
#include <cstdlib>

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

void returnFreeMemory()
{
    malloc_trim(0);
    // That leaves the end of this thread's heap, which the allocator returns when it frees a block of 64 kB or more.
    constexpr std::size_t size = 1 << 17;
    void* const volatile block = std::malloc(size);
    std::free(block);
}
