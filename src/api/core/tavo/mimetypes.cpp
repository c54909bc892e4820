#include "tavo/mimetypes.h"

#include <QHash>
#include <QMimeDatabase>
#include <QReadWriteLock>
#include <QSet>

namespace {

/// Bounds the cache: file names can bring any number of extensions.
constexpr int largestCache = 4096;

class ExtensionTable
{
public:
    [[nodiscard]] QString mimeType(const QString& extension)
    {
        {
            const QReadLocker reading(&m_lock);
            const auto known = m_types.constFind(extension);
            if (known != m_types.constEnd())
                return *known;
        }
        QString type = fromDatabase(extension);
        const QWriteLocker writing(&m_lock);
        if (m_types.size() < largestCache)
            m_types.insert(extension, type);
        return type;
    }

private:
    /// Of several types that share an extension: sound first, then video, then any. Null if there is none.
    [[nodiscard]] static QString fromDatabase(const QString& extension)
    {
        const QList<QMimeType> types = QMimeDatabase().mimeTypesForFileName(QLatin1String("x.") + extension);
        for (const QLatin1String medium : {QLatin1String("audio/"), QLatin1String("video/")}) {
            for (const QMimeType& type : types) {
                if (type.name().startsWith(medium))
                    return type.name();
            }
        }
        return types.isEmpty() ? QString() : types.first().name();
    }

    QReadWriteLock m_lock;
    QHash<QString, QString> m_types;
};

bool isPlaylist(const QString& mimeType)
{
    static const QSet<QString> types = {
        QStringLiteral("audio/x-mpegurl"),        QStringLiteral("audio/mpegurl"),
        QStringLiteral("audio/x-scpls"),          QStringLiteral("audio/x-ms-asx"),
        QStringLiteral("application/vnd.ms-wpl"), QStringLiteral("application/vnd.apple.mpegurl"),
        QStringLiteral("application/xspf+xml")};
    return types.contains(mimeType);
}

} // namespace

QString MimeTypes::extensionToMimeType(const QString& extension, const QString& fallback)
{
    static ExtensionTable table;
    const QString type = table.mimeType(extension);
    return type.isEmpty() ? fallback : type;
}

TavoRolesType::Enum CMGlobal::mimeTypeToRolesType(const QString& mimeType)
{
    using Type = TavoRolesType::Enum;
    if (isPlaylist(mimeType))
        return Type::Playlist;
    if (mimeType.startsWith(QLatin1String("audio/")))
        return Type::Audio;
    if (mimeType.startsWith(QLatin1String("video/")))
        return Type::Video;
    if (mimeType.startsWith(QLatin1String("image/")))
        return Type::Image;
    return mimeType == QLatin1String("inode/directory") ? Type::Container : Type::File;
}
