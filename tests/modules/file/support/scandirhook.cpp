#include "scandirhook.h"

#include <cerrno>
#include <cstdlib>

#include <dlfcn.h>

std::vector<ScanDirHook::Call> ScanDirHook::calls;
std::function<void(dirent&)> ScanDirHook::changeEntry;
int ScanDirHook::failure = 0;
bool ScanDirHook::empty = false;

void ScanDirHook::reset()
{
    calls.clear();
    changeEntry = nullptr;
    failure = 0;
    empty = false;
}

namespace {

using Filter = int (*)(const dirent*);
using Compare = int (*)(const dirent**, const dirent**);

int freeAll(dirent** entries, int count)
{
    for (int i = 0; i < count; ++i)
        std::free(entries[i]);
    return 0;
}

} // namespace

extern "C" Q_DECL_EXPORT int scandir(const char* path, dirent*** entries, Filter filter, Compare compare)
{
    ScanDirHook::calls.push_back({path, filter != nullptr, compare == &alphasort});
    if (ScanDirHook::failure != 0) {
        errno = ENOMEM;
        return ScanDirHook::failure;
    }
    static const auto next =
        reinterpret_cast<int (*)(const char*, dirent***, Filter, Compare)>(dlsym(RTLD_NEXT, "scandir"));
    const int count = next(path, entries, filter, compare);
    if (ScanDirHook::empty)
        return freeAll(*entries, count);
    for (int i = 0; i < count && ScanDirHook::changeEntry; ++i)
        ScanDirHook::changeEntry(*(*entries)[i]);
    return count;
}
