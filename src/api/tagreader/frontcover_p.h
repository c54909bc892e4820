#pragma once

#include <flacpicture.h>
#include <tag.h>

/// The bytes of a tag's front cover or, without one, of a picture whose purpose is "other". Empty if there is neither.
[[nodiscard]] TagLib::ByteVector frontCover(TagLib::Tag& tag);
[[nodiscard]] TagLib::ByteVector frontCover(const TagLib::List<TagLib::FLAC::Picture*>& pictures);
