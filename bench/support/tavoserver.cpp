#include "support/tavoserver.h"

#include <QProcessEnvironment>

namespace {

constexpr int patience = 20000;

QStringList argumentsFor(const QString& root, const QStringList& patterns, const QString& state)
{
    QStringList arguments = {QStringLiteral("--root"), root};
    for (const QString& pattern : patterns)
        arguments << QStringLiteral("--filter") << pattern;
    return arguments << QStringLiteral("serve") << QStringLiteral("--listen") << QStringLiteral("127.0.0.1:0")
                     << QStringLiteral("--state") << state;
}

QProcessEnvironment extended(const QStringList& variables)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& variable : variables)
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    return environment;
}

} // namespace

TavoServer::TavoServer(const QString& root, const QStringList& patterns, const QStringList& environment)
    : WebServer("/media/file/")
{
    setProcessChannelMode(QProcess::ForwardedErrorChannel);
    setProcessEnvironment(extended(environment));
    start(QStringLiteral(TAVO_HOST), argumentsFor(root, patterns, inState("state")));
    while (!canReadLine())
        require(waitForReadyRead(patience), "the server does not start");
    // Serving DIRECTORY at http://127.0.0.1:PORT/
    const QByteArray line = readLine().trimmed();
    setPort(line.mid(line.lastIndexOf(':') + 1).chopped(1).toInt());
    require(port() > 0, "the server does not say where it serves");
}
