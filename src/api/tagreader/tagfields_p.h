#pragma once

#include <QString>

#include <tag.h>

enum class TagField { Title, Artist, Album, AlbumArtist, Genre };
enum class TagNumber { Year, Track, Disc };

/// A field of one tag of any of TagLib's kinds; several values are joined with ", ". Null if there is none, cut off
/// where no title or name goes on.
[[nodiscard]] QString tagText(const TagLib::Tag& tag, TagField field);
/// The number that a field of the tag starts with; 0 if there is none.
[[nodiscard]] int tagNumber(const TagLib::Tag& tag, TagNumber field);
