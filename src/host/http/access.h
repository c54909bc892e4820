#pragma once

#include "content/result.h"
#include "http/ipaddress.h"
#include "http/loginsessions.h"
#include "http/requesthead.h"
#include "http/router.h"
#include "http/wrongtokens.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>
#include <variant>
#include <vector>

/// The two ends of a connection, as the socket knows them. Addresses that a proxy claims, in X-Forwarded-For or the
/// like, are ignored.
struct Connection
{
    IpAddress client;
    IpAddress local;
};

/// Reads the name or the IP address of a host, without a port, into the form that AccessSettings needs.
[[nodiscard]] Result<QByteArray> readHostName(const QString& text);
/// Reads an origin (http or https, a host, perhaps a port) into the form in which browsers write it.
[[nodiscard]] Result<QByteArray> readOrigin(const QString& text);

/// Fails if the server may not listen on the address: without a token it may on loopback addresses only, unless the
/// operator allows anybody.
[[nodiscard]] Result<void> checkListenable(const IpAddress& address, bool needsToken, bool allowsAnybody);

struct AccessSettings
{
    /// Made by readHostName(). Loopback names and the socket's own addresses need not be named.
    std::vector<QByteArray> hosts = {};
    /// Made by readOrigin(). Requests may also name their hosts. A page from such a host, but of another origin, is
    /// foreign: anybody may have sent it if it came without TLS.
    std::vector<QByteArray> origins = {};
    /// If so, nobody is admitted before setToken().
    bool needsToken = false;
};

/// How an admitted request proved that it may be served. Kept by connections that last longer than the request.
struct Credential
{
    /// The token's number; 0: no token is needed.
    quint64 generation = 0;
    /// The key of the session. Empty: the token itself was sent.
    QByteArray session = {};
};

struct Admission
{
    Route route;
    Credential credential;
};

/// Decides which requests are served. Checks Host, Origin and token, in this order, before it says anything about the
/// route. For one thread at a time; no function waits.
class AccessPolicy
{
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit AccessPolicy(const AccessSettings& settings);

    [[nodiscard]] bool needsToken() const { return m_needsToken; }
    /// Replaces the token if it is another one, which ends all sessions and credentials. Empty: nobody has the token
    /// until the next call.
    void setToken(const QByteArray& token);

    /// The route, or why it is refused: 400, 421 (Host), 403 (Origin), 401, 429 (token), or the router's refusal.
    [[nodiscard]] std::variant<Admission, Refusal>
    admit(const RequestHead& head, const Connection& connection, Time now);
    /// Whether the credential is still valid. It may no longer be after setToken() and logOut(): then the server closes
    /// the connections that were admitted with it.
    [[nodiscard]] bool holds(const Credential& credential) const;

    /// The value of Set-Cookie for a new session, or 401 or 429. `head`: of an admitted request to log in. The cookie
    /// counts only for the port that the client addressed.
    [[nodiscard]] std::variant<QByteArray, Refusal>
    logIn(const QByteArray& token, const RequestHead& head, const Connection& connection, Time now);
    /// Ends the request's session, if it has one. Returns the value of Set-Cookie that makes the browser forget it.
    [[nodiscard]] QByteArray logOut(const RequestHead& head);

private:
    /// Whether the host is the server's address or one of its names. `host`: in canonical form.
    [[nodiscard]] bool isOwnHost(const QByteArray& host, const Connection& connection) const;
    [[nodiscard]] bool isHostOfOrigin(const QByteArray& host) const;
    [[nodiscard]] bool isOwnOrigin(const RequestHead& head, const Connection& connection) const;
    /// The refusal of the request's Host or Origin, if they are foreign.
    [[nodiscard]] std::optional<Refusal> checkSender(const RequestHead& head, const Connection& connection) const;
    [[nodiscard]] std::variant<Credential, Refusal>
    authenticate(const RequestHead& head, const Connection& connection, Time now);
    /// The key of the session that the request's cookie names; empty if there is none.
    [[nodiscard]] QByteArray sessionOf(const RequestHead& head) const;
    [[nodiscard]] bool isToken(const QByteArray& text) const;
    /// Counts a wrong token.
    [[nodiscard]] Refusal refuseToken(const Connection& connection, Time now);

    std::vector<QByteArray> m_hosts;
    std::vector<QByteArray> m_origins;
    const bool m_needsToken;
    /// The token's digest, so that comparing takes the same time whatever is compared. Empty: there is none.
    QByteArray m_tokenDigest;
    quint64 m_generation = 1;
    LoginSessions m_sessions;
    WrongTokens m_wrongTokens;
};
