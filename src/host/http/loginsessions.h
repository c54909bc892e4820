#pragma once

#include <QByteArray>
#include <QSet>

#include <deque>

/// The sessions of browsers that have logged in. A session's name is the value of its cookie, its key is the name's
/// digest: only keys are kept and compared, so the time of a comparison says nothing about a name. For one thread at a
/// time.
class LoginSessions
{
public:
    /// Begins a session and returns its name: 256 random bits from the kernel, in hexadecimal. Ends the oldest session
    /// if there are more than a thousand.
    [[nodiscard]] QByteArray begin();
    /// The key of the session with the name; empty if there is none.
    [[nodiscard]] QByteArray keyOf(const QByteArray& name) const;
    [[nodiscard]] bool contains(const QByteArray& key) const { return m_keys.contains(key); }
    void end(const QByteArray& key);
    void endAll();

private:
    QSet<QByteArray> m_keys;
    /// The keys, the oldest session first.
    std::deque<QByteArray> m_order;
};
