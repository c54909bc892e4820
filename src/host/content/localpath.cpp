#include "content/localpath.h"

#include <model/cmworker.h>
#include <tavo/tavomedia.h>
#include <tavo/tavoroles.h>

#include <QFile>
#include <QUrl>

QByteArray localPath(CMWorker& worker, const CMPath& path)
{
    const CMGetDataRequest request(path, {TavoRoles::MediaData()});
    worker.getDataRequest(request);
    const TavoMediaData media(request.reply().value().value(0).toHash());
    if (media.resources().size() == 0)
        return {};
    return QFile::encodeName(QUrl::fromEncoded(media.resources().at(0).uri().toLatin1()).toLocalFile());
}
