#include "process/statedirectory.h"

#include "language/translatable.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

Failure cannotUse(const QString& path, const QString& why)
{
    return {
        Failure::Kind::Refused,
        translatable(QT_TRANSLATE_NOOP("Host", "cannot use the state directory %1: %2"), {path, why})};
}

/// Empty if it is not set to an absolute path: a relative one is invalid there.
QString stateHome()
{
    const QString path = qEnvironmentVariable("XDG_STATE_HOME");
    return QDir::isAbsolutePath(path) ? path : QString();
}

bool make(const QString& path)
{
    const QFileInfo directory(path);
    return QDir().mkpath(directory.path()) &&
           (mkdir(QFile::encodeName(path).constData(), S_IRWXU) == 0 || directory.isDir());
}

} // namespace

StateDirectory::StateDirectory(QString path, FileDescriptor lock) : m_path(std::move(path)), m_lock(std::move(lock)) {}

Result<StateDirectory> StateDirectory::claim(const QString& path)
{
    const QString directory = QDir::cleanPath(QDir::current().absoluteFilePath(path));
    if (!make(directory))
        return cannotUse(directory, translated(QT_TRANSLATE_NOOP("Host", "it cannot be created")));
    const QByteArray file = QFile::encodeName(directory + QStringLiteral("/lock"));
    FileDescriptor lock(open(file.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!lock.isOpen())
        return cannotUse(directory, qt_error_string(errno));
    if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return cannotUse(directory, translated(QT_TRANSLATE_NOOP("Host", "another process uses it")));
    return StateDirectory(directory, std::move(lock));
}

QString StateDirectory::usualPath()
{
    const QString named = stateHome();
    const QString base = named.isEmpty() ? QDir::homePath() + QStringLiteral("/.local/state") : named;
    return base + QStringLiteral("/tavo");
}

QString StateDirectory::usualVariable()
{
    return stateHome().isEmpty() ? QStringLiteral("HOME") : QStringLiteral("XDG_STATE_HOME");
}
