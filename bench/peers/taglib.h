#pragma once

#include <tbytevector.h>

#include <string>
#include <vector>

struct Tags
{
    std::string title;
    std::string artist;
    std::string album;
    unsigned track;
    unsigned year;
};

/// Writes the tags into the file, and the cover, the content of a JPEG file, if the file's format has room for one.
void writeTags(const std::string& file, const Tags& tags, const TagLib::ByteVector& cover);

/// TagLib alone, without the tag readers.
namespace BareTagLib {

/// Reads the fields of each file that a playlist shows: title, artist, album, duration.
void readForPlayList(const std::vector<std::string>& files);

/// Reads the fields of each file that a library stores, and scales each distinct cover to a JPEG file `coverWidth`
/// pixels wide.
void readForLibrary(const std::vector<std::string>& files, int coverWidth);

} // namespace BareTagLib
