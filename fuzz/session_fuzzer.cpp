// Messages to a host with live workers, over a real tree that changes between them: every request is answered once,
// everything put out is a message of JSON-RPC, a client that leaves has nothing open, and the process never ends. A
// client on a network hears nothing of local paths, nor of what is hidden or outside the root.
//
// A line that starts with '!' changes the tree, once for each of its other bytes. At one that is a '?' the client
// leaves, and another one comes.

#include "changingtree.h"
#include "check.h"
#include "memoryfile.h"

#include "content/contenthost.h"
#include "exec/workerthread.h"
#include "rpc/dispatcher.h"
#include "rpc/jsonrpc.h"
#include "stdio/linereader.h"
#include "stdio/outputqueue.h"

#include <model/cmroot.h>
#include <tavo/tavojson.h>

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QTextCodec>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <mutex>

namespace {

constexpr Reach reach = TAVO_REACH;
constexpr int longestLine = 1024;
constexpr int mostChanges = 8;

/// What all inputs share: a host with two roots, one inside the other, over one tree. A root that moves away is taken
/// out and mounted again. The client stays as long as its inputs open nothing.
class World
{
public:
    World(int& argc, char** argv);
    ~World();
    Q_DISABLE_COPY_MOVE(World)

    void send(const QByteArray& message) { m_client->accept(message); }
    void sendTooLong() { m_client->refuseTooLong(); }
    void waitForAnswers();

    void changeTree(const QByteArray& changes);
    void resetTree();
    /// All that has been put out since the last call.
    [[nodiscard]] QByteArray takeOutput();
    /// The client leaves, and another one comes.
    void changeClient();
    [[nodiscard]] bool isAnythingOpen() const;
    [[nodiscard]] QString folder() const { return m_tree.folder(); }
    /// Delivers what has happened to the workers.
    void settle();

private:
    void addClient();

    ChangingTree m_tree;
    MemoryFile m_outputFile;
    QCoreApplication m_application;
    log4cplus::Initializer m_logging;
    std::unique_ptr<ContentHost> m_host;
    SharedListings m_sharedListings;
    RequestExecutor m_executor;
    std::shared_ptr<OutputQueue> m_output;
    std::unique_ptr<Dispatcher> m_client;
    std::mutex m_mutex;
    std::condition_variable m_ready;
};

World::World(int& argc, char** argv) : m_application(argc, argv)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    // Log lines are made of what clients send, so they are made, but nobody reads them.
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    log4cplus::Logger::getRoot().setLogLevel(log4cplus::TRACE_LOG_LEVEL);
    HostSettings settings;
    settings.moduleFile = QStringLiteral(TAVO_MODULE);
    const QStringList filter{QStringLiteral("*.mp3"), QStringLiteral("*.m3u")};
    settings.roots = {
        {QStringLiteral("file"), m_tree.root(), {}, false, filter},
        {QStringLiteral("inner"), m_tree.root() + QStringLiteral("/a"), {}, false, filter}};
    settings.sweepInterval = std::chrono::seconds(1);
    auto host = ContentHost::start(settings);
    FUZZ_CHECK(host);
    m_host = std::move(host.value());
    addClient();
}

World::~World()
{
    m_client.reset();
    FUZZ_CHECK(m_executor.stop(std::chrono::minutes(1)));
}

void World::addClient()
{
    const auto abort = [](int /*errorNumber*/) { std::abort(); };
    const auto notify = [this] {
        const std::lock_guard lock(m_mutex);
        m_ready.notify_all();
    };
    m_output = std::make_shared<OutputQueue>(m_outputFile.descriptor(), abort);
    m_client = std::make_unique<Dispatcher>(
        Services{*m_host, m_executor, m_sharedListings}, Dispatcher::Profile{reach}, m_output, notify);
}

void World::waitForAnswers()
{
    std::unique_lock lock(m_mutex);
    m_ready.wait(lock, [this] { return m_client->isIdle(); });
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
    FUZZ_CHECK(m_output->drain());
    const QByteArray output = m_outputFile.content();
    m_outputFile.setContent(nullptr, 0);
    return output;
}

void World::changeClient()
{
    m_client.reset();
    FUZZ_CHECK(m_output->drain());
    settle();
    addClient();
}

