#include "readdirhook.h"

#include <QtGlobal>

#include <dirent.h>
#include <dlfcn.h>

bool ReadDirHook::hidesTypes = false;
int ReadDirHook::hidden = 0;

namespace {

template<typename Entry>
Entry* withoutType(Entry* entry)
{
    if (entry && ReadDirHook::hidesTypes) {
        entry->d_type = DT_UNKNOWN;
        ++ReadDirHook::hidden;
    }
    return entry;
}

} // namespace

extern "C" Q_DECL_EXPORT dirent* readdir(DIR* directory)
{
    static const auto next = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
    return withoutType(next(directory));
}

extern "C" Q_DECL_EXPORT dirent64* readdir64(DIR* directory)
{
    static const auto next = reinterpret_cast<dirent64* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir64"));
    return withoutType(next(directory));
}
