// Lines to a session with a live worker, over a real tree that changes between them: every request is answered once,
// everything put out is a message of JSON-RPC, a client that goes leaves nothing open, and the process never ends.
//
// A line that starts with '!' changes the tree, once for each of its other bytes. At one that is a '?' the client goes,
// and another one comes.

#include "changingtree.h"
#include "check.h"
#include "memoryfile.h"

#include "content/host.h"
#include "rpc/json.h"
#include "rpc/jsonrpc.h"
#include "stdio/linereader.h"
#include "stdio/outputqueue.h"
#include "stdio/sessionserver.h"

#include <QCoreApplication>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QTextCodec>
#include <QThread>
#include <QThreadPool>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int longestLine = 1024;
constexpr int mostChanges = 8;

/// What all inputs share: one worker over one tree, in a thread of its own. The client lives as long as its inputs open
/// nothing, since to start its threads takes longer than to answer it.
class World
{
public:
    World(int& argc, char** argv);
    ~World();
    Q_DISABLE_COPY_MOVE(World)

    [[nodiscard]] CMWorker& worker() const { return m_host->worker(); }
    /// Canonical.
    [[nodiscard]] const QString& root() const { return m_host->rootDirectory(); }
    [[nodiscard]] SessionServer& server() const { return *m_server; }
    /// Has the server answer, sooner or later.
    void send(const QByteArray& message);

    void changeTree(const QByteArray& changes);
    void resetTree();
    /// All that has been put out since the last call.
    [[nodiscard]] QByteArray takeOutput();
    /// The client goes, and another one comes.
    void changeClient();
    [[nodiscard]] bool isAnythingOpen() const;

private:
    /// In the worker's thread; waits for it.
    template<typename Function>
    void run(Function function)
    {
        QMetaObject::invokeMethod(&m_context, function, Qt::BlockingQueuedConnection);
    }
    void start();
    /// Lets the worker hear of what has happened.
    void settle();

    ChangingTree m_tree;
    MemoryFile m_outputFile;
    QCoreApplication m_application;
    log4cplus::Initializer m_logging;
    OutputQueue m_output;
    QThread m_thread;
    /// In that thread.
    QObject m_context;
    std::unique_ptr<Host> m_host;
    std::unique_ptr<SessionServer> m_server;
    QThreadPool m_pool;
};

World::World(int& argc, char** argv)
    : m_application(argc, argv), m_output(m_outputFile.descriptor(), [](int /*errorNumber*/) { std::abort(); })
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    // Log lines are made of what clients send, so they are made, but nobody reads them.
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    log4cplus::Logger::getRoot().setLogLevel(log4cplus::TRACE_LOG_LEVEL);
    m_context.moveToThread(&m_thread);
    m_thread.start();
    run([this] { start(); });
}

void World::start()
{
    const QStringList filter = {QStringLiteral("*.mp3"), QStringLiteral("*.m3u")};
    auto host = Host::start({QStringLiteral(TAVO_MODULE), m_tree.root(), filter, QStringLiteral("file")});
    FUZZ_CHECK(host);
    m_host = std::move(host.value());
    m_server = std::make_unique<SessionServer>(*m_host, m_output);
}

World::~World()
{
    m_pool.waitForDone();
    run([this] {
        m_server.reset();
        m_host.reset();
    });
    m_thread.quit();
    m_thread.wait();
}

void World::send(const QByteArray& message)
{
    if (const SessionServer::Task task = m_server->accept(message))
        m_pool.start(task);
}

void World::changeTree(const QByteArray& changes)
{
    for (const char change : changes)
        m_tree.change(static_cast<unsigned char>(change));
    settle();
}

void World::resetTree()
{
    m_tree.reset();
    settle();
}

QByteArray World::takeOutput()
{
    FUZZ_CHECK(m_output.drain());
    const QByteArray output = m_outputFile.content();
    m_outputFile.setContent(nullptr, 0);
    return output;
}

void World::changeClient()
{
    m_pool.waitForDone();
    run([this] {
        FUZZ_CHECK(m_server->stop(-1));
        m_server.reset();
        m_server = std::make_unique<SessionServer>(*m_host, m_output);
    });
}

bool World::isAnythingOpen() const
{
    return !worker().subscribe()->rowsPathsStartingWith(worker().addPrefix(QString())).isEmpty();
}

void World::settle()
{
    run([] { QCoreApplication::processEvents(); });
}

World* world = nullptr;

