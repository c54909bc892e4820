#include "model/cmversion.h"

#include <QGlobalStatic>
#include <QMutex>

Q_GLOBAL_STATIC(QMutex, versionMutex)

int CMVersion::s_last = 0;

QMutex* CMVersion::mutex()
{
    return versionMutex();
}
