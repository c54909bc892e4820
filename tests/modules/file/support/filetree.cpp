#include "filetree.h"

#include <QFileInfo>

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <linux/capability.h>
#include <linux/securebits.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::filesystem::path native(const QString& path)
{
    return path.toStdString();
}

void check(int result)
{
    if (result != 0)
        throw std::system_error(errno, std::generic_category());
}

/// The capabilities that override file permissions. The C library has no function for them.
void setFileCapabilities(bool effective)
{
    constexpr uint32_t overriding = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH;
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
    check(static_cast<int>(syscall(SYS_capget, &header, sets.data())));
    sets[0].effective =
        effective ? sets[0].effective | (overriding & sets[0].permitted) : sets[0].effective & ~overriding;
    check(static_cast<int>(syscall(SYS_capset, &header, sets.data())));
}

} // namespace

FileTree::FileTree()
{
    const QString top = QFileInfo(m_directory.path()).canonicalFilePath();
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

WithoutPrivileges::WithoutPrivileges() : m_securityBits(prctl(PR_GET_SECUREBITS))
{
    if (geteuid() != 0)
        return;
    // Without this, access() would restore root's capabilities.
    check(prctl(PR_SET_SECUREBITS, m_securityBits | SECBIT_NO_SETUID_FIXUP));
    setFileCapabilities(false);
}

WithoutPrivileges::~WithoutPrivileges()
{
    if (geteuid() != 0)
        return;
    setFileCapabilities(true);
    prctl(PR_SET_SECUREBITS, m_securityBits);
}
