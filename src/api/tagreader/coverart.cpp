#include "coverart_p.h"

#include <QtGlobal>

#include <string>

#include <dlfcn.h>

namespace {

std::string folderOfThisLibrary()
{
    Dl_info info = {};
    dladdr(reinterpret_cast<const void*>(&makeCoverArt), &info);
    const std::string file = info.dli_fname;
    return file.substr(0, file.rfind('/') + 1);
}

/// Null if it is not there.
CoverArtMaker* loadMaker()
{
    void* library = dlopen((folderOfThisLibrary() + TAVO_COVERART_FILE).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* maker = library ? dlsym(library, coverArtMaker) : nullptr;
    if (!maker)
        qWarning("No covers can be made: %s", dlerror());
    return reinterpret_cast<CoverArtMaker*>(maker);
}

} // namespace

CoverArt makeCoverArt(const QByteArray& picture, int width)
{
    // Most of what it needs is Qt Gui, which takes longer to load than a directory to list.
    static CoverArtMaker* const make = loadMaker();
    CoverArt art;
    if (make)
        make(picture, width, art);
    return art;
}
