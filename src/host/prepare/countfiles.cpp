#include "prepare/countfiles.h"

#include "content/contenthost.h"
#include "content/failures.h"

Result<int> countFiles(ContentHost& host, const CMPath& path)
{
    const ContentHost::SharedMount mount = host.mountAt(path.prefix());
    if (!mount)
        return Failures::invalidPath(path);
    const Result<QVariant> count = Content(host).set(mount->countFiles(), path.base());
    if (!count)
        return count.failure();
    return count.value().toInt();
}
