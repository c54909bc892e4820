#include "support/allocations.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

namespace {

thread_local std::size_t made = 0;

} // namespace

extern "C" void* malloc(std::size_t size)
{
    ++made;
    return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size)
{
    ++made;
    return __libc_calloc(count, size);
}

extern "C" void* realloc(void* block, std::size_t size)
{
    ++made;
    return __libc_realloc(block, size);
}

std::size_t allocationsMade() noexcept
{
    return made;
}
