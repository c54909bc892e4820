#pragma once

#include "model/cmsubscribe.h"

#include <functional>

class CMWorker;

/// A client that subscribes to paths of a worker. Use it in one thread.
class Client : public CMChangeReceiver
{
public:
    explicit Client(CMWorker& worker) : m_worker(worker) {}

    /// Paths are relative to the worker's root, or absolute.
    void open(const QString& directory);
    void close(const QString& directory);

    /// Runs the event loop until the client has received so many changes since its construction.
    void waitForChanges(int count) const;
    [[nodiscard]] int changes() const { return m_changes; }
    /// The same until it has heard of this version or a later one.
    void waitForVersion(int version) const;

    void rowsChanged(const CMPath& path, const QStringList& changes, int version) override;

private:
    CMWorker& m_worker;
    int m_changes = 0;
    int m_version = 0;
};
