#include "content/mount.h"

#include <tavo/tavokeys.h>
#include <tavo/tavonamematcher.h>

#include <QFile>

CMPath Mount::contextMenu() const
{
    return path(TavoContextMenuPath());
}

CMPath Mount::preparePlaylist() const
{
    return path(TavoPlayListPrepareItems());
}

CMPath Mount::prepareLibrary() const
{
    return path(TavoMusicLibraryPrepareItems());
}

CMPath Mount::countFiles() const
{
    return path(TavoFilesystemCountFilesPathSuffix());
}

bool Mount::isWalk(const CMPath& service) const
{
    return service == preparePlaylist() || service == prepareLibrary() || service == countFiles() ||
           longServices.contains(service.base());
}

QStringList Mount::preparablePatterns(const CMPath& service) const
{
    QStringList patterns = playable;
    if (service == preparePlaylist()) {
        for (const QString& playlistPattern : TavoPlayListPatterns())
            patterns.removeAll(playlistPattern);
    }
    return patterns;
}

bool Mount::isPlayable(const QString& base) const
{
    return TavoNameMatcher::shared(playable).matches(base.mid(base.lastIndexOf(u'/') + 1));
}

QByteArray Mount::localPath(const QString& base) const
{
    constexpr QLatin1Char slash('/');
    if (base.startsWith(slash))
        return QFile::encodeName(base);
    if (base.isEmpty())
        return QFile::encodeName(rootDirectory);
    return QFile::encodeName(rootDirectory.endsWith(slash) ? rootDirectory + base : rootDirectory + slash + base);
}
