#include "content/confinement.h"

#include "content/mount.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

constexpr QLatin1Char slash('/');

bool isAtOrBelow(const QString& directory, const QString& path)
{
    return path == directory || path.startsWith(directory.endsWith(slash) ? directory : directory + slash);
}

/// The path through its last ".."; empty if there is none.
QString climbOf(const QString& path)
{
    const QStringList segments = path.split(slash);
    return segments.mid(0, segments.lastIndexOf(QStringLiteral("..")) + 1).join(slash);
}

QString joined(const QString& directory, const QString& base)
{
    return base.startsWith(slash) ? base : directory + slash + base;
}

bool hasHiddenName(const QString& path)
{
    const auto names = path.splitRef(slash);
    return std::any_of(names.cbegin(), names.cend(), [](const QStringRef& name) { return name.startsWith(u'.'); });
}

} // namespace

bool isConfined(const QString& rootDirectory, const QString& base)
{
    // System calls stop at NUL; Qt treats a leading colon as a resource path.
    if (base.contains(QChar::Null) || base.startsWith(QLatin1Char(':')))
        return false;
    const QString path = joined(rootDirectory, base);
    if (!isAtOrBelow(rootDirectory, QDir::cleanPath(path)))
        return false;
    const QString climb = climbOf(path);
    const QString target = climb.isEmpty() ? QString() : QFileInfo(climb).canonicalFilePath();
    // A path that does not exist has no target.
    return target.isEmpty() || isAtOrBelow(rootDirectory, QDir::cleanPath(target + path.mid(climb.size())));
}

bool isPublic(const Mount& mount, const QString& base)
{
    const QString& root = mount.rootDirectory;
    const QString path = joined(root, base);
    // An absolute base would tell where the root is.
    if (base.startsWith(slash) || !isConfined(root, base) || hasHiddenName(QDir::cleanPath(path).mid(root.size())))
        return false;
    const QString target = QFileInfo(path).canonicalFilePath();
    if (target.isEmpty())
        return true;
    return isAtOrBelow(root, target) ? !hasHiddenName(target.mid(root.size())) : mount.followsLinks;
}
