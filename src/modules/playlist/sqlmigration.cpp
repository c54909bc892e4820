#include "sqlmigration.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>

namespace {

bool run(QSqlDatabase& database, const QString& statement)
{
    return !database.exec(statement).lastError().isValid();
}

bool runStep(QSqlDatabase& database, const QStringList& step)
{
    return std::all_of(
        step.cbegin(), step.cend(), [&database](const QString& statement) { return run(database, statement); });
}

} // namespace

Migration migrateSchema(QSqlDatabase& database, const std::vector<QStringList>& steps)
{
    QSqlQuery version = database.exec(QStringLiteral("PRAGMA user_version"));
    if (!version.next())
        return Migration::Failed;
    const auto seen = version.value(0).toUInt();
    version.finish();
    if (seen >= steps.size())
        return seen == steps.size() ? Migration::Done : Migration::Newer;

    if (!database.transaction())
        return Migration::Failed;
    const auto runThis = [&database](const QStringList& step) { return runStep(database, step); };
    const bool isRun = std::all_of(steps.cbegin() + seen, steps.cend(), runThis) &&
                       run(database, QStringLiteral("PRAGMA user_version = %1").arg(steps.size()));
    if (isRun && database.commit())
        return Migration::Done;
    (void)database.rollback();
    return Migration::Failed;
}
