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

/// The two ends of a connection, as the socket knows them. What a proxy claims in X-Forwarded-For or the like is
/// ignored.
struct Connection
{
    IpAddress client;
    IpAddress local;
};

/// The name of a host, for AccessSettings: in lower case, without a trailing dot. `text`: a name or an IP address,
/// without a port.
[[nodiscard]] Result<QByteArray> readHostName(const QString& text);
/// An origin, for AccessSettings, as browsers write it. `text`: http or https, host and port, nothing behind them.
[[nodiscard]] Result<QByteArray> readOrigin(const QString& text);

/// Who may not listen: without a token only loopback addresses are served. `allowsAnybody`: the operator wants it so.
[[nodiscard]] Result<void> checkListenable(const IpAddress& address, bool needsToken, bool allowsAnybody);

struct AccessSettings
{
    /// Made by readHostName(). Loopback names and the socket's own addresses need not be named.
    std::vector<QByteArray> hosts = {};
    /// Made by readOrigin(). Their hosts need not be named.
    std::vector<QByteArray> origins = {};
    /// Then nobody is admitted before setToken().
    bool needsToken = false;
};

/// Proof that a request was admitted, for connections that outlive it. An opaque value.
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

/// Decides who is served. Checks a request's Host, Origin and token before it says anything about the route. For one
/// thread at a time; nothing here waits.
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
    /// Whether the request that was admitted with the credential still would be. Ask this of open connections after a
    /// new token and after logOut().
    [[nodiscard]] bool holds(const Credential& credential) const;

    /// The value of Set-Cookie for a new session, or 401 or 429. `head`: of an admitted request to log in.
    [[nodiscard]] std::variant<QByteArray, Refusal>
    logIn(const QByteArray& token, const RequestHead& head, const Connection& connection, Time now);
    /// Ends the request's session, if it has one. Returns the value of Set-Cookie that makes the browser forget it.
    [[nodiscard]] QByteArray logOut(const RequestHead& head);

private:
    [[nodiscard]] bool isOwnHost(const RequestHead& head, const Connection& connection) const;
    [[nodiscard]] bool isOwnOrigin(const RequestHead& head) const;
    /// The refusal of the request's Host or Origin, if they are foreign.
    [[nodiscard]] std::optional<Refusal> checkSender(const RequestHead& head, const Connection& connection) const;
    [[nodiscard]] std::variant<Credential, Refusal>
    authenticate(const RequestHead& head, const Connection& connection, Time now);
    /// The key of the session that the request has a cookie of; empty if it has none.
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
