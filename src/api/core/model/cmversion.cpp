#include "model/cmversion.h"

#include <QGlobalStatic>
#include <QMutex>

#include <algorithm>
#include <limits>

Q_GLOBAL_STATIC(QMutex, versionMutex)

int CMVersion::s_last = 0;

namespace {

/// The next version is one more, and a new worker knows of no largest one.
int afterWrap(int version)
{
    return version == std::numeric_limits<int>::max() ? 0 : version;
}

} // namespace

int CMVersion::next()
{
    const QMutexLocker lock(mutex());
    const int version = afterWrap(s_last) + 1;
    s_last = afterWrap(version);
    return version;
}

void CMVersion::raise(int version)
{
    const QMutexLocker lock(mutex());
    s_last = afterWrap(std::max(s_last, version));
}

QMutex* CMVersion::mutex()
{
    return versionMutex();
}
