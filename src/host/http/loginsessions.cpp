#include "http/loginsessions.h"

#include <QCryptographicHash>

#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/random.h>

namespace {

constexpr std::size_t mostSessions = 1000;

QByteArray randomName()
{
    std::array<char, 32> bytes{};
    ssize_t count = -1;
    do {
        count = getrandom(bytes.data(), bytes.size(), 0);
    } while (count < 0 && errno == EINTR);
    // The kernel gives up to 256 bytes at once, or none.
    Q_ASSERT(count == static_cast<ssize_t>(bytes.size()));
    return QByteArray(bytes.data(), static_cast<int>(bytes.size())).toHex();
}

QByteArray digest(const QByteArray& name)
{
    return QCryptographicHash::hash(name, QCryptographicHash::Sha256);
}

} // namespace

QByteArray LoginSessions::begin()
{
    QByteArray name = randomName();
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
