#include "http/tokenfile.h"

#include "http/randomhex.h"
#include "language/translatable.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace {

constexpr int shortestToken = 16;
constexpr int longestToken = 1024;
/// Of a new token: few enough to type.
constexpr int tokenBytes = 16;

/// Changes with the file's content and permissions. Null if there is no such file.
QByteArray stampOf(const QString& file)
{
    const QFileInfo info(file);
    if (!info.exists())
        return {};
    return QByteArray::number(info.metadataChangeTime().toMSecsSinceEpoch()) + ' ' + QByteArray::number(info.size());
}

bool isPrivate(const QFile& file)
{
    constexpr QFile::Permissions others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    return (file.permissions() & others) == 0;
}

bool isToken(const QByteArray& line)
{
    const auto isPrintable = [](char character) { return character >= ' ' && character <= '~'; };
    return line.size() >= shortestToken && line.size() <= longestToken && line.trimmed() == line &&
           std::all_of(line.cbegin(), line.cend(), isPrintable);
}

QByteArray firstLine(QFile& file)
{
    constexpr int lineEnd = 2;
    QByteArray line = file.read(longestToken + lineEnd);
    line.truncate(line.indexOf('\n') < 0 ? line.size() : line.indexOf('\n'));
    if (line.endsWith('\r'))
        line.chop(1);
    return line;
}

Result<QByteArray> tokenIn(QFile& file)
{
    const QString name = file.fileName();
    const auto failure = [](const char* problem, const QList<TrArg>& arguments) {
        return Failure::wrongUse(translatable(problem, arguments));
    };
    if (!QFileInfo(name).isFile())
        return failure(QT_TRANSLATE_NOOP("Host", "the token file %1 does not exist, or is no file"), {name});
    if (!file.open(QIODevice::ReadOnly))
        return failure(QT_TRANSLATE_NOOP("Host", "the token file %1 cannot be read: %2"), {name, file.errorString()});
    if (!isPrivate(file))
        return failure(
            QT_TRANSLATE_NOOP("Host", "the token file %1 must be its owner's alone: chmod 600 makes it so"), {name});
    const QByteArray line = firstLine(file);
    if (!isToken(line))
        return failure(
            QT_TRANSLATE_NOOP(
                "Host", "the token file %1 must begin with a line of %2 to %3 printable ASCII characters, without "
                        "spaces around them"),
            {name, QString::number(shortestToken), QString::number(longestToken)});
    return line;
}

} // namespace

Result<void> TokenFile::makeIfMissing() const
{
    if (QFileInfo::exists(m_file))
        return {};
    QSaveFile file(m_file);
    const QByteArray line = randomHex(tokenBytes) + '\n';
    const bool isMade = file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
                        file.write(line) == line.size() && file.commit();
    if (isMade)
        return {};
    return Failure{
        Failure::Kind::Refused,
        translatable(QT_TRANSLATE_NOOP("Host", "cannot make the token file %1: %2"), {m_file, file.errorString()})};
}

Result<QByteArray> TokenFile::read()
{
    // Taken first, so that a change while the file is read is noticed later.
    m_stamp = stampOf(m_file);
    QFile file(m_file);
    return tokenIn(file);
}

std::optional<Result<QByteArray>> TokenFile::readIfChanged()
{
    if (stampOf(m_file) == m_stamp)
        return std::nullopt;
    return read();
}
