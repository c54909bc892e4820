#pragma once

#include <QStringList>

#include <vector>

class QSqlDatabase;

enum class Migration {
    Done,
    /// The database was made by more steps than there are.
    Newer,
    /// The database is as it was; its lastError() says why.
    Failed
};

/// Brings the schema up to date: runs the steps that the database has not seen, in one transaction. The number of steps
/// that it has seen is its user_version. A step is a list of statements.
[[nodiscard]] Migration migrateSchema(QSqlDatabase& database, const std::vector<QStringList>& steps);
