// Both tag readers make well-formed items of files with any content and any ending. The fuzzer's own limits check time
// and memory.

#include "check.h"
#include "memoryfile.h"

#include "tagreader/musiclibrarytagreader.h"
#include "tagreader/playlisttagreader.h"

#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QVariantHash>

#include <algorithm>
#include <array>

namespace {

/// The first byte of the input selects one; the seeds rely on the order.
constexpr std::array<const char*, 16> endings = {"mp3",  "flac", "ogg", "oga", "opus", "spx", "m4a", "wav",
                                                 "aiff", "wma",  "ape", "wv",  "mpc",  "tta", "aac", "txt"};

/// Narrower than the covers of some seeds, which are therefore scaled.
constexpr int albumArtWidth = 16;

/// The same content under names with all endings.
class NamedFile
{
public:
    NamedFile()
    {
        FUZZ_CHECK(m_folder.isValid());
        for (const char* ending : endings)
            FUZZ_CHECK(QFile::link(QStringLiteral("/proc/self/fd/%1").arg(m_content.descriptor()), path(ending)));
    }

    void setContent(const uint8_t* content, size_t size) const { m_content.setContent(content, size); }

    [[nodiscard]] QDir folder() const { return m_folder.path(); }
    [[nodiscard]] QString path(const char* ending) const
    {
        return m_folder.filePath(QLatin1String("sound.") + QLatin1String(ending));
    }

private:
    const MemoryFile m_content;
    const QTemporaryDir m_folder;
};

/// Unknown values are absent, never empty or 0.
bool isMeaningful(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
        return value.toLongLong() > 0;
    case QMetaType::QVariantHash: {
        const QVariantHash fields = value.toHash();
        return std::all_of(fields.cbegin(), fields.cend(), isMeaningful);
    }
    default:
        return !value.toString().isEmpty() && value.toString().isValidUtf16();
    }
}

bool isPartOf(const QVariantHash& part, const QVariantHash& whole)
{
    const QList<QString> names = part.keys();
    return std::all_of(names.cbegin(), names.cend(), [&](const QString& name) { return part[name] == whole[name]; });
}

/// The fields of an item that the checks read.
struct Fields
{
    explicit Fields(const QVariant& item)
    {
        const QVariantHash media = item.toHash().value(QStringLiteral("mediaData")).toHash();
        title = item.toHash().value(QStringLiteral("title")).toString();
        metaData = media.value(QStringLiteral("metaData")).toHash();
        resource = media.value(QStringLiteral("resources")).toList().value(0).toHash();
    }

    QString title;
    QVariantHash metaData;
    QVariantHash resource;
};

void checkFields(const Fields& fields)
{
    FUZZ_CHECK(isMeaningful(fields.title));
    FUZZ_CHECK(isMeaningful(fields.metaData));
    FUZZ_CHECK(isMeaningful(fields.resource));
    const QVariantHash art = fields.metaData.value(QStringLiteral("albumArt")).toHash();
    FUZZ_CHECK(art.value(QStringLiteral("width")).toInt() <= albumArtWidth);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    // Qt logs a warning for every damaged picture.
    QLoggingCategory::setFilterRules(QStringLiteral("*.warning=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const NamedFile file;
    if (size == 0)
        return 0;
    file.setContent(data + 1, size - 1);
    const QString path = file.path(endings.at(data[0] % endings.size()));
    const QString serviceId = QStringLiteral("file");
    const Fields forPlayList(PlayListTagReader().readItem(file.folder(), path, serviceId, {}));
    const Fields forLibrary(MusicLibraryTagReader(albumArtWidth).readItem(file.folder(), path, serviceId, {}));
    checkFields(forPlayList);
    checkFields(forLibrary);
    FUZZ_CHECK(forPlayList.title == forLibrary.title);
    FUZZ_CHECK(isPartOf(forPlayList.metaData, forLibrary.metaData));
    FUZZ_CHECK(isPartOf(forPlayList.resource, forLibrary.resource));
    return 0;
}
