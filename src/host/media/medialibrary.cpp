#include "media/medialibrary.h"

#include "content/contenthost.h"
#include "media/guardedtree.h"

#include <tavo/mimetypes.h>

#include <QFileInfo>

namespace {

/// Other types could hold scripts, which browsers would run as the page's own.
bool isHarmless(const QString& mimeType)
{
    const bool isMedium = mimeType.startsWith(QLatin1String("audio/")) || mimeType.startsWith(QLatin1String("video/"));
    return isMedium || (mimeType.startsWith(QLatin1String("image/")) && !mimeType.contains(QLatin1String("svg")));
}

QByteArray mimeTypeOf(const QString& base)
{
    const QString type = MimeTypes::extensionToMimeType(QFileInfo(base).suffix(), QString());
    return isHarmless(type) ? type.toLatin1() : "application/octet-stream";
}

} // namespace

std::optional<MediaFile> MediaLibrary::open(const QString& prefix, const QString& base) const
{
    const ContentHost::SharedMount mount = m_host->findMount(prefix);
    if (!mount || !mount->isPlayable(base))
        return std::nullopt;
    const std::optional<GuardedTree> tree = GuardedTree::open(*mount);
    std::optional<GuardedTree::File> file = tree ? tree->openFile(base) : std::nullopt;
    if (!file)
        return std::nullopt;
    return MediaFile{std::move(file->descriptor), file->status, '"' + identityOf(file->status) + '"', mimeTypeOf(base)};
}

bool MediaLibrary::isCurrent(const MediaFile& file, const QString& prefix, const QString& base) const
{
    const ContentHost::SharedMount mount = m_host->mountAt(prefix);
    if (!mount || !mount->isPlayable(base))
        return false;
    const std::optional<struct stat> now = promptStatus(*mount, base);
    return now && isUnchanged(file.status, *now);
}
