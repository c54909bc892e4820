#include "support/client.h"

#include "model/cmworker.h"
#include "support/race.h"

#include <QCoreApplication>
#include <QEventLoop>

void Client::open(const QString& directory)
{
    require(m_worker.connectChange(m_worker.addPrefix(directory), this), "the worker refused to open a directory");
}

void Client::close(const QString& directory)
{
    m_worker.disconnectChange(m_worker.addPrefix(directory), this);
}

void Client::waitForChanges(int count) const
{
    while (m_changes < count)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void Client::waitForVersion(int version) const
{
    while (m_version < version)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void Client::rowsChanged(const CMPath& /*path*/, const QStringList& /*changes*/, int version)
{
    ++m_changes;
    m_version = version;
}
