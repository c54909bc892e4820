#include "liveness/kernelevents.h"

#include "process/filedescriptor.h"

#include <QFile>
#include <QSet>
#include <QStorageInfo>

#include <array>
#include <cerrno>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

/// A limit that cannot be read is none.
KernelLimit readLimit(const QString& name)
{
    QFile file(QStringLiteral("/proc/sys/") + QString(name).replace(u'.', u'/'));
    const bool isOpen = file.open(QIODevice::ReadOnly);
    return {name, isOpen ? file.readAll().trimmed().toInt() : std::numeric_limits<int>::max()};
}

KernelLimit lowerOf(const QString& system, const QString& user)
{
    const KernelLimit ofSystem = readLimit(system);
    const KernelLimit ofUser = readLimit(user);
    return ofSystem.value <= ofUser.value ? ofSystem : ofUser;
}

/// `descriptor`: its number.
bool isInotify(const QByteArray& descriptor)
{
    std::array<char, 32> target{};
    const ssize_t length = readlink(("/proc/self/fd/" + descriptor).constData(), target.data(), target.size());
    return length > 0 && std::string_view(target.data(), static_cast<size_t>(length)) == "anon_inode:inotify";
}

} // namespace

QByteArray fileSystemType(const QByteArray& localPath)
{
    return QStorageInfo(QFile::decodeName(localPath)).fileSystemType();
}

bool sendsNoEvents(const QByteArray& fileSystemType)
{
    static const QSet<QByteArray> types = {"nfs",  "nfs4", "cifs", "smb3",   "smbfs",   "ncpfs", "afs",
                                           "ceph", "coda", "9p",   "vboxsf", "fuseblk", "fuse"};
    return types.contains(fileSystemType) || fileSystemType.startsWith("fuse.");
}

KernelLimit watchLimit()
{
    return lowerOf(QStringLiteral("fs.inotify.max_user_watches"), QStringLiteral("user.max_inotify_watches"));
}

KernelLimit instanceLimit()
{
    return lowerOf(QStringLiteral("fs.inotify.max_user_instances"), QStringLiteral("user.max_inotify_instances"));
}

qint64 ownWatches()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> descriptors(opendir("/proc/self/fd"), closedir);
    qint64 count = 0;
    while (const dirent* const entry = descriptors ? readdir(descriptors.get()) : nullptr) {
        const QByteArray descriptor = entry->d_name;
        QFile state(QStringLiteral("/proc/self/fdinfo/") + QString::fromLatin1(descriptor));
        if (isInotify(descriptor) && state.open(QIODevice::ReadOnly))
            count += state.readAll().count("inotify wd:");
    }
    return count;
}

bool isWatchLimitReached(const QByteArray& localPath)
{
    const FileDescriptor inotify(inotify_init1(IN_CLOEXEC));
    return inotify.isOpen() && inotify_add_watch(inotify.get(), localPath.constData(), IN_CREATE) < 0 &&
           errno == ENOSPC;
}

bool isInstanceLimitReached(int instances)
{
    std::vector<FileDescriptor> granted;
    for (int i = 0; i < instances; ++i) {
        granted.emplace_back(inotify_init1(IN_CLOEXEC));
        if (!granted.back().isOpen())
            return errno == EMFILE;
    }
    return false;
}
