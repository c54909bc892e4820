#pragma once

#include <QString>

#include <tag.h>

enum class TagField { Title, Artist, Album, AlbumArtist, Genre };
enum class TagNumber { Year, Track, Disc };

/// A field of one tag, which may be of any kind; several values are joined with ", ". Null if the tag does not have it.
/// Long texts are truncated.
[[nodiscard]] QString tagText(const TagLib::Tag& tag, TagField field);
/// The number that a field of the tag starts with; 0 if there is none.
[[nodiscard]] int tagNumber(const TagLib::Tag& tag, TagNumber field);
