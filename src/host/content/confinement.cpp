#include "content/confinement.h"

#include <QDir>
#include <QFileInfo>

namespace {

constexpr QLatin1Char slash('/');

bool isAtOrBelow(const QString& directory, const QString& path)
{
    return path == directory || path.startsWith(directory.endsWith(slash) ? directory : directory + slash);
}

/// Up to and with the last ".."; empty if there is none.
QString climbOf(const QString& path)
{
    const QStringList segments = path.split(slash);
    return segments.mid(0, segments.lastIndexOf(QStringLiteral("..")) + 1).join(slash);
}

} // namespace

bool isConfined(const QString& rootDirectory, const QString& base)
{
    // To the system's calls a name ends at its first NUL, and to Qt a colon begins what it has in itself.
    if (base.contains(QChar::Null) || base.startsWith(QLatin1Char(':')))
        return false;
    const QString path = base.startsWith(slash) ? base : rootDirectory + slash + base;
    if (!isAtOrBelow(rootDirectory, QDir::cleanPath(path)))
        return false;
    const QString climb = climbOf(path);
    const QString led = climb.isEmpty() ? QString() : QFileInfo(climb).canonicalFilePath();
    // What does not exist leads nowhere.
    return led.isEmpty() || isAtOrBelow(rootDirectory, QDir::cleanPath(led + path.mid(climb.size())));
}
