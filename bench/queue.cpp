#include "model/cmroot.h"
#include "peers/sqlite.h"
#include "support/client.h"
#include "support/module.h"
#include "support/race.h"
#include "support/taggedfiles.h"
#include "support/tracks.h"
#include "support/workshop.h"
#include "tavo/tavokeys.h"
#include "tavo/tavomedia.h"
#include "tavo/tavoroles.h"

#include <QSemaphore>
#include <QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <random>
#include <thread>

namespace {

constexpr Seconds allowedAnswer{0.2};
constexpr int clientCount = 8;
constexpr int pageSize = 100;
/// As many entries as are prepared side by side.
constexpr int lastPrepared = 64;

/// The queue, stored in a directory of its own, with a client that has it open; beside it the worker of its items.
class Host
{
public:
    Host(const QString& root, std::unique_ptr<CMWorker> items)
        : m_state(root + QStringLiteral("/queue-XXXXXX")), m_items(std::move(items)),
          m_queue(loadQueue(m_state.path())), m_client(*m_queue)
    {
        require(CMRootWorker::instance().mount(m_items.get()), "the worker of the items cannot be mounted");
        require(CMRootWorker::instance().mount(m_queue.get()), "the queue cannot be mounted");
        m_client.open(QString());
    }

    QVariantHash set(const QString& service, const QVariant& value = {}) const
    {
        return setData(*m_queue, service, value).toHash();
    }

    /// The same, and waits until the client has been notified.
    void edit(const QString& service, const QVariant& value = {})
    {
        m_client.waitForVersion(set(service, value).value(QStringLiteral("version")).toInt());
    }

    [[nodiscard]] TavoRowsRoles rows(int first, int last, const QStringList& roles) const
    {
        return requestRows(*m_queue, QString(), first, last, roles);
    }
    [[nodiscard]] int count() const { return rows(0, 0, {TavoRoles::Title()}).rowsCount(); }