/// The ids of the answers that are due, as JSON, and how many of each.
class DueAnswers
{
public:
    void addLine(const QByteArray& line)
    {
        const auto parsed = JsonRpc::parse(line);
        if (const auto* malformed = std::get_if<JsonRpc::Malformed>(&parsed))
            return add(malformed->id);
        const std::optional<QVariant> id = std::get<JsonRpc::Request>(parsed).id;
        const QJsonValue plainId = QJsonDocument::fromJson(line).object().value(QLatin1String("id"));
        FUZZ_CHECK(plainId == QJsonValue::fromVariant(id.value_or(QVariant())) || isNullOrUndefined(plainId));
        if (id)
            add(*id);
    }
    void add(const QVariant& id) { ++m_counts[toJson(id).value()]; }

    void take(const QVariant& id) { FUZZ_CHECK(--m_counts[toJson(id).value()] >= 0); }

    [[nodiscard]] bool isEmpty() const
    {
        return std::all_of(m_counts.cbegin(), m_counts.cend(), [](int count) { return count == 0; });
    }

private:
    static bool isNullOrUndefined(const QJsonValue& value) { return value.isNull() || value.isUndefined(); }

    QHash<QByteArray, int> m_counts;
};

/// The version of rows is 0 where the worker has no record of them.
void checkNothingIsOpen()
{
    FUZZ_CHECK(!world->isAnythingOpen());
    for (const char* base : {"", "a", "a/b"}) {
        const CMGetRowsRequest request(world->worker().addPrefix(QLatin1String(base)), 0, -1, 0, {});
        world->worker().getRowsRequest(request);
        FUZZ_CHECK(request.reply().value().rowsVersion() == 0);
    }
}

void changeClient()
{
    world->changeClient();
    checkNothingIsOpen();
}

void serveLine(const QByteArray& line, DueAnswers& due)
{
    if (line.startsWith('!')) {
        world->server().waitForAnswers();
        world->changeTree(line.mid(1, mostChanges));
    } else if (line == "?") {
        world->server().waitForAnswers();
        changeClient();
    } else {
        due.addLine(line);
        world->send(line);
    }
}

void serve(int input, DueAnswers& due)
{
    LineReader reader(input, longestLine);
    for (LineReader::Line line = reader.next(); line.kind != LineReader::Line::Kind::End; line = reader.next()) {
        if (line.kind == LineReader::Line::Kind::Text) {
            serveLine(line.text, due);
        } else {
            due.add(QVariant());
            world->server().refuseTooLong(longestLine);
        }
    }
    world->server().waitForAnswers();
}

void checkAnswer(const QJsonObject& answer)
{
    const QJsonValue error = answer.value(QLatin1String("error"));
    FUZZ_CHECK(error.isUndefined() == answer.contains(QLatin1String("result")));
    FUZZ_CHECK(error.isUndefined() || error[QLatin1String("code")].toInt() < 0);
    FUZZ_CHECK(error.isUndefined() || !error[QLatin1String("message")].toString().isEmpty());
}

void checkNotification(const QJsonObject& notification)
{
    const QJsonValue parameters = notification.value(QLatin1String("params"));
    FUZZ_CHECK(notification.value(QLatin1String("method")) == QLatin1String("rowsChanged"));
    FUZZ_CHECK(parameters[QLatin1String("path")].toString().startsWith(QLatin1String("/file/")));
    FUZZ_CHECK(!parameters[QLatin1String("changes")].toArray().isEmpty());
    FUZZ_CHECK(parameters[QLatin1String("version")].isDouble());
}

void checkLine(const QByteArray& line, DueAnswers& due)
{
    FUZZ_CHECK(std::none_of(line.cbegin(), line.cend(), [](char c) { return c >= '\0' && c < ' '; }));
    const QJsonObject message = QJsonDocument::fromJson(line).object();
    FUZZ_CHECK(message.value(QLatin1String("jsonrpc")) == QLatin1String("2.0"));
    if (message.contains(QLatin1String("method")))
        return checkNotification(message);
    checkAnswer(message);
    due.take(message.value(QLatin1String("id")).toVariant());
}

void checkOutput(const QByteArray& output, DueAnswers& due)
{
    QList<QByteArray> lines = output.split('\n');
    FUZZ_CHECK(lines.takeLast().isEmpty());
    for (const QByteArray& line : qAsConst(lines))
        checkLine(line, due);
    FUZZ_CHECK(due.isEmpty());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // Qt complains of every name that no file can have.
    QLoggingCategory::setFilterRules(QStringLiteral("*.warning=false"));
    static World instance(*argc, *argv);
    world = &instance;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const MemoryFile input;
    input.setContent(data, size);
    DueAnswers due;
    serve(input.descriptor(), due);
    if (world->isAnythingOpen())
        changeClient();
    checkOutput(world->takeOutput(), due);
    world->resetTree();
    return 0;
}
