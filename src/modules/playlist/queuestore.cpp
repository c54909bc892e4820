#include "queuestore.h"

#include "log/dbglog.h"
#include "sqlmigration.h"
#include "storedjson.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QUuid>

#include <log4cplus/logger.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace {

/// In the file's header: it belongs to this store.
constexpr int applicationId = 0x7461766f;

/// Most of them write one page of 4 kB each.
constexpr int statementsPerCheckpoint = 1000;

/// What makes a file of version n - 1 one of version n.
const std::vector<QStringList>& migrations()
{
    static const std::vector<QStringList> steps = {
        {QStringLiteral("CREATE TABLE entries (id INTEGER PRIMARY KEY, rank INTEGER NOT NULL, source TEXT NOT NULL,"
                        " title TEXT NOT NULL, type TEXT NOT NULL, media TEXT)"),
         QStringLiteral("CREATE TABLE operations (number INTEGER PRIMARY KEY, operation TEXT NOT NULL,"
                        " answer TEXT NOT NULL)"),
         QStringLiteral("CREATE TABLE state (single INTEGER PRIMARY KEY CHECK (single = 1), last_id INTEGER NOT NULL,"
                        " version INTEGER NOT NULL, last_edit INTEGER NOT NULL, current INTEGER,"
                        " position INTEGER NOT NULL, at INTEGER NOT NULL, serial INTEGER NOT NULL,"
                        " volume INTEGER NOT NULL, repeat INTEGER NOT NULL, shuffle INTEGER NOT NULL)"),
         QStringLiteral("INSERT INTO state VALUES (1, 0, 0, 0, NULL, 0, 0, 0, 100, 0, 0)"),
         QStringLiteral("PRAGMA application_id = %1").arg(applicationId)},
        // That of the last edit that moved the entry: a move writes only the entry's page, and leaves the state's
        // alone.
        {QStringLiteral("ALTER TABLE entries ADD COLUMN version INTEGER NOT NULL DEFAULT 0")}};
    return steps;
}

/// Why the file cannot be used.
struct Problem
{
    QString text;
    /// The content is to blame, not the system: the file can be set aside.
    bool isDamage;
};

/// SQLite's result codes that blame something other than the file's content.
bool isDamage(const QSqlError& error)
{
    enum Code {
        Permission = 3,
        Busy = 5,
        Locked = 6,
        NoMemory = 7,
        ReadOnly = 8,
        Interrupted = 9,
        Full = 13,
        CannotOpen = 14
    };
    static const std::set<int> others = {Permission, Busy, Locked, NoMemory, ReadOnly, Interrupted, Full, CannotOpen};
    return others.count(error.nativeErrorCode().toInt() & 0xff) == 0;
}

Problem problemOf(const QSqlError& error)
{
    return {error.text(), isDamage(error)};
}

Problem damage(const QString& text)
{
    return {text, true};
}

void warn(const QString& text)
{
    static const log4cplus::Logger logger = log4cplus::Logger::getInstance("tavo.playlist");
    DBGLOG(
        logger, log4cplus::WARN_LOG_LEVEL, (DbgLogSite{"src/modules/playlist/queuestore", __LINE__, __func__}), text);
}

QVariant idOrNull(const std::optional<EntryId>& id)
{
    return id ? QVariant(*id) : QVariant(QVariant::LongLong);
}

/// SQLite takes a null text for NULL.
QString notNull(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

/// What the file keeps of the player.
PlayerState storedPart(PlayerState state)
{
    state.state = PlayState::Stopped;
    state.next.reset();
    state.output.clear();
    state.failed.reset();
    state.failure.clear();
    return state;
}

Repeat repeatOf(int number)
{
    return number == 1 ? Repeat::All : number == 2 ? Repeat::One : Repeat::Off;
}

} // namespace

/// The open file. A failed operation leaves its error in problem().
class QueueStore::Connection
{
public:
    explicit Connection(const QString& file);
    ~Connection();
    Q_DISABLE_COPY_MOVE(Connection)

    [[nodiscard]] bool open();
    [[nodiscard]] bool load(Content& content);
    [[nodiscard]] bool
    save(const Playlist& playlist, const QueueChange& change, const std::optional<Operation>& operation);
    void checkpoint();

