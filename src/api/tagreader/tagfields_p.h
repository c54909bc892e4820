#pragma once

#include <QString>

#include <tag.h>

enum class TagField { Title, Artist, Album, AlbumArtist, Genre };

/// A field of one tag of any of TagLib's kinds; several values are joined with ", ". Null if there is none, cut off
/// where no title or name goes on.
[[nodiscard]] QString tagText(const TagLib::Tag& tag, TagField field);
/// The number of the disc; 0 if there is none.
[[nodiscard]] int tagDiscNumber(const TagLib::Tag& tag);
