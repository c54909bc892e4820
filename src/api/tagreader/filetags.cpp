#include "filetags_p.h"

#include "loadedfunction_p.h"

#include <exception>

void readFileTags(const QString& path, WantedTags wanted, const FileTagsUser& use)
{
    // TagLib takes longer to load than all the rest of a worker.
    static LoadedFunction reader(TAVO_TAGS_FILE, fileTagsReader, "No tags can be read");
    try {
        if (auto* const read = reader.get<FileTagsReader>())
            read(path, wanted, use);
    } catch (const std::exception&) {
    }
}
