#include "filetree.h"

#include <QFileInfo>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uid_t nobody = 65534;

std::filesystem::path native(const QString& path)
{
    return path.toStdString();
}

void check(int result)
{
    if (result != 0)
        throw std::system_error(errno, std::generic_category());
}

} // namespace

FileTree::FileTree()
{
    const QString top = QFileInfo(m_directory.path()).canonicalFilePath();
    std::filesystem::permissions(native(top), std::filesystem::perms(0755));
    m_root = top + "/root";
    std::filesystem::create_directory(native(m_root));
}

FileTree::~FileTree()
{
    for (const QString& path : qAsConst(m_forbidden))
        static_cast<void>(chmod(path.toUtf8().constData(), 0700));
}

QString FileTree::path(const QString& relative) const
{
    return relative.isEmpty() ? m_root : m_root + '/' + relative;
}

void FileTree::addDirectory(const QString& relative) const
{
    std::filesystem::create_directories(native(path(relative)));
}

void FileTree::addFile(const QString& relative, const QByteArray& content) const
{
    const std::filesystem::path file = native(path(relative));
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out;
    out.exceptions(std::ios::failbit | std::ios::badbit);
    out.open(file, std::ios::binary);
    out.write(content.constData(), content.size());
}

void FileTree::addLink(const QString& relative, const QString& target) const
{
    std::filesystem::create_symlink(native(target), native(path(relative)));
}

void FileTree::remove(const QString& relative) const
{
    if (std::filesystem::remove_all(native(path(relative))) == 0)
        throw std::system_error(ENOENT, std::generic_category());
}

void FileTree::rename(const QString& from, const QString& to) const
{
    std::filesystem::rename(native(path(from)), native(path(to)));
}

void FileTree::setModified(const QString& relative, qint64 secondsSinceEpoch, long nanoseconds) const
{
    const timespec time{secondsSinceEpoch, nanoseconds};
    const timespec times[] = {time, time};
    check(utimensat(AT_FDCWD, path(relative).toUtf8().constData(), times, 0));
}

void FileTree::forbid(const QString& relative)
{
    check(chmod(path(relative).toUtf8().constData(), 0));
    m_forbidden.append(path(relative));
}

void FileTree::permit(const QString& relative) const
{
    check(chmod(path(relative).toUtf8().constData(), 0755));
}

WithoutPrivileges::WithoutPrivileges()
{
    if (geteuid() == 0)
        check(setresuid(nobody, nobody, 0));
}

WithoutPrivileges::~WithoutPrivileges()
{
    uid_t real = 0;
    uid_t effective = 0;
    uid_t saved = 0;
    if (getresuid(&real, &effective, &saved) == 0 && saved == 0 && setresuid(0, 0, 0) != 0)
        std::abort();
}
