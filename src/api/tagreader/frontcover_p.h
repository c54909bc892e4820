#pragma once

#include <flacpicture.h>
#include <tag.h>

/// The bytes of the picture that a tag holds for the front cover, or for none of the other purposes that have names.
/// Empty if there is none.
[[nodiscard]] TagLib::ByteVector frontCover(TagLib::Tag& tag);
[[nodiscard]] TagLib::ByteVector frontCover(const TagLib::List<TagLib::FLAC::Picture*>& pictures);
