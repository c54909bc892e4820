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

/// Writes the tags into the file, and the cover, a JPEG file, unless the kind of file has no place for one.
void writeTags(const std::string& file, const Tags& tags, const TagLib::ByteVector& cover);

/// TagLib with nothing around it.
namespace BareTagLib {

/// Reads what a playlist shows of each file: title, artist, album, duration.
void readForPlayList(const std::vector<std::string>& files);

/// Reads what a library knows of each file, and makes a JPEG file `coverWidth` pixels wide of each distinct cover.
void readForLibrary(const std::vector<std::string>& files, int coverWidth);

} // namespace BareTagLib
