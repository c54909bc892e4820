#pragma once

#include "content_p.h"
#include "frameguard_p.h"
#include "soundformat_p.h"
#include "tagfields_p.h"
#include "tagstream_p.h"

#include <QString>

#include <id3v2tag.h>
#include <tfile.h>

#include <memory>
#include <vector>

/// The tags of one audio file of any format; empty if it is no audio file. If a file has several tags, each field comes
/// from the first tag that has it.
class TagFile
{
public:
    using Pictures = FrameGuard::Pictures;

    /// `path` is absolute. The front cover may be missing without Pictures::Read.
    TagFile(const QString& path, Pictures pictures);
    /// Reads a file that is open; `extension` is that of its name.
    TagFile(int descriptor, const QString& extension, Pictures pictures);

    /// Null if there is none.
    [[nodiscard]] QString text(TagField field) const;
    /// 0 if there is none.
    [[nodiscard]] int year() const;
    [[nodiscard]] int trackNumber() const;
    [[nodiscard]] int discNumber() const;
    [[nodiscard]] SoundFormat sound();
    /// The picture file's bytes; empty if there is none.
    [[nodiscard]] TagLib::ByteVector frontCover() const;

private:
    void open(const QString& extension);
    void openContent();
    template<typename File>
    void openOgg(const BoundedStream::Limits& limits);
    template<typename File>
    void openWithApeTag(bool readProperties = true);
    void openMpeg(bool readProperties = true);
    void openFlac();
    void openWav();
    void openAiff();
    template<typename File, typename... Arguments>
    [[nodiscard]] File* openAs(Arguments... arguments);
    /// Null pointers are passed over.
    void addTags(std::initializer_list<TagLib::Tag*> tags);
    [[nodiscard]] TagLib::Tag* hiddenTag();
    /// The first result that is not empty or 0.
    template<typename Get>
    [[nodiscard]] auto firstOf(Get get) const;

    TagStream m_stream;
    FrameGuard m_frames;
    Content m_content;
    std::unique_ptr<TagLib::File> m_file;
    /// The tag that m_stream hides from m_file.
    std::unique_ptr<TagLib::ID3v2::Tag> m_hiddenTag;
    /// Never null; the most reliable first.
    std::vector<TagLib::Tag*> m_tags;
};
