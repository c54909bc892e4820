#include "peers/sqlite.h"

#include "support/race.h"

#include <sqlite3.h>

namespace {

/// From one moved track to the next: they are all over the file.
constexpr int distance = 7919;

} // namespace

BareSqlite::BareSqlite(const std::string& file, int tracks) : m_tracks(tracks)
{
    sqlite3* connection = nullptr;
    const int result = sqlite3_open(file.c_str(), &connection);
    m_connection.reset(connection);
    require(result == SQLITE_OK, "cannot open the floor's database");
    run("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;"
        "CREATE TABLE entries (id INTEGER PRIMARY KEY, rank INTEGER NOT NULL, media TEXT)");
    const std::string fill = "WITH RECURSIVE number(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM number LIMIT " +
                             std::to_string(tracks) +
                             ") INSERT INTO entries SELECT n, n << 32, printf('%300d', n) FROM number";
    run(fill.c_str());
    m_begin = prepared("BEGIN");
    m_update = prepared("UPDATE entries SET rank = ? WHERE id = ?");
    m_commit = prepared("COMMIT");
}

BareSqlite::~BareSqlite() = default;

void BareSqlite::moveOne()
{
    ++m_moves;
    step(m_begin.get());
    sqlite3_bind_int64(m_update.get(), 1, m_moves);
    sqlite3_bind_int64(m_update.get(), 2, 1 + sqlite3_int64{m_moves} * distance % m_tracks);
    step(m_update.get());
    step(m_commit.get());
}

void BareSqlite::Closer::operator()(sqlite3* connection) const
{
    sqlite3_close(connection);
}

void BareSqlite::Closer::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

void BareSqlite::run(const char* statements) const
{
    require(
        sqlite3_exec(m_connection.get(), statements, nullptr, nullptr, nullptr) == SQLITE_OK,
        "the floor's database refuses a statement");
}

BareSqlite::Statement BareSqlite::prepared(const char* statement) const
{
    sqlite3_stmt* prepared = nullptr;
    require(
        sqlite3_prepare_v2(m_connection.get(), statement, -1, &prepared, nullptr) == SQLITE_OK,
        "the floor's database does not understand a statement");
    return Statement(prepared);
}

void BareSqlite::step(sqlite3_stmt* statement)
{
    require(sqlite3_step(statement) == SQLITE_DONE, "the floor's transaction failed");
    sqlite3_reset(statement);
}
