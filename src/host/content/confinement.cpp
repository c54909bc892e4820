#include "content/confinement.h"

#include "content/mount.h"
#include "process/openpath.h"

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

/// The path without "..", which are resolved physically; empty if one of them follows a name that does not exist.
QString withoutClimbs(const QString& path)
{
    const QString climb = climbOf(path);
    if (climb.isEmpty())
        return QDir::cleanPath(path);
    const QString target = QFileInfo(climb).canonicalFilePath();
    return target.isEmpty() ? QString() : QDir::cleanPath(target + path.mid(climb.size()));
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

bool isPath(const QString& base)
{
    // System calls stop at NUL; Qt treats a leading colon as a resource path.
    return !base.contains(QChar::Null) && !base.startsWith(QLatin1Char(':'));
}

/// Whether the base stays inside its root directory and has no hidden name, if there is no link on its way.
bool leadsDown(const QString& base)
{
    return isPath(base) && !base.startsWith(slash) && !hasHiddenName(base);
}

} // namespace

bool isConfined(const QString& rootDirectory, const QString& base)
{
    if (!isPath(base))
        return false;
    const QString path = joined(rootDirectory, base);
    if (!isAtOrBelow(rootDirectory, QDir::cleanPath(path)))
        return false;
    const QString target = withoutClimbs(path);
    return target.isEmpty() || isAtOrBelow(rootDirectory, target);
}

bool isPublic(const Mount& mount, const QString& base)
{
    // A path without links is its own target.
    if (leadsDown(base) && openCachedPath(mount.localPath(base)).isOpen())
        return true;
    const QString& root = mount.rootDirectory;
    const QString path = joined(root, base);
    // An absolute base would show where the root is.
    if (base.startsWith(slash) || !isConfined(root, base))
        return false;
    const auto isHidden = [&root](const QString& inside) { return hasHiddenName(inside.mid(root.size())); };
    if (isHidden(QDir::cleanPath(path)) || isHidden(withoutClimbs(path)))
        return false;
    const QString target = QFileInfo(path).canonicalFilePath();
    if (target.isEmpty())
        return true;
    return isAtOrBelow(root, target) ? !hasHiddenName(target.mid(root.size())) : mount.followsLinks;
}
