#include "media/directorycovers.h"

#include "content/mount.h"

#include <tavo/tavoutf8.h>

#include <algorithm>
#include <ctime>

namespace {

/// The position among the names that pictures of directories have; negative for any other.
int rankOf(const QString& name)
{
    static const QStringList names = {
        QStringLiteral("cover.jpg"),  QStringLiteral("cover.jpeg"),  QStringLiteral("cover.png"),
        QStringLiteral("folder.jpg"), QStringLiteral("folder.jpeg"), QStringLiteral("folder.png"),
        QStringLiteral("front.jpg"),  QStringLiteral("front.jpeg"),  QStringLiteral("front.png")};
    return names.indexOf(name.toLower());
}

bool isBetterPicture(const QString& a, const QString& b)
{
    const int rankOfA = rankOf(a);
    const int rankOfB = rankOf(b);
    return rankOfA != rankOfB ? rankOfA < rankOfB : a < b;
}

DirectoryCovers coversAmong(const QByteArrayList& names, const Mount& mount)
{
    // So many are tried until one is a picture. A directory could have hundreds, in all variants of upper and lower
    // case.
    constexpr int mostPictures = 3;
    DirectoryCovers covers;
    for (const QByteArray& bytes : names) {
        const QString name = TavoUtf8::decode(bytes.constData(), bytes.size());
        if (rankOf(name) >= 0)
            covers.pictures.append(name);
        const bool isFirst = covers.firstPlayable.isNull() || name < covers.firstPlayable;
        if (isFirst && mount.isPlayable(name))
            covers.firstPlayable = name;
    }
    std::sort(covers.pictures.begin(), covers.pictures.end(), isBetterPicture);
    covers.pictures = covers.pictures.mid(0, mostPictures);
    return covers;
}

/// Whether the last change of the directory is so old that the next one will give it another timestamp.
bool isSettled(const struct stat& directory)
{
    constexpr time_t coarsestTime = 3;
    return directory.st_mtim.tv_sec + coarsestTime < time(nullptr);
}

} // namespace

DirectoryCovers DirectoryCoversFinder::find(const GuardedTree& tree, const Mount& mount, const QString& base)
{
    std::optional<GuardedTree::Directory> directory = tree.openDirectory(base);
    if (!directory)
        return {};
    const struct stat status = directory->status;
    const QByteArray identity = identityOf(status);
    {
        const std::lock_guard lock(m_mutex);
        if (const DirectoryCovers* const known = m_known.object(identity))
            return *known;
    }
    DirectoryCovers covers = coversAmong(visibleNames(std::move(*directory)), mount);
    if (isSettled(status)) {
        const std::lock_guard lock(m_mutex);
        m_known.insert(identity, new DirectoryCovers(covers));
    }
    return covers;
}
