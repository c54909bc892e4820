#include "media/guardedtree.h"

#include "content/mount.h"

#include <QCryptographicHash>
#include <QFile>

#include <algorithm>
#include <array>
#include <climits>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/sysmacros.h>

namespace {

QByteArray linkTo(const FileDescriptor& descriptor)
{
    return "/proc/self/fd/" + QByteArray::number(descriptor.get());
}

/// Empty on failure.
QByteArray realPathOf(const FileDescriptor& descriptor)
{
    std::array<char, PATH_MAX> path{};
    const ssize_t length = readlink(linkTo(descriptor).constData(), path.data(), path.size());
    const bool isWhole = length > 0 && static_cast<size_t>(length) < path.size();
    return isWhole ? QByteArray(path.data(), static_cast<int>(length)) : QByteArray();
}

/// Whether all names of the relative path are visible: not empty, and without a dot in front.
bool hasVisibleNames(const QByteArray& path)
{
    const QByteArrayList names = path.split('/');
    return std::all_of(
        names.cbegin(), names.cend(), [](const QByteArray& name) { return !name.isEmpty() && !name.startsWith('.'); });
}

FileDescriptor openFromTop(const QByteArray& absolutePath)
{
    const FileDescriptor top(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    const QByteArray path = absolutePath.mid(1);
    return openPath(top.get(), path.isEmpty() ? "." : path, Links::Refused);
}

bool areEqual(const timespec& a, const timespec& b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

std::optional<GuardedTree> GuardedTree::open(const Mount& mount)
{
    if (!mount.isTree())
        return std::nullopt;
    FileDescriptor directory = openFromTop(QFile::encodeName(mount.rootDirectory));
    if (!directory.isOpen())
        return std::nullopt;
    return GuardedTree(std::move(directory), mount.followsLinks);
}

GuardedTree::GuardedTree(FileDescriptor directory, bool followsLinks)
    : m_directory(std::move(directory)), m_realPath(realPathOf(m_directory)), m_followsLinks(followsLinks)
{
}

std::optional<GuardedTree::File> GuardedTree::openFile(const QString& base) const
{
    const QByteArray path = QFile::encodeName(base);
    return hasVisibleNames(path) ? open(path, S_IFREG, O_NONBLOCK | O_NOCTTY) : std::nullopt;
}

std::optional<GuardedTree::Directory> GuardedTree::openDirectory(const QString& base) const
{
    const QByteArray path = base.isEmpty() ? "." : QFile::encodeName(base);
    return base.isEmpty() || hasVisibleNames(path) ? open(path, S_IFDIR, O_DIRECTORY) : std::nullopt;
}

FileDescriptor GuardedTree::find(const QByteArray& path) const
{
    FileDescriptor found = openPath(m_directory.get(), path, Links::Below);
    // The kernel takes every absolute symlink for one that leads out. isShown() checks the file that it leads to.
    return found.isOpen() ? std::move(found) : openPath(m_directory.get(), path, Links::Followed);
}

std::optional<GuardedTree::File> GuardedTree::open(const QByteArray& path, mode_t type, int flags) const
{
    // Truncated at a null byte, the path would name another file.
    if (path.contains('\0'))
        return std::nullopt;
    const FileDescriptor found = find(path);
    File file = {};
    if (!found.isOpen() || fstat(found.get(), &file.status) != 0 || (file.status.st_mode & S_IFMT) != type ||
        !isShown(realPathOf(found)))
        return std::nullopt;
    // Opens the very file that was checked: opening a device or a pipe would have effects by itself.
    file.descriptor = FileDescriptor(::open(linkTo(found).constData(), O_RDONLY | O_CLOEXEC | flags));
    return file.descriptor.isOpen() ? std::optional(std::move(file)) : std::nullopt;
}

bool GuardedTree::isShown(const QByteArray& realPath) const
{
    if (realPath.isEmpty() || m_realPath.isEmpty())
        return false;
    const QByteArray root = m_realPath.endsWith('/') ? m_realPath : m_realPath + '/';
    if (realPath == m_realPath)
        return true;
    return realPath.startsWith(root) ? hasVisibleNames(realPath.mid(root.size())) : m_followsLinks;
}

std::optional<struct stat> promptStatus(const Mount& mount, const QString& base)
{
    const QByteArray path = mount.localPath(base);
    if (!hasVisibleNames(QFile::encodeName(base)) || path.contains('\0'))
        return std::nullopt;
    const FileDescriptor found = openCachedPath(path);
    struct statx known = {};
    if (!found.isOpen() || statx(found.get(), "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_BASIC_STATS, &known) != 0)
        return std::nullopt;
    struct stat status = {};
    status.st_dev = makedev(known.stx_dev_major, known.stx_dev_minor);
    status.st_ino = known.stx_ino;
    status.st_mode = known.stx_mode;
    status.st_size = static_cast<off_t>(known.stx_size);
    status.st_mtim = {known.stx_mtime.tv_sec, known.stx_mtime.tv_nsec};
    status.st_ctim = {known.stx_ctime.tv_sec, known.stx_ctime.tv_nsec};
    return status;
}

bool isUnchanged(const struct stat& before, const struct stat& now)
{
    return before.st_dev == now.st_dev && before.st_ino == now.st_ino && before.st_mode == now.st_mode &&
           before.st_size == now.st_size && areEqual(before.st_mtim, now.st_mtim) &&
           areEqual(before.st_ctim, now.st_ctim);
}

QByteArray identityOf(const struct stat& status)
{
    const std::array<qint64, 5> parts = {
        static_cast<qint64>(status.st_dev), static_cast<qint64>(status.st_ino), status.st_size, status.st_mtim.tv_sec,
        status.st_mtim.tv_nsec};
    const QByteArray bytes(reinterpret_cast<const char*>(parts.data()), static_cast<int>(sizeof(parts)));
    constexpr int digits = 32;
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().left(digits);
}

QByteArrayList visibleNames(GuardedTree::Directory directory)
{
    QByteArrayList names;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(directory.descriptor.get()), closedir);
    if (!entries)
        return names;
    // The stream owns it now.
    static_cast<void>(directory.descriptor.release());
    while (const dirent* const entry = readdir(entries.get())) {
        if (entry->d_name[0] != '.')
            names.append(entry->d_name);
    }
    return names;
}
