#include "http/access.h"

#include "language/translatable.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace {

const QByteArray cookieAttributes = "; HttpOnly; SameSite=Strict";

/// As it stands in the field Host.
QByteArray hostText(const IpAddress& address)
{
    return address.isV4() ? address.toText() : '[' + address.toText() + ']';
}

/// A host in canonical form: lower case, without a trailing dot, addresses in their shortest notation. Empty: it is
/// malformed.
QByteArray normalHost(QByteArray host)
{
    if (host.startsWith('[')) {
        const auto address = IpAddress::fromText(host.mid(1, host.size() - 2).toStdString());
        return host.endsWith(']') && host.contains(':') && address ? hostText(*address) : QByteArray();
    }
    if (host.endsWith('.'))
        host.chop(1);
    return host.toLower();
}

/// The position of the colon in front of the port in the value of Host; negative if there is none.
int portColon(const QByteArray& value)
{
    return value.indexOf(':', value.startsWith('[') ? value.indexOf(']') + 1 : 0);
}

/// The host in the value of Host, in canonical form. Empty: it is malformed.
QByteArray hostIn(const QByteArray& value)
{
    const int colon = portColon(value);
    if (colon < 0)
        return normalHost(value);
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    const bool hasPort = std::all_of(value.cbegin() + colon + 1, value.cend(), isDigit);
    return hasPort ? normalHost(value.left(colon)) : QByteArray();
}

/// `origin`: as browsers write it.
QByteArray hostOf(const QByteArray& origin)
{
    return hostIn(origin.mid(origin.indexOf("://") + 3));
}

/// Browsers send a cookie to all ports of a host, so servers on the same host need different names. `head`: its Host is
/// valid.
QByteArray cookieName(const RequestHead& head)
{
    const QByteArray host = head.value("Host");
    const QByteArray port = portColon(host) < 0 ? QByteArray() : host.mid(portColon(host) + 1);
    return port.isEmpty() ? "tavo" : "tavo-" + port;
}

/// The value behind the scheme; nothing if another scheme is used, or none.
std::optional<QByteArray> bearerToken(const RequestHead& head)
{
    const QByteArray scheme = "bearer";
    const QByteArray value = head.value("Authorization");
    if (value.left(scheme.size()).toLower() != scheme)
        return std::nullopt;
    if (value.size() > scheme.size() && value.at(scheme.size()) != ' ')
        return std::nullopt;
    return value.mid(scheme.size() + 1);
}

bool isSameDigest(const QByteArray& a, const QByteArray& b)
{
    if (a.size() != b.size())
        return false;
    int difference = 0;
    for (int i = 0; i < a.size(); ++i)
        difference |= a.at(i) ^ b.at(i);
    return difference == 0;
}

QByteArray digest(const QByteArray& token)
{
    return QCryptographicHash::hash(token, QCryptographicHash::Sha256);
}

Refusal unauthorised(int status, std::vector<HeaderField> more = {})
{
    more.push_back({"WWW-Authenticate", "Bearer"});
    return {status, std::move(more)};
}

} // namespace

Result<QByteArray> readHostName(const QString& text)
{
    static const QRegularExpression pattern(QStringLiteral(R"(\A[A-Za-z0-9_-]+(\.[A-Za-z0-9_-]+)*\.?\z)"));
    const QByteArray host = text.toUtf8();
    if (const auto address = IpAddress::fromText(host.toStdString()))
        return hostText(*address);
    const QByteArray normal = normalHost(host);
    const bool isAddress = host.startsWith('[') && !normal.isEmpty();
    if (!isAddress && !pattern.match(text).hasMatch())
        return Failure::wrongUse(translatable(
            QT_TRANSLATE_NOOP("Host", "'%1' is no name of a host: give it as in music.example.org, without a port"),
            {text}));
    return normal;
}

Result<QByteArray> readOrigin(const QString& text)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(\A(https?)://(\[[0-9a-f:.]+\]|[^:/?#@\[\]]+)(?::([0-9]{1,5}))?/?\z)"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = pattern.match(text);
    const Result<QByteArray> host = readHostName(match.captured(2));
    const int port = match.captured(3).toInt();
    constexpr int lastPort = 65535;
    if (!match.hasMatch() || !host || port > lastPort)
        return Failure::wrongUse(translatable(
            QT_TRANSLATE_NOOP("Host", "'%1' is no origin: give it as in https://music.example.org, without a path"),
            {text}));
    const QByteArray scheme = match.captured(1).toLatin1().toLower();
    const bool isUsualPort = port == 0 || port == (scheme == "https" ? 443 : 80);
    return scheme + "://" + host.value() + (isUsualPort ? "" : ':' + QByteArray::number(port));
}

Result<void> checkListenable(const IpAddress& address, bool needsToken, bool allowsAnybody)
{
    if (needsToken || allowsAnybody || address.isLoopback())
        return {};
    return Failure::wrongUse(translatable(
        QT_TRANSLATE_NOOP(
            "Host", "everybody in the network could use %1: give --token-file, or --no-token if that is wanted"),
        {QString::fromLatin1(address.toText())}));
}

