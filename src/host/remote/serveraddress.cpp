#include "remote/serveraddress.h"

#include "language/translatable.h"

#include <QUrl>

namespace {

constexpr int usualPort = 80;

QByteArray withoutEndingSlashes(QByteArray path)
{
    while (path.endsWith('/'))
        path.chop(1);
    return path;
}

} // namespace

Result<ServerAddress> ServerAddress::fromUrl(const QString& url)
{
    const QUrl parsed(url, QUrl::StrictMode);
    if (parsed.scheme() == QLatin1String("https"))
        return Failure::wrongUse(translatable(
            QT_TRANSLATE_NOOP(
                "Host", "'%1' needs https, which this program does not speak: name the server's own http address"),
            {url}));
    const bool hasMore = !parsed.userInfo().isEmpty() || parsed.hasQuery() || parsed.hasFragment();
    if (!parsed.isValid() || parsed.scheme() != QLatin1String("http") || parsed.host().isEmpty() ||
        parsed.port() == 0 || hasMore)
        return Failure::wrongUse(translatable(
            QT_TRANSLATE_NOOP("Host", "'%1' is no server's address, such as http://127.0.0.1:8420/"), {url}));
    return ServerAddress{
        parsed.host(QUrl::FullyEncoded).toLatin1(), static_cast<quint16>(parsed.port(usualPort)),
        withoutEndingSlashes(parsed.path(QUrl::FullyEncoded).toLatin1())};
}

QString ServerAddress::toUrl() const
{
    return QStringLiteral("http://%1/").arg(QString::fromLatin1(hostField() + folder));
}

QByteArray ServerAddress::hostField() const
{
    const QByteArray name = host.contains(':') ? '[' + host + ']' : host;
    return port == usualPort ? name : name + ':' + QByteArray::number(port);
}
