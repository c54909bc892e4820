#pragma once

#include <tbytevector.h>

/// Limits the text that TagLib decodes, since decoded text takes up to a hundred times its size in the file.
///
/// Each function takes a block of a tag's bytes before TagLib sees it, and changes it so that TagLib skips everything
/// beyond the limits. Pictures do not count as text, whatever their size.
namespace TextLimit {

/// Bytes of text in a tag.
constexpr unsigned int mostText = 256 * 1024;
/// Fields in a tag.
constexpr unsigned int mostFields = 4096;

/// The items of an APE tag, without its footer.
void applyToApeItems(TagLib::ByteVector& items);
/// The block is a complete Vorbis comment.
void applyToVorbisComment(TagLib::ByteVector& comment);
/// A Vorbis comment starts at byte `start` of the block; limits its number of fields only.
void applyToVorbisCommentStart(TagLib::ByteVector& block, unsigned int start);
/// Whether the block is the value of an MP4 tag, unless the value is made of pictures alone.
[[nodiscard]] bool isMp4Text(const TagLib::ByteVector& value);

} // namespace TextLimit