bool World::isAnythingOpen() const
{
    bool isOpen = false;
    m_host->workerThread().run([this, &isOpen] {
        for (const QString& prefix : QStringList{QString()} + m_host->rootIds()) {
            const CMSubscribe* const subscribe = m_host->subscribeOf(prefix);
            isOpen = isOpen || (subscribe && !subscribe->rowsPathsStartingWith(CMPath(prefix, {})).isEmpty());
        }
    });
    return isOpen;
}

void World::settle()
{
    m_host->workerThread().run([] { QCoreApplication::processEvents(); });
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
    void add(const QVariant& id) { ++m_counts[TavoJson::write(id).value()]; }

    void take(const QVariant& id) { FUZZ_CHECK(--m_counts[TavoJson::write(id).value()] >= 0); }

    [[nodiscard]] bool isEmpty() const
    {
        return std::all_of(m_counts.cbegin(), m_counts.cend(), [](int count) { return count == 0; });
    }

private:
    static bool isNullOrUndefined(const QJsonValue& value) { return value.isNull() || value.isUndefined(); }

    QHash<QByteArray, int> m_counts;
};

/// The version of rows is 0 where the worker has no record of them. A root that is away has no rows.
int versionOf(const CMPath& path)
{
    const CMGetRowsRequest request(path, 0, -1, 0, {});
    CMRoot()->request(request);
    return request.voidReply().isError() ? 0 : request.reply().value().rowsVersion();
}

void checkNothingIsOpen()
{
    FUZZ_CHECK(!world->isAnythingOpen());
    for (const char* path : {"/", "/file/", "/file/a", "/file/a/b", "/inner/", "/inner/b"}) {
        // A removal waits for the requests that the worker is just leaving. One that never runs is a hang.
        while (versionOf(CMPath::fromEncoded(QLatin1String(path))) != 0)
            world->settle();
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
        world->waitForAnswers();
        world->changeTree(line.mid(1, mostChanges));
    } else if (line == "?") {
        world->waitForAnswers();
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
            world->sendTooLong();
        }
    }
    world->waitForAnswers();
}

void checkTextIsPublic(const QString& text)
{
    FUZZ_CHECK(!text.startsWith(QLatin1String("file:")));
    FUZZ_CHECK(!text.contains(world->folder()));
    FUZZ_CHECK(!text.contains(QLatin1String("secret.mp3")));
}

void checkIsPublic(const QJsonValue& value)
{
    if (value.isString())
        checkTextIsPublic(value.toString());
    for (const QJsonValue& item : value.toArray())
        checkIsPublic(item);
    for (const QJsonValue& member : value.toObject())
        checkIsPublic(member);
}

void checkAnswer(const QJsonObject& answer)
{
    const QJsonValue error = answer.value(QLatin1String("error"));
    FUZZ_CHECK(error.isUndefined() == answer.contains(QLatin1String("result")));
    FUZZ_CHECK(error.isUndefined() || error[QLatin1String("code")].toInt() < 0);
    FUZZ_CHECK(error.isUndefined() || !error[QLatin1String("message")].toString().isEmpty());
    // What a client has sent comes back in errors.
    if (reach == Reach::Network)
        checkIsPublic(answer.value(QLatin1String("result")));
}

void checkNotification(const QJsonObject& notification)
{
    const QJsonValue parameters = notification.value(QLatin1String("params"));
    FUZZ_CHECK(notification.value(QLatin1String("method")) == QLatin1String("rowsChanged"));
    const QString path = parameters[QLatin1String("path")].toString();
    FUZZ_CHECK(
        path == QLatin1String("/") || path.startsWith(QLatin1String("/file/")) ||
        path.startsWith(QLatin1String("/inner/")));
    FUZZ_CHECK(!parameters[QLatin1String("changes")].toArray().isEmpty());
    FUZZ_CHECK(parameters[QLatin1String("version")].isDouble());
}

void checkLine(const QByteArray& line, DueAnswers& due)
{
    FUZZ_CHECK(std::none_of(line.cbegin(), line.cend(), [](char c) { return c >= '\0' && c < ' '; }));
    FUZZ_CHECK(reach == Reach::Local || !line.contains(QFile::encodeName(world->folder())));
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
