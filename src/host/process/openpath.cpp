#include "process/openpath.h"

#include <QByteArrayList>

#include <cerrno>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

namespace {

quint64 resolutionFor(Links links)
{
    switch (links) {
    case Links::Refused:
        return RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
    case Links::Below:
        return RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    case Links::Followed:
        break;
    }
    return RESOLVE_NO_MAGICLINKS;
}

/// Like open(), sets errno.
int openChecked(int directory, const QByteArray& path, quint64 resolution)
{
    open_how how = {};
    how.flags = O_PATH | O_CLOEXEC;
    how.resolve = resolution;
    return static_cast<int>(syscall(SYS_openat2, directory, path.constData(), &how, sizeof(how)));
}

int openPatiently(int directory, const QByteArray& path, Links links)
{
    // The kernel gives up when something is renamed meanwhile. In a tree that is renamed all the time nothing is found.
    constexpr int mostAttempts = 100;
    int descriptor = -1;
    for (int i = 0; i < mostAttempts; ++i) {
        descriptor = openChecked(directory, path, resolutionFor(links));
        if (descriptor >= 0 || (errno != EAGAIN && errno != EINTR))
            break;
    }
    return descriptor;
}

FileDescriptor openStepwise(int directory, const QByteArray& path)
{
    FileDescriptor current;
    for (const QByteArray& name : path.split('/')) {
        if (name == "..")
            return {};
        // For a link, O_NOFOLLOW with O_PATH opens the link itself, in which the next name cannot be opened.
        const int parent = current.isOpen() ? current.get() : directory;
        current = FileDescriptor(openat(parent, name.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        if (!current.isOpen())
            return {};
    }
    return current;
}

} // namespace

FileDescriptor openPath(int directory, const QByteArray& path, Links links)
{
    FileDescriptor found(openPatiently(directory, path, links));
    if (!found.isOpen() && (errno == ENOSYS || errno == EPERM))
        return openStepwise(directory, path);
    return found;
}

FileDescriptor openCachedPath(const QByteArray& absolutePath)
{
    return FileDescriptor(openChecked(AT_FDCWD, absolutePath, RESOLVE_NO_SYMLINKS | RESOLVE_CACHED));
}
