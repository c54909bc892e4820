#include "doctor/servercheck.h"

#include "http/access.h"
#include "http/listeningsocket.h"
#include "http/tokenfile.h"
#include "language/translatable.h"
#include "remote/rpcclient.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds answerPatience{5};

/// The directory, or the nearest one above that exists.
QString existingPartOf(const QString& directory)
{
    QString existing = QDir::cleanPath(QDir::current().absoluteFilePath(directory));
    while (!QFileInfo::exists(existing))
        existing = QFileInfo(existing).path();
    return existing;
}

bool isWritable(const QString& directory)
{
    const QByteArray path = QFile::encodeName(directory);
    return QFileInfo(directory).isDir() && faccessat(AT_FDCWD, path.constData(), W_OK | X_OK, AT_EACCESS) == 0;
}

Findings checkState(const QString& directory)
{
    const QString existing = existingPartOf(directory);
    if (!isWritable(existing))
        return {
            {QStringLiteral("stateDirectory"),
             translated(QT_TRANSLATE_NOOP("Host", "the state directory %1 cannot be written"), {directory}),
             translated(
                 QT_TRANSLATE_NOOP(
                     "Host",
                     "make %1 a directory that the user who runs tavo can write, or name another one: --state DIR"),
                 {existing})}};
    return checkRoom(directory, QStorageInfo(existing).bytesAvailable());
}

/// Fails unless a tavo with that token listens there. Without a token, one that needs a token counts, too.
Result<void> checkOccupant(const ListenAddress& address, const QByteArray& token)
{
    const RpcClient client(ServerAddress{address.address.toText(), address.port, {}}, token, answerPatience);
    const Result<QVariant> description = client.call(QStringLiteral("describe"));
    const bool isLocked =
        token.isEmpty() && !description && description.failure().name == QLatin1String(RpcClient::unauthorized);
    return description || isLocked ? Result<void>() : description.failure();
}

Findings checkAddress(const ListenAddress& address, const ServerPlan& plan, const QByteArray& token)
{
    const Result<void> allowed = checkListenable(address.address, plan.needsToken, plan.allowsAnybody);
    const QString text = QString::fromLatin1(address.toText());
    if (!allowed)
        return {
            {QStringLiteral("openAddress"),
             translated(QT_TRANSLATE_NOOP("Host", "everybody in the network could use %1"), {text}),
             translated(QT_TRANSLATE_NOOP("Host", "ask for a token: --token-file FILE; or allow it: --no-token"))}};
    const Result<ListeningSocket> socket = ListeningSocket::open(address);
    if (socket)
        return {};
    QString problem = socket.failure().message.toString();
    if (socket.failure().name == QLatin1String(ListeningSocket::addressInUse)) {
        const Result<void> isTavo = checkOccupant(address, token);
        if (isTavo)
            return {};
        problem += QStringLiteral("; ") + isTavo.failure().message.toString();
    }
    return {
        {QStringLiteral("address"), problem,
         translated(QT_TRANSLATE_NOOP(
             "Host", "choose another address: --listen ADDRESS:PORT; 'ss -ltnp' shows which program has a port"))}};
}

} // namespace

Findings checkServer(const ServerPlan& plan)
{
    Findings findings = checkState(plan.stateDirectory);
    QByteArray token;
    if (!plan.tokenFile.isEmpty()) {
        const Result<QByteArray> read = TokenFile(plan.tokenFile).read();
        if (read)
            token = read.value();
        else
            findings.push_back(
                {QStringLiteral("tokenFile"), read.failure().message.toString(),
                 translated(QT_TRANSLATE_NOOP(
                     "Host", "correct that, or make a new one: (umask 077; head -c 24 /dev/urandom | base64 > "
                             "~/.config/tavo/token)"))});
    }
    for (const ListenAddress& address : plan.addresses)
        append(findings, checkAddress(address, plan, token));
    return findings;
}

Findings checkRoom(const QString& stateDirectory, qint64 freeBytes)
{
    constexpr qint64 megabyte = 1'000'000;
    constexpr qint64 enough = 100 * megabyte;
    if (freeBytes >= enough)
        return {};
    return {
        {QStringLiteral("stateRoom"),
         translated(
             QT_TRANSLATE_NOOP("Host", "the state directory %1 has only %2 MB left"),
             {stateDirectory, QString::number(freeBytes / megabyte)}),
         translated(
             QT_TRANSLATE_NOOP("Host", "free %1 MB there, or name a directory with more room: --state DIR"),
             {QString::number(enough / megabyte)})}};
}