    [[nodiscard]] CMWorker& items() const { return *m_items; }
    [[nodiscard]] CMWorker& queue() const { return *m_queue; }
    [[nodiscard]] Client& client() { return m_client; }

private:
    QTemporaryDir m_state;
    std::unique_ptr<CMWorker> m_items;
    std::unique_ptr<CMWorker> m_queue;
    Client m_client;
};

/// A queue of so many entries that have their tags.
std::shared_ptr<Host> filledHost(const Workshop& workshop, int entries)
{
    auto host = std::make_shared<Host>(workshop.root(), std::make_unique<Tracks>(QStringLiteral("tracks"), entries));
    host->edit(QStringLiteral("addToQueue"), host->items().addPrefix(QString()).toEncoded());
    require(host->count() == entries, "the queue lacks entries");
    return host;
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as the tree
int countRows(CMWorker& worker, const QString& directory)
{
    const QStringList roles = {TavoRoles::Path(), TavoRoles::Type(), TavoRoles::Title(), TavoRoles::MediaData()};
    const TavoRowsRoles rows = requestRows(worker, directory, 0, std::numeric_limits<int>::max(), roles);
    int count = 0;
    for (const QVariant& row : rows.rows()) {
        const bool isContainer = row.toList().value(1) == TavoRolesType::Container();
        count += isContainer ? countRows(worker, CMPath::fromEncoded(row.toList().value(0).toString()).base()) : 1;
    }
    return count;
}

/// A queue that is filled and emptied again and again.
class Filling
{
public:
    Filling(const Workshop& workshop, const QString& directory, int files)
        : m_host(workshop.root(), loadWorker(directory, playablePatterns() + QStringList{QStringLiteral("*.opus")})),
          m_files(files)
    {
    }

    void listAll() const { require(countRows(m_host.items(), QString()) == m_files, "files are missing"); }

    void prepareAll() const
    {
        const QVariant items = setData(m_host.items(), TavoPlayListPrepareItems(), QVariantList{root()});
        require(items.toList().size() == m_files, "items are missing");
    }

    Timing answer()
    {
        const Timing timing = timingOf([this] { add(); });
        m_host.edit(QStringLiteral("clear"));
        return timing;
    }

    Timing allTags()
    {
        int seen = m_host.client().changes();
        const Timing timing = timingOf([this, &seen] {
            add();
            waitForTags(m_files - lastPrepared, seen);
        });
        waitForTags(0, seen);
        m_host.edit(QStringLiteral("clear"));
        return timing;
    }

private:
    [[nodiscard]] QString root() const { return m_host.items().addPrefix(QString()).toEncoded(); }

    void add() const
    {
        const QVariantHash answer = m_host.set(QStringLiteral("addToQueue"), root());
        require(answer.value(QStringLiteral("added")).toInt() == m_files, "the queue lacks entries");
    }

    /// `seen`: the changes that the client has looked at.
    void waitForTags(int first, int& seen)
    {
        while (!haveTags(first))
            m_host.client().waitForChanges(++seen);
    }

    [[nodiscard]] bool haveTags(int first) const
    {
        const QVariantList rows = m_host.rows(first, m_files - 1, {TavoRoles::MediaData()}).rows();
        return std::all_of(rows.cbegin(), rows.cend(), [](const QVariant& row) {
            const TavoMediaData media(row.toList().value(0).toHash());
            return media.metaData().fields().contains(TavoRoles::Title());
        });
    }

    Host m_host;
    int m_files;
};

Race adding(const Workshop& workshop, int albums)
{
    const QString directory = workshop.filled(
        QStringLiteral("tagged"), [albums](const std::string& path) { fillWithTaggedFiles(path, albums); });
    const auto filling = std::make_shared<Filling>(workshop, directory, albums * tracksPerAlbum);
    const auto last = std::make_shared<Timing>();
    return {
        {{"rows requests", [=] { return timingOf([=] { filling->listAll(); }); }},
         {"answer", [=] { return filling->answer(); }},
         {"preparing alone", [=] { return timingOf([=] { filling->prepareAll(); }); }},
         {"all tags", [=] { return *last = filling->allTags(); }, Clock::Wall},
         {"all tags, processor time", [=] { return *last; }}},
        {{"answer", "rows requests"},
         {"all tags", "preparing alone", 1.3},
         {"all tags, processor time", "preparing alone"}},
        {{"answer / 200 ms", [=] { return filling->answer().wall / allowedAnswer; }, 1.0}}};
}

QVariantHash moveOf(qint64 id, qint64 after)
{
    return {{QStringLiteral("ids"), QVariantList{id}}, {QStringLiteral("after"), after}};
}

/// Moves entries from anywhere to anywhere, of which there are so many, with the ids from 1.
class Mover
{
public:
    Mover(unsigned seed, int entries) : m_random(seed), m_anyId(1, entries) {}

    [[nodiscard]] QVariantHash next() { return moveOf(m_anyId(m_random), m_anyId(m_random)); }

private:
    std::minstd_rand m_random;
    std::uniform_int_distribution<qint64> m_anyId;
};

std::shared_ptr<BareSqlite> bareSqlite(const Workshop& workshop, int tracks)
{
    QTemporaryDir directory(workshop.root() + QStringLiteral("/sqlite-XXXXXX"));
    directory.setAutoRemove(false);
    return std::make_shared<BareSqlite>(directory.filePath(QStringLiteral("bare.sqlite")).toStdString(), tracks);
}

/// Runs the same work again and again in a thread of its own, and waits for it.
class OtherThread
{
public:
    explicit OtherThread(std::function<void()> work) : m_work(std::move(work)), m_thread([this] { run(); }) {}
    ~OtherThread()
    {
        m_isEnding = true;
        m_calls.release();
        m_thread.join();
    }
    Q_DISABLE_COPY_MOVE(OtherThread)

    void call()
    {
        m_calls.release();
        m_ends.acquire();
    }

private:
    void run()
    {
        for (m_calls.acquire(); !m_isEnding; m_calls.acquire()) {
            m_work();
            m_ends.release();
        }
    }

    const std::function<void()> m_work;
    QSemaphore m_calls;
    QSemaphore m_ends;
    std::atomic_bool m_isEnding = false;
    std::thread m_thread;
};

Race oneEdit(const Workshop& workshop, int entries)
{
    const auto host = filledHost(workshop, entries);
    const auto sqlite = bareSqlite(workshop, entries);
    const auto mover = std::make_shared<Mover>(1, entries);
    const auto thread = std::make_shared<OtherThread>([=] { sqlite->moveOne(); });
    return {
        {{"floor", repeating([=] { sqlite->moveOne(); })},
         {"floor in another thread", repeating([=] { thread->call(); }), Clock::Wall},
         {"stored and notified", repeating([=] { host->edit(QStringLiteral("move"), mover->next()); }), Clock::Wall}},
        {{"stored and notified", "floor", 3.0},
         {"stored and notified", "floor in another thread"},
         {"floor in another thread", "floor"}}};
}

Race page(const Workshop& workshop, int entries, const QStringList& roles)
{
    const auto host = filledHost(workshop, entries);
    const QString directory = workshop.directoryOf(1000);
    const std::shared_ptr<CMWorker> files = loadWorker(workshop.root(), playablePatterns());
    const int first = entries / 2;
    return {
        {{"file worker, of 1,000", repeating([=] {
              require(
                  requestRows(*files, directory, 0, pageSize - 1, roles).rows().size() == pageSize, "rows are missing");
          })},
         {"queue", repeating([=] {
              require(host->rows(first, first + pageSize - 1, roles).rows().size() == pageSize, "rows are missing");
          })}},
        {{"queue", "file worker, of 1,000", 1.0}}};
}

/// Edits of one client: it moves any entry, and adds entries and removes them again.
void editOften(Host& host, unsigned client, int edits, int entries)
{
    Mover mover(client, entries);
    const QString track = host.items().addPrefix(QStringLiteral("0")).toEncoded();
    for (int i = 0; i < edits; i += 4) {
        host.set(QStringLiteral("move"), mover.next());
        const QVariantHash added = host.set(QStringLiteral("addToQueue"), track);
        host.set(QStringLiteral("move"), moveOf(added.value(QStringLiteral("first")).toLongLong(), entries / 2));
        host.set(QStringLiteral("remove"), QVariantList{added.value(QStringLiteral("first"))});
    }
}

Timing editTogether(Host& host, int edits, int entries)
{
    const Timing timing = timingOf([&] {
        std::vector<std::thread> clients;
        for (unsigned client = 1; client <= clientCount; ++client)
            clients.emplace_back([&host, client, edits, entries] { editOften(host, client, edits, entries); });
        for (std::thread& client : clients)
            client.join();
    });
    require(host.count() == entries, "entries are lost or doubled");
    return timing;
}

Race manyClients(const Workshop& workshop, int entries, int edits)
{
    const auto host = filledHost(workshop, entries);
    const auto sqlite = bareSqlite(workshop, entries);
    const int all = clientCount * edits;
    return {
        {{"floor", repeating([=] { sqlite->moveOne(); })},
         {"an edit of 8 clients", perPart([=] { return editTogether(*host, edits, entries); }, all)}},
        {{"an edit of 8 clients", "floor"}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        const int albums = workshop.isSmoke() ? 8 : 1250;
        addRace(
            "add tagged files to the queue/" + std::to_string(albums * tracksPerAlbum), workshop.rounds(5),
            [=, &workshop] { return adding(workshop, albums); });
        const int entries = workshop.isSmoke() ? 100 : 10'000;
        addRace("edit of the queue/" + std::to_string(entries), workshop.rounds(31), [=, &workshop] {
            return oneEdit(workshop, entries);
        });
        const int most = workshop.isSmoke() ? 1000 : 50'000;
        addRace("100 titles of the queue/" + std::to_string(most), workshop.rounds(11), [=, &workshop] {
            return page(workshop, most, {TavoRoles::Title()});
        });
        addRace("100 rows of the queue, seven roles/" + std::to_string(most), workshop.rounds(11), [=, &workshop] {
            return page(workshop, most, allRoles());
        });
        const int edits = workshop.isSmoke() ? 20 : 1000;
        addRace("edits of 8 clients of the queue/" + std::to_string(edits), workshop.rounds(5), [=, &workshop] {
            return manyClients(workshop, entries, edits);
        });
    });
}
