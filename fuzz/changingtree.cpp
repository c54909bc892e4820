#include "changingtree.h"

#include "check.h"

#include <QFile>
#include <QFileInfo>

#include <array>
#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool addFile(const QByteArray& path)
{
    const int descriptor = open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    return descriptor >= 0 && close(descriptor) == 0;
}

bool toggleFile(const QByteArray& path, const QByteArray& /*destination*/)
{
    return unlink(path.constData()) == 0 || addFile(path);
}

bool toggleDirectory(const QByteArray& path, const QByteArray& /*destination*/)
{
    return rmdir(path.constData()) == 0 || mkdir(path.constData(), S_IRWXU) == 0;
}

bool toggleMove(const QByteArray& path, const QByteArray& destination)
{
    return std::rename(path.constData(), destination.constData()) == 0 ||
           std::rename(destination.constData(), path.constData()) == 0;
}

struct Change
{
    bool (*toggle)(const QByteArray& path, const QByteArray& destination);
    /// Relative to the parent of the root.
    const char* path;
    /// Of the entry that is moved.
    const char* destination = "";
};

/// The last move is that of the root itself.
constexpr std::array<Change, 8> changes = {{
    {toggleFile, "root/new.mp3"},
    {toggleFile, "root/a/b/new.mp3"},
    {toggleDirectory, "root/empty"},
    {toggleDirectory, "root/a/b"},
    {toggleMove, "root/a/b", "elsewhere"},
    {toggleMove, "root/a", "root/renamed"},
    {toggleMove, "root/a/b/song.mp3", "root/top.mp3"},
    {toggleMove, "root", "renamed root"},
}};

} // namespace

ChangingTree::ChangingTree()
{
    FUZZ_CHECK(m_folder.isValid());
    for (const char* directory : {"root", "outside"})
        FUZZ_CHECK(mkdir(absolute(directory).constData(), S_IRWXU) == 0);
    FUZZ_CHECK(addFile(absolute("outside/secret.mp3")));
    fill();
}

QString ChangingTree::root() const
{
    return m_folder.filePath(QStringLiteral("root"));
}

void ChangingTree::change(unsigned char number)
{
    const Change& change = changes.at(number % changes.size());
    m_isChanged |= change.toggle(absolute(change.path), absolute(change.destination));
}

void ChangingTree::reset()
{
    if (!m_isChanged)
        return;
    m_isChanged = false;
    if (!QFileInfo::exists(root()))
        change(changes.size() - 1);
    const std::filesystem::path folder = m_folder.path().toStdString();
    std::filesystem::remove_all(folder / "elsewhere");
    for (const auto& entry : std::filesystem::directory_iterator(folder / "root"))
        std::filesystem::remove_all(entry);
    fill();
}

void ChangingTree::fill() const
{
    for (const char* directory : {"root/a", "root/a/b", "root/.hidden"})
        FUZZ_CHECK(mkdir(absolute(directory).constData(), S_IRWXU) == 0);
    for (const char* file :
         {"top.mp3", "Blåbär #1 & 100%.mp3", ".hidden.mp3", ".hidden/secret.mp3", "a/list.m3u", "a/notes.txt",
          "a/b/song.mp3"})
        FUZZ_CHECK(addFile(absolute("root/") + file));
    FUZZ_CHECK(symlink("a", absolute("root/link").constData()) == 0);
    FUZZ_CHECK(symlink("../outside", absolute("root/out").constData()) == 0);
    FUZZ_CHECK(symlink("../.hidden", absolute("root/a/shown").constData()) == 0);
}

QByteArray ChangingTree::absolute(const char* path) const
{
    return QFile::encodeName(m_folder.filePath(QString::fromLatin1(path)));
}