AccessPolicy::AccessPolicy(const AccessSettings& settings)
    : m_hosts(settings.hosts), m_origins(settings.origins), m_needsToken(settings.needsToken)
{
    m_hosts.insert(m_hosts.end(), {"localhost", "127.0.0.1", "[::1]"});
}

void AccessPolicy::setToken(const QByteArray& token)
{
    const QByteArray tokenDigest = token.isEmpty() ? QByteArray() : digest(token);
    if (tokenDigest == m_tokenDigest)
        return;
    m_tokenDigest = tokenDigest;
    ++m_generation;
    m_sessions.endAll();
}

std::variant<Admission, Refusal> AccessPolicy::admit(const RequestHead& head, const Connection& connection, Time now)
{
    if (std::optional<Refusal> refusal = checkSender(head, connection))
        return *std::move(refusal);
    const Routing routing = findRoute(head.method, head.target);
    Credential credential;
    if (m_needsToken && !routing.isOpen) {
        auto authenticated = authenticate(head, connection, now);
        if (auto* const refusal = std::get_if<Refusal>(&authenticated))
            return std::move(*refusal);
        credential = std::get<Credential>(std::move(authenticated));
    }
    if (const auto* const refusal = std::get_if<Refusal>(&routing.result))
        return *refusal;
    return Admission{std::get<Route>(routing.result), credential};
}

bool AccessPolicy::holds(const Credential& credential) const
{
    if (credential.generation == 0)
        return true;
    return credential.generation == m_generation &&
           (credential.session.isEmpty() || m_sessions.contains(credential.session));
}

std::variant<QByteArray, Refusal>
AccessPolicy::logIn(const QByteArray& token, const RequestHead& head, const Connection& connection, Time now)
{
    if (!isToken(token))
        return refuseToken(connection, now);
    const bool isEncrypted = head.value("Origin").toLower().startsWith("https://");
    return cookieName(head) + '=' + m_sessions.begin() + cookieAttributes + (isEncrypted ? "; Secure" : "");
}

QByteArray AccessPolicy::logOut(const RequestHead& head)
{
    m_sessions.end(sessionOf(head));
    return cookieName(head) + "=; Max-Age=0" + cookieAttributes;
}

std::optional<Refusal> AccessPolicy::checkSender(const RequestHead& head, const Connection& connection) const
{
    if (head.count("Host") != 1)
        return Refusal{400};
    const QByteArray host = hostIn(head.value("Host"));
    if (!isOwnHost(host, connection) && !isHostOfOrigin(host))
        return Refusal{421};
    if (!isOwnOrigin(head, connection))
        return Refusal{403};
    return std::nullopt;
}

bool AccessPolicy::isOwnHost(const QByteArray& host, const Connection& connection) const
{
    return std::find(m_hosts.cbegin(), m_hosts.cend(), host) != m_hosts.cend() || host == hostText(connection.local);
}

bool AccessPolicy::isHostOfOrigin(const QByteArray& host) const
{
    return std::any_of(
        m_origins.cbegin(), m_origins.cend(), [&host](const QByteArray& origin) { return hostOf(origin) == host; });
}

bool AccessPolicy::isOwnOrigin(const RequestHead& head, const Connection& connection) const
{
    if (head.count("Origin") == 0)
        return true;
    const QByteArray origin = head.value("Origin").toLower();
    if (std::find(m_origins.cbegin(), m_origins.cend(), origin) != m_origins.cend())
        return true;
    const QByteArray host = head.value("Host");
    return origin == "http://" + host.toLower() && isOwnHost(hostIn(host), connection);
}

std::variant<Credential, Refusal>
AccessPolicy::authenticate(const RequestHead& head, const Connection& connection, Time now)
{
    // Another scheme may belong to a proxy.
    if (const std::optional<QByteArray> token = bearerToken(head)) {
        if (!isToken(*token))
            return refuseToken(connection, now);
        return Credential{m_generation};
    }
    const QByteArray session = sessionOf(head);
    if (session.isEmpty())
        return unauthorised(401);
    return Credential{m_generation, session};
}

QByteArray AccessPolicy::sessionOf(const RequestHead& head) const
{
    const QByteArray begin = cookieName(head) + '=';
    for (const QByteArray& pair : head.value("Cookie").replace(',', ';').split(';')) {
        const QByteArray cookie = pair.trimmed();
        if (!cookie.startsWith(begin))
            continue;
        QByteArray session = m_sessions.keyOf(cookie.mid(begin.size()));
        if (!session.isEmpty())
            return session;
    }
    return {};
}

bool AccessPolicy::isToken(const QByteArray& text) const
{
    return isSameDigest(digest(text), m_tokenDigest);
}

Refusal AccessPolicy::refuseToken(const Connection& connection, Time now)
{
    if (m_wrongTokens.count(connection.client.site(), now))
        return unauthorised(401);
    return Refusal{429, {{"Retry-After", "60"}}};
}
