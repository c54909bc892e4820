#pragma once

#include <QByteArray>
#include <QSet>

#include <deque>

/// The sessions of those who have logged in. They are known by the digests of their cookies' values, so that looking
/// one up takes no time that depends on the value. For one thread at a time.
class LoginSessions
{
public:
    /// Begins a session under a random name, 256 bits from the kernel, which is returned. Ends the oldest if there are
    /// too many.
    [[nodiscard]] QByteArray begin();
    /// The session's key; empty if there is none of this name.
    [[nodiscard]] QByteArray keyOf(const QByteArray& name) const;
    [[nodiscard]] bool contains(const QByteArray& key) const { return m_keys.contains(key); }
    void end(const QByteArray& key);
    void endAll();

private:
    QSet<QByteArray> m_keys;
    /// The keys in the order of their beginnings.
    std::deque<QByteArray> m_order;
};
