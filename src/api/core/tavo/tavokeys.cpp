#include "tavo/tavokeys.h"

#include "model/cmpath.h"
#include "tavo/keyaccessor_p.h"

TAVO_KEY(TavoService_Id, "serviceId")
TAVO_KEY(TavoFilesystem_Path, "filesystem/path")
TAVO_KEY(TavoFilesystem_Filter, "filesystem/filter")
TAVO_KEY(TavoPlaylist_StateDirectory, "playlistStateDirectory")
TAVO_KEY(TavoPlayListPrepareItems, "playList/prepareItems")
TAVO_KEY(TavoMusicLibraryPrepareItems, "musicLibrary/prepareItems")
TAVO_KEY(TavoFilesystemCountFilesPathSuffix, "filesystem/countFiles")
TAVO_KEY(TavoContextMenuPath, "menu/context")
TAVO_KEY(TavoErrorAccessViolation, "accessViolation")
TAVO_KEY(TavoErrorInvalidPath, "invalidPath")
TAVO_KEY(TavoErrorInvalidRowsVersion, "invalidRowsVersion")

const QStringList& TavoPlayListPatterns()
{
    static const QStringList patterns = {
        QStringLiteral("*.m3u"), QStringLiteral("*.pls"), QStringLiteral("*.wpl"), QStringLiteral("*.asx")};
    return patterns;
}

const CMPath& TavoMusicLibraryAlbumArtWidth()
{
    static const CMPath path(QStringLiteral("settings"), QStringLiteral("musicLibrary/albumArtWidth"));
    return path;
}
