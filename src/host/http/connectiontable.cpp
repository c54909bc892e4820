#include "http/connectiontable.h"

#include "http/metrics.h"

#include <utility>
#include <vector>

namespace {

constexpr int mostConnections = 1024;
/// Of one site, except this machine, where a proxy may run.
constexpr int mostOfSite = 64;

} // namespace

ServedConnection::ServedConnection(ConnectionTable& table) : m_table(table)
{
    m_table.m_connections.insert(this);
}

ServedConnection::~ServedConnection()
{
    m_table.remove(this);
}

ConnectionTable::Place ConnectionTable::admit(const IpAddress& client)
{
    const IpAddress site = client.site();
    if (m_places >= mostConnections || (!client.isLoopback() && m_placesOfSite.value(site) >= mostOfSite)) {
        m_metrics.connectionRefused();
        return nullptr;
    }
    ++m_places;
    m_metrics.connectionOpened();
    ++m_placesOfSite[site];
    return {this, [site](ConnectionTable* table) { table->leave(site); }};
}

void ConnectionTable::leave(const IpAddress& site)
{
    --m_places;
    m_metrics.connectionClosed();
    const auto places = m_placesOfSite.find(site);
    if (--*places == 0)
        m_placesOfSite.erase(places);
}

void ConnectionTable::remove(ServedConnection* connection)
{
    m_connections.erase(connection);
    if (m_connections.empty() && m_emptied)
        m_emptied();
}

void ConnectionTable::finishAll(std::function<void()> emptied)
{
    m_emptied = std::move(emptied);
    if (m_connections.empty())
        return m_emptied();
    forEach([](ServedConnection& connection) { connection.finish(); });
}

void ConnectionTable::abortAll()
{
    forEach([](ServedConnection& connection) { connection.abort(); });
}

void ConnectionTable::checkAccess()
{
    forEach([](ServedConnection& connection) { connection.checkAccess(); });
}

/// The function may end connections: it runs on a copy of the table.
template<typename Function>
void ConnectionTable::forEach(const Function& function)
{
    std::vector<std::shared_ptr<ServedConnection>> connections;
    for (ServedConnection* const connection : m_connections)
        connections.push_back(connection->weak_from_this().lock());
    for (const auto& connection : connections) {
        if (connection)
            function(*connection);
    }
}
