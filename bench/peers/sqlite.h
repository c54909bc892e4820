#pragma once

#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

/// A table of tracks, in a file that SQLite writes ahead, each of which can be moved in a transaction of its own.
class BareSqlite
{
public:
    /// `file` does not exist yet.
    BareSqlite(const std::string& file, int tracks);
    ~BareSqlite();
    BareSqlite(const BareSqlite&) = delete;
    BareSqlite& operator=(const BareSqlite&) = delete;

    /// Gives another track a new rank.
    void moveOne();

private:
    struct Closer
    {
        void operator()(sqlite3* connection) const;
        void operator()(sqlite3_stmt* statement) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

    void run(const char* statements) const;
    [[nodiscard]] Statement prepared(const char* statement) const;
    static void step(sqlite3_stmt* statement);

    std::unique_ptr<sqlite3, Closer> m_connection;
    Statement m_begin;
    Statement m_update;
    Statement m_commit;
    int m_tracks;
    int m_moves = 0;
};
