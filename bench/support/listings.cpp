#include "support/listings.h"

#include <algorithm>
#include <mutex>

#include <dirent.h>
#include <dlfcn.h>

namespace {

using Selection = int (*)(const dirent*);
using Comparison = int (*)(const dirent**, const dirent**);
using Scandir = int (*)(const char*, dirent***, Selection, Comparison);

std::mutex mutex;
int running = 0;
int calls = 0;
int most = 0;

void begin()
{
    const std::lock_guard lock(mutex);
    ++calls;
    most = std::max(most, ++running);
}

void end()
{
    const std::lock_guard lock(mutex);
    --running;
}

} // namespace

// This definition hides that of the C library, also from libraries loaded later.
extern "C" __attribute__((visibility("default"))) int
scandir(const char* directory, dirent*** entries, Selection selection, Comparison comparison)
{
    static const auto next = reinterpret_cast<Scandir>(dlsym(RTLD_NEXT, "scandir"));
    begin();
    const int count = next(directory, entries, selection, comparison);
    end();
    return count;
}

int Listings::made()
{
    const std::lock_guard lock(mutex);
    return calls;
}

int Listings::mostAtOnce()
{
    const std::lock_guard lock(mutex);
    return most;
}

void Listings::reset()
{
    const std::lock_guard lock(mutex);
    calls = 0;
    most = 0;
}