    [[nodiscard]] const Problem& problem() const { return m_problem; }

private:
    /// The statements of save(), prepared once.
    struct Statements
    {
        explicit Statements(const QSqlDatabase& database);

        QSqlQuery begin;
        QSqlQuery commit;
        QSqlQuery insertEntry;
        QSqlQuery deleteEntry;
        QSqlQuery deleteEntries;
        QSqlQuery rankEntry;
        QSqlQuery forgetVersions;
        QSqlQuery describeEntry;
        QSqlQuery writeVersion;
        QSqlQuery writePlayer;
        QSqlQuery insertOperation;
        QSqlQuery deleteOperations;
    };

    [[nodiscard]] bool fails(Problem problem);
    [[nodiscard]] bool run(const QString& statement);
    [[nodiscard]] bool run(QSqlQuery& query, const QVariantList& values);
    [[nodiscard]] bool select(QSqlQuery& query, const QString& statement);
    [[nodiscard]] std::optional<QVariant> value(const QString& statement);

    [[nodiscard]] bool check();
    [[nodiscard]] bool migrate();
    [[nodiscard]] bool prepare();
    [[nodiscard]] bool loadEntries(Content& content, EntryId lastId);
    [[nodiscard]] bool loadOperations(Content& content);

    /// Whether moved entries can hold all that is new.
    [[nodiscard]] bool isMoveOnly(const Playlist& playlist, const QueueChange& change) const;
    /// Undoes all that `write` has done if it returns false.
    template<typename Write>
    [[nodiscard]] bool inTransaction(const Write& write);
    [[nodiscard]] bool writeChange(const Playlist& playlist, const QueueChange& change);
    [[nodiscard]] bool writeMoved(const QueueChange& change, int version);
    [[nodiscard]] bool writeRemoved(const Queue& queue, const QueueChange& change);
    [[nodiscard]] bool writeVersion(const Playlist& playlist);
    [[nodiscard]] bool writePlayer(const PlayerState& player);
    [[nodiscard]] bool writeOperation(const Operation& operation);

    const QString m_name = QUuid::createUuid().toString();
    QSqlDatabase m_database;
    std::unique_ptr<Statements> m_statements;
    /// As the file has it.
    PlayerState m_player;
    EntryId m_lastId = 0;
    int m_version = 0;
    qint64 m_lastOperation = 0;
    int m_statementsSinceCheckpoint = 0;
    Problem m_problem = {};
};

QueueStore::Connection::Statements::Statements(const QSqlDatabase& database)
    : begin(database), commit(database), insertEntry(database), deleteEntry(database), deleteEntries(database),
      rankEntry(database), forgetVersions(database), describeEntry(database), writeVersion(database),
      writePlayer(database), insertOperation(database), deleteOperations(database)
{
}

QueueStore::Connection::Connection(const QString& file)
    : m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name))
{
    m_database.setDatabaseName(file);
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=0"));
}

QueueStore::Connection::~Connection()
{
    m_statements.reset();
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_name);
}

bool QueueStore::Connection::open()
{
    if (!m_database.open())
        return fails(problemOf(m_database.lastError()));
    // The lock keeps a second process from answering what this one would overwrite.
    return run(QStringLiteral("PRAGMA locking_mode = EXCLUSIVE")) && check() &&
           run(QStringLiteral("PRAGMA journal_mode = WAL")) && run(QStringLiteral("PRAGMA synchronous = NORMAL")) &&
           run(QStringLiteral("PRAGMA wal_autocheckpoint = 0")) &&
           run(QStringLiteral("PRAGMA journal_size_limit = 4194304")) && migrate() && prepare();
}

bool QueueStore::Connection::check()
{
    const std::optional<QVariant> verdict = value(QStringLiteral("PRAGMA integrity_check(1)"));
    if (!verdict)
        return false;
    if (verdict->toString() != QLatin1String("ok"))
        return fails(damage(verdict->toString()));
    const std::optional<QVariant> tables = value(QStringLiteral("SELECT count(*) FROM sqlite_master"));
    const std::optional<QVariant> owner = value(QStringLiteral("PRAGMA application_id"));
    if (!tables || !owner)
        return false;
    const bool isForeign = tables->toInt() > 0 && owner->toInt() != applicationId;
    return !isForeign || fails(damage(QStringLiteral("it belongs to another program")));
}

