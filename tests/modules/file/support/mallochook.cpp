#include "mallochook.h"

#include <QtGlobal>

#include <cerrno>
#include <cstddef>

#include <dirent.h>
#include <dlfcn.h>

int MallocHook::failing = 0;
int MallocHook::allocations = 0;

namespace {

thread_local bool isListing = false;

bool fails()
{
    if (!isListing || ++MallocHook::allocations != MallocHook::failing)
        return false;
    errno = ENOMEM;
    return true;
}

} // namespace

// The C library's own functions.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);

extern "C" Q_DECL_EXPORT void* malloc(std::size_t size)
{
    return fails() ? nullptr : __libc_malloc(size);
}

extern "C" Q_DECL_EXPORT void* realloc(void* memory, std::size_t size)
{
    return fails() ? nullptr : __libc_realloc(memory, size);
}

using Filter = int (*)(const dirent*);
using Compare = int (*)(const dirent**, const dirent**);

extern "C" Q_DECL_EXPORT int scandir(const char* path, dirent*** entries, Filter filter, Compare compare)
{
    static const auto next =
        reinterpret_cast<int (*)(const char*, dirent***, Filter, Compare)>(dlsym(RTLD_NEXT, "scandir"));
    MallocHook::allocations = 0;
    isListing = true;
    const int count = next(path, entries, filter, compare);
    isListing = false;
    return count;
}
