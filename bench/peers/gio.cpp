#include "peers/gio.h"

#include "support/race.h"

#include <gio/gio.h>

#include <algorithm>
#include <cstring>
#include <vector>

std::size_t Gio::list(const std::string& directory, const char* attributes)
{
    GFile* const file = g_file_new_for_path(directory.c_str());
    GFileEnumerator* const enumerator =
        g_file_enumerate_children(file, attributes, G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr);
    require(enumerator, "GIO cannot enumerate a directory");
    std::vector<GFileInfo*> entries;
    while (GFileInfo* const info = g_file_enumerator_next_file(enumerator, nullptr, nullptr))
        entries.push_back(info);
    std::sort(entries.begin(), entries.end(), [](GFileInfo* a, GFileInfo* b) {
        return std::strcmp(g_file_info_get_name(a), g_file_info_get_name(b)) < 0;
    });
    for (GFileInfo* const info : entries)
        g_object_unref(info);
    g_object_unref(enumerator);
    g_object_unref(file);
    return entries.size();
}
