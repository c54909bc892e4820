#include "http/loginsessions.h"

#include "http/randomhex.h"

#include <QCryptographicHash>

#include <algorithm>

namespace {

constexpr std::size_t mostSessions = 1000;
constexpr int nameBytes = 32;

QByteArray digest(const QByteArray& name)
{
    return QCryptographicHash::hash(name, QCryptographicHash::Sha256);
}

} // namespace

QByteArray LoginSessions::begin()
{
    QByteArray name = randomHex(nameBytes);
    m_order.push_back(digest(name));
    m_keys.insert(m_order.back());
    if (m_order.size() > mostSessions)
        end(QByteArray(m_order.front()));
    return name;
}

QByteArray LoginSessions::keyOf(const QByteArray& name) const
{
    const QByteArray key = digest(name);
    return contains(key) ? key : QByteArray();
}

void LoginSessions::end(const QByteArray& key)
{
    m_keys.remove(key);
    m_order.erase(std::remove(m_order.begin(), m_order.end(), key), m_order.end());
}

void LoginSessions::endAll()
{
    m_keys.clear();
    m_order.clear();
}
