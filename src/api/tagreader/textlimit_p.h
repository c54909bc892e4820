#pragma once

#include <tbytevector.h>

/// Keeps TagLib from decoding text without end: it takes up to a hundred times the memory that text has in a file.
///
/// Each function gets a block of a tag's bytes as TagLib is about to get it, and alters it so that TagLib passes over
/// whatever goes beyond the limits. Pictures are never text, whatever their size.
namespace TextLimit {

/// Bytes of text in a tag.
constexpr unsigned int mostText = 256 * 1024;
/// Fields in a tag.
constexpr unsigned int mostFields = 4096;

/// The items of an APE tag, without its footer.
void applyToApeItems(TagLib::ByteVector& items);
/// A Vorbis comment that is in the block as a whole.
void applyToVorbisComment(TagLib::ByteVector& comment);
/// A block that a Vorbis comment starts in, `start` bytes from the block's own: the number of fields alone.
void applyToVorbisCommentStart(TagLib::ByteVector& block, unsigned int start);
/// Whether the block is the value of an MP4 tag that holds anything but pictures.
[[nodiscard]] bool isMp4Text(const TagLib::ByteVector& value);

} // namespace TextLimit
