#include "filetags_p.h"

#include <atomic>
#include <exception>
#include <string>

#include <dlfcn.h>

namespace {

/// Ends with a slash. Empty if it is unknown: then the loader searches its own folders.
std::string folderOfThisLibrary()
{
    static const char inside = 0;
    Dl_info info = {};
    if (dladdr(&inside, &info) == 0 || !info.dli_fname)
        return {};
    const std::string file = info.dli_fname;
    return file.substr(0, file.rfind('/') + 1);
}

const TagFunctions* loadFunctions()
{
    void* const library = dlopen((folderOfThisLibrary() + TAVO_TAGS_FILE).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const functions = library ? dlsym(library, tagFunctions) : nullptr;
    static std::atomic<bool> hasWarned{false};
    if (!functions && !hasWarned.exchange(true))
        qWarning("No tags can be read: %s", dlerror());
    return static_cast<const TagFunctions*>(functions);
}

/// Null if they cannot be loaded. The next file tries again: there may be too few descriptors just now.
const TagFunctions* functions()
{
    static std::atomic<const TagFunctions*> known{nullptr};
    const TagFunctions* loaded = known;
    if (!loaded) {
        loaded = loadFunctions();
        known = loaded;
    }
    return loaded;
}

/// What the function puts into its last parameter; nothing if it cannot be loaded or runs out of memory.
template<typename Value, typename... Parameters, typename... Arguments>
Value resultOf(void (*TagFunctions::*function)(Parameters...), const Arguments&... arguments)
{
    Value value;
    try {
        if (const TagFunctions* const loaded = functions())
            (loaded->*function)(arguments..., value);
    } catch (const std::exception&) {
        return {};
    }
    return value;
}

} // namespace

// TagLib and Qt Gui take longer to load than all the rest of a worker, so they come with the first file.
FileTags readFileTags(const QString& path, WantedTags wanted, int coverWidth)
{
    return resultOf<FileTags>(&TagFunctions::readFileTags, path, wanted, coverWidth);
}

CoverArt CoverReader::fromAudioFile(int descriptor, const QString& extension, int width)
{
    return resultOf<CoverArt>(&TagFunctions::readAudioCover, descriptor, extension, width);
}

CoverArt CoverReader::fromPictureFile(int descriptor, int width)
{
    return resultOf<CoverArt>(&TagFunctions::readPicture, descriptor, width);
}
