#include "sqlmigration.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include <gtest/gtest.h>

#include <vector>

namespace {

const QStringList makeTable = {
    QStringLiteral("CREATE TABLE track (name TEXT)"), QStringLiteral("INSERT INTO track VALUES ('Perigee')")};
const QStringList addColumn = {QStringLiteral("ALTER TABLE track ADD COLUMN length INTEGER NOT NULL DEFAULT 7")};
const QStringList fail = {QStringLiteral("DELETE FROM track"), QStringLiteral("DROP TABLE nothing")};

class SqlMigration : public testing::Test
{
protected:
    SqlMigration()
    {
        m_database.setDatabaseName(QStringLiteral(":memory:"));
        EXPECT_TRUE(m_database.open());
    }
    ~SqlMigration() override
    {
        m_database = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("migrated"));
    }

    [[nodiscard]] QVariant value(const QString& statement)
    {
        QSqlQuery query(m_database);
        return query.exec(statement) && query.next() ? query.value(0) : QVariant();
    }
    [[nodiscard]] int version() { return value(QStringLiteral("PRAGMA user_version")).toInt(); }

    QSqlDatabase m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("migrated"));
};

TEST_F(SqlMigration, RunsTheStepsThatAreMissing)
{
    EXPECT_EQ(migrateSchema(m_database, {makeTable}), Migration::Done);
    EXPECT_EQ(version(), 1);
    EXPECT_EQ(migrateSchema(m_database, {makeTable, addColumn}), Migration::Done);
    EXPECT_EQ(version(), 2);
    EXPECT_EQ(value(QStringLiteral("SELECT length FROM track WHERE name = 'Perigee'")).toInt(), 7);
}

TEST_F(SqlMigration, DoesNothingIfNoStepIsMissing)
{
    ASSERT_EQ(migrateSchema(m_database, {makeTable}), Migration::Done);
    EXPECT_EQ(migrateSchema(m_database, {makeTable}), Migration::Done);
    EXPECT_EQ(value(QStringLiteral("SELECT count(*) FROM track")).toInt(), 1);
}

TEST_F(SqlMigration, LeavesANewerDatabaseAlone)
{
    ASSERT_EQ(migrateSchema(m_database, {makeTable, addColumn}), Migration::Done);
    EXPECT_EQ(migrateSchema(m_database, {makeTable}), Migration::Newer);
    EXPECT_EQ(version(), 2);
}

TEST_F(SqlMigration, IsAllOrNothing)
{
    ASSERT_EQ(migrateSchema(m_database, {makeTable}), Migration::Done);
    EXPECT_EQ(migrateSchema(m_database, {makeTable, addColumn, fail}), Migration::Failed);
    EXPECT_EQ(version(), 1);
    EXPECT_EQ(value(QStringLiteral("SELECT count(*) FROM track")).toInt(), 1);
    EXPECT_FALSE(value(QStringLiteral("SELECT length FROM track")).isValid());
}

} // namespace
