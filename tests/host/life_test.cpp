// Clients that follow the protocol, on a tree that changes under them all the time, hold in every quiet moment exactly
// what is on the disk. TAVO_LIFE_OPERATIONS and TAVO_LIFE_SEED make the test longer, or repeat one.

#include "content/content.h"
#include "content/contenthost.h"
#include "content/subscriptions.h"
#include "exec/workerthread.h"

#include "support/changingtree.h"

#include <model/cmsubscribe.h>
#include <tavo/tavoroles.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <fstream>
#include <future>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include <sys/stat.h>

namespace {

constexpr std::chrono::milliseconds sweepInterval{50};
constexpr std::chrono::seconds patience{60};
constexpr int operationsBetweenQuiet = 250;
constexpr int operationsPerTree = 1000;
constexpr int clientCount = 3;

int fromEnvironment(const char* name, int byDefault)
{
    const QByteArray value = qgetenv(name);
    return value.isEmpty() ? byDefault : value.toInt();
}

/// A client in a thread of its own: opens and closes at random, reads what it has opened, again after a reset.
class Client
{
public:
    Client(ContentHost& host, QString prefix, unsigned seed)
        : m_host(host), m_content(host), m_prefix(std::move(prefix)),
          m_subscriptions(std::make_unique<Subscriptions>(
              host, Reach::Local, Limits().openPaths,
              [this](const CMPath& path, const QStringList& changes, int) { noteChange(path, changes); })),
          m_random(seed), m_thread([this] { run(); })
    {
    }

    ~Client()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_ending = true;
        }
        m_wake.notify_all();
        m_thread.join();
        m_subscriptions.reset();
        // After this nothing calls noteChange() any more.
        m_host.workerThread().run([] {});
    }

    void setQuiet(bool quiet)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_quiet = quiet;
        m_wake.notify_all();
    }

    /// The first difference between what the client holds and the disk; empty: none.
    [[nodiscard]] QString difference(const QString& root) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_idle || !m_changes.empty())
            return QStringLiteral("busy");
        for (const auto& [path, titles] : m_held) {
            const QString directory = root + QLatin1Char('/') + path.base();
            if (!QFileInfo(directory).isDir())
                return QStringLiteral("%1 is open and gone").arg(path.base());
            if (titles != titlesOnDisk(directory))
                return QStringLiteral("%1: holds %2, the disk has %3")
                    .arg(path.base(), titles.join(u' '), titlesOnDisk(directory).join(u' '));
        }
        return {};
    }

    void collectOpen(std::set<QString>& bases) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& held : m_held)
            bases.insert(held.first.base());
    }

private:
    void noteChange(const CMPath& path, const QStringList& changes)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_changes.emplace_back(path, changes.contains(CMSubscribe::RowsChangeClose()));
        m_wake.notify_all();
    }

    void run()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_ending) {
            if (!m_changes.empty()) {
                followChange(lock);
            } else if (!m_quiet) {
                act(lock);
            } else {
                m_idle = true;
                m_wake.wait(lock);
                m_idle = false;
            }
        }
    }

    void followChange(std::unique_lock<std::mutex>& lock)
    {
        const auto [path, isClose] = m_changes.front();
        m_changes.erase(m_changes.begin());
        if (m_held.count(path) == 0)
            return;
        if (isClose)
            closePath(path, lock);
        else
            read(path, lock);
    }

    /// The path may have been opened again before the client got to hear of the close.
    void closePath(const CMPath& path, std::unique_lock<std::mutex>& lock)
    {
        m_held.erase(path);
        lock.unlock();
        static_cast<void>(wasDone(&Subscriptions::close, path));
        lock.lock();
    }

    using Operation = void (Subscriptions::*)(const CMPath&, Subscriptions::Completion);

    /// Waits for the completion.
    [[nodiscard]] bool wasDone(Operation operation, const CMPath& path)
    {
        const auto done = std::make_shared<std::promise<bool>>();
        ((*m_subscriptions).*operation)(path, [done](const Result<void>& result) { done->set_value(bool(result)); });
        return done->get_future().get();
    }

    void act(std::unique_lock<std::mutex>& lock)
    {
        QString base;
        for (int depth = below(m_random, 4); depth > 0; --depth)
            base += QStringLiteral("%1n%2").arg(base.isEmpty() ? "" : "/").arg(below(m_random, 6));
        const CMPath path(m_prefix, base);
        const bool close = below(m_random, 3) == 0;
        lock.unlock();
        const bool done = wasDone(close ? &Subscriptions::close : &Subscriptions::open, path);
        lock.lock();
        if (!done)
            return;
        if (close)
            m_held.erase(path);
        else if (m_held.count(path) == 0)
            read(path, lock);
    }

    /// Page by page; a page of another version starts the reading again.
    void read(const CMPath& path, std::unique_lock<std::mutex>& lock)
    {
        lock.unlock();
        QStringList titles;
        int version = 0;
        for (int tries = 0; tries < 100;) {
            const Result<Content::Page> page =
                m_content.rows({path, titles.size(), titles.size() + 4, version, {TavoRoles::Title()}});
            if (!page) {
                titles.clear();
                version = 0;
                ++tries;
                continue;
            }
            for (const QVariant& row : page.value().rows)
                titles.append(row.toList().value(0).toString());
            version = page.value().version.value_or(0);
            if (titles.size() >= page.value().count || page.value().rows.isEmpty())
                break;
        }
        lock.lock();
        m_held[path] = titles;
    }

    ContentHost& m_host;
    const Content m_content;
    const QString m_prefix;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::vector<std::pair<CMPath, bool>> m_changes;
    std::map<CMPath, QStringList> m_held;
    bool m_quiet = false;
    bool m_idle = false;
    bool m_ending = false;
    std::unique_ptr<Subscriptions> m_subscriptions;
    Random m_random;
    std::thread m_thread;
};

