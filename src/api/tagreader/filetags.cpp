#include "filetags_p.h"

#include "loadedfunction_p.h"

void readFileTags(const QString& path, WantedTags wanted, const FileTagsUser& use)
{
    // TagLib takes longer to load than all the rest of a worker.
    static LoadedFunction reader(TAVO_TAGS_FILE, fileTagsReader, "No tags can be read");
    if (auto* const read = reader.get<FileTagsReader>())
        read(path, wanted, use);
}
