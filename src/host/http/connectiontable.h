#pragma once

#include "http/ipaddress.h"

#include <QHash>

#include <functional>
#include <memory>
#include <set>

class ConnectionTable;
class Metrics;

/// A connection that the server ends when it stops, or when access is withdrawn. In the I/O thread.
class ServedConnection : public std::enable_shared_from_this<ServedConnection>
{
public:
    explicit ServedConnection(ConnectionTable& table);
    virtual ~ServedConnection();
    Q_DISABLE_COPY_MOVE(ServedConnection)

    /// Ends as soon as the pending output has been sent.
    virtual void finish() = 0;
    /// Closes the socket and cancels the requests under way.
    virtual void abort() = 0;
    /// Ends if the client may no longer be connected.
    virtual void checkAccess() = 0;

private:
    ConnectionTable& m_table;
};

/// All connections. In the I/O thread; a connection may be destroyed in another one when that has stopped.
class ConnectionTable
{
public:
    /// Counts as a connection as long as it exists.
    using Place = std::shared_ptr<void>;

    /// The metrics must outlive the table.
    explicit ConnectionTable(Metrics& metrics) : m_metrics(metrics) {}

    /// Null if there are too many connections, in all or from the client's site. The table must outlive the place.
    [[nodiscard]] Place admit(const IpAddress& client);

    /// `emptied` is called when no connection is left.
    void finishAll(std::function<void()> emptied);
    void abortAll();
    /// Call when AccessPolicy::holds() may have changed.
    void checkAccess();

private:
    friend class ServedConnection;

    template<typename Function>
    void forEach(const Function& function);
    void leave(const IpAddress& site);
    void remove(ServedConnection* connection);

    Metrics& m_metrics;
    int m_places = 0;
    QHash<IpAddress, int> m_placesOfSite;
    std::set<ServedConnection*> m_connections;
    std::function<void()> m_emptied;
};