bool QueueStore::Connection::migrate()
{
    switch (migrateSchema(m_database, migrations())) {
    case Migration::Done:
        return true;
    case Migration::Newer:
        return fails(damage(QStringLiteral("a newer version of this program has written it")));
    case Migration::Failed:
        break;
    }
    return fails(problemOf(m_database.lastError()));
}

bool QueueStore::Connection::prepare()
{
    m_statements = std::make_unique<Statements>(m_database);
    Statements& s = *m_statements;
    const std::vector<std::pair<QSqlQuery*, QString>> texts = {
        {&s.begin, QStringLiteral("BEGIN")},
        {&s.commit, QStringLiteral("COMMIT")},
        {&s.insertEntry, QStringLiteral("INSERT INTO entries VALUES (?, ?, ?, ?, ?, CAST(? AS TEXT), 0)")},
        {&s.deleteEntry, QStringLiteral("DELETE FROM entries WHERE id = ?")},
        {&s.deleteEntries, QStringLiteral("DELETE FROM entries")},
        {&s.rankEntry, QStringLiteral("UPDATE entries SET rank = ?, version = ? WHERE id = ?")},
        {&s.forgetVersions, QStringLiteral("UPDATE entries SET version = 0")},
        {&s.describeEntry,
         QStringLiteral("UPDATE entries SET title = ?, type = ?, media = CAST(? AS TEXT) WHERE id = ?")},
        {&s.writeVersion, QStringLiteral("UPDATE state SET last_id = ?, version = ?, last_edit = ?")},
        {&s.writePlayer, QStringLiteral("UPDATE state SET current = ?, position = ?, at = ?, serial = ?, volume = ?,"
                                        " repeat = ?, shuffle = ?")},
        {&s.insertOperation, QStringLiteral("INSERT INTO operations VALUES (?, ?, CAST(? AS TEXT))")},
        {&s.deleteOperations, QStringLiteral("DELETE FROM operations WHERE number <= ?")}};
    return std::all_of(texts.cbegin(), texts.cend(), [this](const auto& text) {
        return text.first->prepare(text.second) || fails(problemOf(text.first->lastError()));
    });
}

bool QueueStore::Connection::load(Content& content)
{
    QSqlQuery query(m_database);
    if (!select(
            query, QStringLiteral("SELECT last_id, version, last_edit, current, position, at, serial, volume, repeat,"
                                  " shuffle FROM state")))
        return false;
    if (!query.next())
        return fails(damage(QStringLiteral("it has no state")));
    const EntryId lastId = query.value(0).toLongLong();
    content.version = query.value(1).toInt();
    content.lastEdit = query.value(2).toInt();
    PlayerState& player = content.player;
    if (!query.value(3).isNull())
        player.current = query.value(3).toLongLong();
    player.position = query.value(4).toLongLong();
    player.at = query.value(5).toLongLong();
    player.serial = query.value(6).toLongLong();
    player.volume = std::clamp(query.value(7).toInt(), 0, 100);
    player.repeat = repeatOf(query.value(8).toInt());
    player.shuffle = query.value(9).toBool();
    m_player = storedPart(player);
    const bool isLoaded = loadEntries(content, lastId) && loadOperations(content);
    m_lastId = lastId;
    m_version = content.version;
    return isLoaded;
}

bool QueueStore::Connection::loadEntries(Content& content, EntryId lastId)
{
    QSqlQuery query(m_database);
    if (!select(
            query, QStringLiteral("SELECT rank, id, source, title, type, media, version FROM entries ORDER BY rank")))
        return false;
    std::vector<QueuePlace> places;
    while (query.next()) {
        const qint64 rank = query.value(0).toLongLong();
        const EntryId id = query.value(1).toLongLong();
        if (id < 1 || id > lastId || (!places.empty() && rank <= places.back().rank))
            return fails(damage(QStringLiteral("entry %1 is not in order").arg(id)));
        const QueueItem item{
            query.value(2).toString(), query.value(3).toString(), query.value(4).toString(),
            query.value(5).toByteArray()};
        places.push_back({rank, std::make_shared<const QueueEntry>(QueueEntry{id, item})});
        if (const int version = query.value(6).toInt(); version > content.version)
            content.version = content.lastEdit = version;
    }
    if (query.lastError().isValid())
        return fails(problemOf(query.lastError()));
    content.queue = Queue(std::move(places), lastId);
    return true;
}

