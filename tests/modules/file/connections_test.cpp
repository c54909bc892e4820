#include "fileworkertest.h"
#include "model/cmconnect.h"

#include <dlfcn.h>

namespace {

struct Connection
{
    const QObject* sender;
    QByteArray signal;
    const QObject* receiver;
    Qt::ConnectionType type;

    friend bool operator==(const Connection& a, const Connection& b)
    {
        return a.sender == b.sender && a.signal == b.signal && a.receiver == b.receiver && a.type == b.type;
    }
};

void PrintTo(const Connection& connection, std::ostream* out)
{
    *out << connection.sender << ' ' << connection.signal.constData() << ' ' << connection.receiver << ' '
         << connection.type;
}

std::vector<Connection> connections;
/// The log at the time of the first connection.
std::vector<LogLine> loggedBefore;
const LogCapture* watchedLog = nullptr;

} // namespace

/// Takes the place of the SDK's function: records the call, then forwards it.
bool verifyConnectionSignalParameters(
    const QObject* sender, const QMetaMethod& signal, const QObject* receiver, Qt::ConnectionType type)
{
    if (connections.empty() && watchedLog)
        loggedBefore = watchedLog->lines();
    connections.push_back({sender, signal.methodSignature(), receiver, type});
    using Verify = bool (*)(const QObject*, const QMetaMethod&, const QObject*, Qt::ConnectionType);
    void* const next =
        dlsym(RTLD_NEXT, "_Z32verifyConnectionSignalParametersPK7QObjectRK11QMetaMethodS1_N2Qt14ConnectionTypeE");
    return reinterpret_cast<Verify>(next)(sender, signal, receiver, type);
}

namespace {

class Connections : public testing::Test
{
protected:
    Connections()
    {
        connections.clear();
        watchedLog = &log;
        worker = makeFileWorker(fileConfiguration("/"));
    }
    ~Connections() override { watchedLog = nullptr; }

    LogCapture log;
    std::unique_ptr<CMFileWorker> worker;
};

TEST_F(Connections, AreMadeInTheirOrderEachOfItsType)
{
    const QObject* const watcher = CMFileWorkerInspector(*worker).watcher();
    const QObject* const self = worker.get();
    const QObject* const subscribe = worker->subscribe();
    EXPECT_THAT(
        connections, testing::ElementsAre(
                         Connection{watcher, "directoryChanged(QString)", self, Qt::AutoConnection},
                         Connection{watcher, "fileChanged(QString)", self, Qt::AutoConnection},
                         Connection{self, "fakeDirectoryChanged(QString)", self, Qt::QueuedConnection},
                         Connection{subscribe, "rowsPathAdded(CMPath)", self, Qt::DirectConnection},
                         Connection{subscribe, "rowsPathRemoved(CMPath)", self, Qt::DirectConnection}));
}

TEST_F(Connections, FollowTheEntryLine)
{
    EXPECT_THAT(loggedBefore, testing::ElementsAre(entryLine(Signature::constructor)));
}

} // namespace
