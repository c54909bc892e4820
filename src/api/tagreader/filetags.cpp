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

FileTagsReader* loadReader()
{
    void* const library = dlopen((folderOfThisLibrary() + TAVO_TAGS_FILE).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = library ? dlsym(library, fileTagsReader) : nullptr;
    static std::atomic<bool> hasWarned{false};
    if (!function && !hasWarned.exchange(true))
        qWarning("No tags can be read: %s", dlerror());
    return reinterpret_cast<FileTagsReader*>(function);
}

/// Null if it cannot be loaded. The next file tries again: there may be too few descriptors just now.
FileTagsReader* reader()
{
    static std::atomic<FileTagsReader*> known{nullptr};
    FileTagsReader* function = known;
    if (!function) {
        function = loadReader();
        known = function;
    }
    return function;
}

} // namespace

// TagLib and Qt Gui take longer to load than all the rest of a worker, so they come with the first file.
FileTags readFileTags(const QString& path, WantedTags wanted, int coverWidth)
{
    FileTags tags;
    try {
        if (auto* const read = reader())
            read(path, wanted, coverWidth, tags);
    } catch (const std::exception&) {
        return {};
    }
    return tags;
}