bool QueueStore::Connection::loadOperations(Content& content)
{
    QSqlQuery query(m_database);
    if (!select(query, QStringLiteral("SELECT number, operation, answer FROM operations ORDER BY number")))
        return false;
    while (query.next()) {
        m_lastOperation = query.value(0).toLongLong();
        content.operations.push_back(
            {query.value(1).toString(), StoredJson::toValue(query.value(2).toByteArray()).toHash()});
    }
    return !query.lastError().isValid() || fails(problemOf(query.lastError()));
}

bool QueueStore::Connection::save(
    const Playlist& playlist, const QueueChange& change, const std::optional<Operation>& operation)
{
    const PlayerState player = storedPart(playlist.player());
    const bool hasNewPlayer = player != m_player;
    if (change.isEmpty() && !operation && !hasNewPlayer)
        return true;
    const auto writeMovedOnly = [&] { return writeMoved(change, playlist.version()); };
    const auto writeAll = [&] {
        return writeChange(playlist, change) && writeVersion(playlist) && (!hasNewPlayer || writePlayer(player)) &&
               (!operation || writeOperation(*operation));
    };
    const bool isMove = !hasNewPlayer && !operation && isMoveOnly(playlist, change);
    const bool isOneStatement = isMove && change.moved.size() == 1;
    const bool isWritten = isOneStatement ? writeMovedOnly()
                           : isMove       ? inTransaction(writeMovedOnly)
                                          : inTransaction(writeAll);
    if (!isWritten)
        return false;
    m_player = player;
    m_lastId = playlist.queue().lastId();
    m_version = playlist.version();
    m_lastOperation += operation ? 1 : 0;
    return true;
}

template<typename Write>
bool QueueStore::Connection::inTransaction(const Write& write)
{
    if (!run(m_statements->begin, {}))
        return false;
    if (write() && run(m_statements->commit, {}))
        return true;
    // SQLite has rolled back by itself after some errors.
    QSqlQuery(m_database).exec(QStringLiteral("ROLLBACK"));
    return false;
}

bool QueueStore::Connection::isMoveOnly(const Playlist& playlist, const QueueChange& change) const
{
    const bool isMove =
        !change.moved.empty() && change.removed.empty() && change.added.empty() && change.described.empty();
    return isMove && playlist.version() == playlist.lastEdit() && playlist.version() > m_version &&
           playlist.queue().lastId() == m_lastId;
}

bool QueueStore::Connection::writeChange(const Playlist& playlist, const QueueChange& change)
{
    Statements& s = *m_statements;
    const auto insert = [&](const QueuePlace& place) {
        const QueueItem& item = place.entry->item;
        return run(
            s.insertEntry, {place.entry->id, place.rank, notNull(item.source), notNull(item.title), notNull(item.type),
                            item.mediaJson});
    };
    const auto describe = [&](const QueueEntryPointer& entry) {
        const QueueItem& item = entry->item;
        return run(s.describeEntry, {notNull(item.title), notNull(item.type), item.mediaJson, entry->id});
    };
    // Versions begin again at 1 after the highest one.
    const bool isBehind = playlist.version() < m_version;
    return writeRemoved(playlist.queue(), change) && std::all_of(change.added.cbegin(), change.added.cend(), insert) &&
           (!isBehind || run(s.forgetVersions, {})) && writeMoved(change, playlist.version()) &&
           std::all_of(change.described.cbegin(), change.described.cend(), describe);
}

bool QueueStore::Connection::writeMoved(const QueueChange& change, int version)
{
    // In the order of the file, so that each page of it is written once; the last rank of an entry counts.
    std::vector<QueuePlace> moved = change.moved;
    std::stable_sort(
        moved.begin(), moved.end(), [](const QueuePlace& a, const QueuePlace& b) { return a.entry->id < b.entry->id; });
    return std::all_of(moved.cbegin(), moved.cend(), [&](const QueuePlace& place) {
        return run(m_statements->rankEntry, {place.rank, version, place.entry->id});
    });
}

bool QueueStore::Connection::writeRemoved(const Queue& queue, const QueueChange& change)
{
    const bool isEverything = static_cast<std::size_t>(queue.size()) == change.added.size();
    if (isEverything && !change.removed.empty())
        return run(m_statements->deleteEntries, {});
    return std::all_of(change.removed.cbegin(), change.removed.cend(), [this](EntryId id) {
        return run(m_statements->deleteEntry, {id});
    });
}

