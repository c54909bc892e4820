#include "versionmutexhook.h"

#include "model/cmversion.h"

namespace {

QMutex versionMutex;

} // namespace

std::function<void()> VersionMutexHook::beforeHandingOut;
QMutex* VersionMutexHook::mutex = &versionMutex;

void VersionMutexHook::reset()
{
    beforeHandingOut = nullptr;
    mutex = &versionMutex;
}

QMutex* CMVersion::mutex()
{
    if (VersionMutexHook::beforeHandingOut)
        VersionMutexHook::beforeHandingOut();
    return VersionMutexHook::mutex;
}
