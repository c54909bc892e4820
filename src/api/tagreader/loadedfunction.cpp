#include "loadedfunction_p.h"

#include <QtGlobal>

#include <string>

#include <dlfcn.h>

namespace {

std::string folderOfThisLibrary()
{
    static const char inside = 0;
    Dl_info info = {};
    dladdr(&inside, &info);
    const std::string file = info.dli_fname;
    return file.substr(0, file.rfind('/') + 1);
}

} // namespace

void* LoadedFunction::address()
{
    if (void* const known = m_address)
        return known;
    void* const library = dlopen((folderOfThisLibrary() + m_library).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = library ? dlsym(library, m_function) : nullptr;
    if (!function && !m_hasWarned.exchange(true))
        qWarning("%s: %s", m_purpose, dlerror());
    m_address = function;
    return function;
}