using Clients = std::vector<std::unique_ptr<Client>>;

/// Waits until the predicate holds; false if it does not within the time that the test has patience for.
template<typename Predicate>
[[nodiscard]] bool waitUntil(Predicate predicate)
{
    constexpr std::chrono::milliseconds turn{10};
    const QDeadlineTimer deadline(patience);
    QTimer ticks;
    ticks.start(turn);
    while (!predicate()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

std::set<ino_t> inodesOfWatches()
{
    std::set<ino_t> inodes;
    QDirIterator descriptors(QStringLiteral("/proc/self/fdinfo"), QDir::Files);
    while (descriptors.hasNext()) {
        std::ifstream info(descriptors.next().toStdString());
        for (std::string line; std::getline(info, line);) {
            const size_t inode = line.find("ino:");
            if (line.rfind("inotify", 0) == 0 && inode != std::string::npos)
                inodes.insert(std::stoul(line.substr(inode + 4), nullptr, 16));
        }
    }
    return inodes;
}

ino_t inodeOf(const QString& path)
{
    struct stat status = {};
    return stat(path.toUtf8().constData(), &status) == 0 ? status.st_ino : 0;
}

/// The opened directories, their ancestors, and the one above the root.
std::map<ino_t, QString> openDirectories(const Clients& clients, const QString& root)
{
    std::set<QString> bases;
    for (const auto& client : clients)
        client->collectOpen(bases);
    std::map<ino_t, QString> directories;
    const auto add = [&directories](const QString& path) { directories.emplace(inodeOf(path), path); };
    for (QString base : bases) {
        add(root);
        add(root + QStringLiteral("/.."));
        for (; !base.isEmpty(); base.truncate(std::max(base.lastIndexOf(u'/'), 0)))
            add(root + QLatin1Char('/') + base);
    }
    return directories;
}

/// What is wrong with the watches; empty: exactly the open directories are watched.
QString differenceOfWatches(const Clients& clients, const QString& root)
{
    std::set<ino_t> watches = inodesOfWatches();
    QString difference;
    for (const auto& [inode, directory] : openDirectories(clients, root)) {
        if (watches.erase(inode) == 0)
            difference += QStringLiteral("%1 is open and not watched; ").arg(directory);
    }
    return watches.empty() ? difference : difference + QStringLiteral("%1 others are watched").arg(watches.size());
}

void expectCurrent(const Clients& clients, const QString& root)
{
    QString difference;
    const bool isCurrent = waitUntil([&] {
        difference.clear();
        for (const auto& client : clients)
            difference += client->difference(root);
        return difference.isEmpty();
    });
    EXPECT_TRUE(isCurrent) << difference.toStdString();
    EXPECT_TRUE(waitUntil([&] { return differenceOfWatches(clients, root).isEmpty(); }))
        << differenceOfWatches(clients, root).toStdString();
}

/// The changes meet requests and notifications that are under way.
void changeAtRandom(Mutator& mutator, int operations)
{
    for (int i = 0; i < operations; ++i)
        mutator.change();
}

void liveThrough(unsigned seed, int operations)
{
    const QTemporaryDir directory;
    const QString root = QDir(directory.path()).canonicalPath() + QStringLiteral("/root");
    ASSERT_TRUE(QDir().mkpath(root));
    const QString prefix = QStringLiteral("life%1").arg(seed);
    HostSettings settings;
    settings.moduleFile = QStringLiteral(TAVO_MODULE);
    settings.roots = {{prefix, root, {}, false, {QStringLiteral("*.mp3")}}};
    settings.sweepInterval = sweepInterval;
    const Result<std::unique_ptr<ContentHost>> host = ContentHost::start(settings);
    ASSERT_TRUE(host) << host.failure().message.toString().toStdString();

    Mutator mutator(root, seed);
    {
        Clients clients;
        for (unsigned i = 0; i < clientCount; ++i)
            clients.push_back(std::make_unique<Client>(*host.value(), prefix, seed * 100 + i));
        for (int done = 0; done < operations && !testing::Test::HasFailure(); done += operationsBetweenQuiet) {
            changeAtRandom(mutator, operationsBetweenQuiet);
            for (const auto& client : clients)
                client->setQuiet(true);
            expectCurrent(clients, root);
            for (const auto& client : clients)
                client->setQuiet(false);
        }
    }
    EXPECT_TRUE(waitUntil([] { return inodesOfWatches().empty(); }));
}

TEST(Life, ClientsHoldWhatIsOnTheDiskInEveryQuietMoment)
{
    const int operations = fromEnvironment("TAVO_LIFE_OPERATIONS", 20000);
    auto seed = static_cast<unsigned>(fromEnvironment("TAVO_LIFE_SEED", 1));
    for (int done = 0; done < operations && !HasFailure(); done += operationsPerTree, ++seed) {
        SCOPED_TRACE(testing::Message() << "TAVO_LIFE_SEED=" << seed);
        liveThrough(seed, operationsPerTree);
    }
}

} // namespace