bool QueueStore::Connection::writeVersion(const Playlist& playlist)
{
    return run(m_statements->writeVersion, {playlist.queue().lastId(), playlist.version(), playlist.lastEdit()});
}

bool QueueStore::Connection::writePlayer(const PlayerState& player)
{
    return run(
        m_statements->writePlayer, {idOrNull(player.current), player.position, player.at, player.serial, player.volume,
                                    static_cast<int>(player.repeat), static_cast<int>(player.shuffle)});
}

bool QueueStore::Connection::writeOperation(const Operation& operation)
{
    const qint64 number = m_lastOperation + 1;
    return run(m_statements->insertOperation, {number, operation.text, StoredJson::fromValue(operation.answer)}) &&
           run(m_statements->deleteOperations, {number - mostOperations});
}

void QueueStore::Connection::checkpoint()
{
    if (m_statementsSinceCheckpoint < statementsPerCheckpoint)
        return;
    m_statementsSinceCheckpoint = 0;
    // After a failure the log has everything still, and the next checkpoint includes it.
    QSqlQuery(m_database).exec(QStringLiteral("PRAGMA wal_checkpoint"));
}

bool QueueStore::Connection::fails(Problem problem)
{
    m_problem = std::move(problem);
    return false;
}

bool QueueStore::Connection::run(const QString& statement)
{
    QSqlQuery query(m_database);
    return query.exec(statement) || fails(problemOf(query.lastError()));
}

bool QueueStore::Connection::run(QSqlQuery& query, const QVariantList& values)
{
    for (int i = 0; i < values.size(); ++i)
        query.bindValue(i, values.at(i));
    const bool isDone = query.exec();
    if (!isDone)
        m_problem = problemOf(query.lastError());
    query.finish();
    ++m_statementsSinceCheckpoint;
    return isDone;
}

bool QueueStore::Connection::select(QSqlQuery& query, const QString& statement)
{
    query.setForwardOnly(true);
    return query.exec(statement) || fails(problemOf(query.lastError()));
}

std::optional<QVariant> QueueStore::Connection::value(const QString& statement)
{
    QSqlQuery query(m_database);
    if (!query.exec(statement) || !query.next()) {
        m_problem = problemOf(query.lastError());
        return std::nullopt;
    }
    return query.value(0);
}

namespace {

/// Renames the file and SQLite's files beside it. False if the file is still there.
bool setAside(const QString& file)
{
    const QString suffix =
        QStringLiteral(".damaged-") + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmsszzz"));
    for (const char* ending : {"-wal", "-shm"}) {
        const QString name = file + QLatin1String(ending);
        QFile::rename(name, file + suffix + QLatin1String(ending));
    }
    return QFile::rename(file, file + suffix);
}

} // namespace

QueueStore::QueueStore(const QString& directory)
{
    if (!directory.isEmpty())
        open(directory);
}

QueueStore::~QueueStore() = default;

void QueueStore::open(const QString& directory)
{
    const QString file = QDir(directory).filePath(QStringLiteral("queue.sqlite"));
    QDir().mkpath(directory);
    for (const bool isFirst : {true, false}) {
        auto connection = std::make_unique<Connection>(file);
        Content content;
        if (connection->open() && connection->load(content)) {
            m_connection = std::move(connection);
            m_content = std::move(content);
            return;
        }
        const Problem problem = connection->problem();
        connection.reset();
        m_failure = problem.text;
        const bool isUseless = problem.isDamage || QFileInfo(file).isDir();
        if (!isFirst || !isUseless || !setAside(file))
            break;
        warn(QStringLiteral("%1 cannot be read and is set aside: %2").arg(file, problem.text));
    }
    warn(QStringLiteral("%1 cannot be used, the queue is not stored: %2").arg(file, m_failure));
}

QueueStore::Content QueueStore::takeContent()
{
    return std::exchange(m_content, {});
}

QString QueueStore::save(const Playlist& playlist, const QueueChange& change, const std::optional<Operation>& operation)
{
    if (!m_connection)
        return m_failure;
    return m_connection->save(playlist, change, operation) ? QString() : m_connection->problem().text;
}

void QueueStore::checkpoint()
{
    if (m_connection)
        m_connection->checkpoint();
}
