#pragma once

#include "playlist.h"
#include "queuestore.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

inline QString databaseIn(const QString& directory)
{
    return directory + QStringLiteral("/queue.sqlite");
}

/// Runs the statements on the file with a connection of its own.
inline void runSql(const QString& file, const QStringList& statements)
{
    const QString name = QStringLiteral("test");
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(file);
        if (!database.open())
            qFatal("cannot open the database");
        for (const QString& statement : statements) {
            QSqlQuery query(database);
            if (!query.exec(statement))
                qFatal("cannot run %s", qPrintable(statement));
        }
    }
    QSqlDatabase::removeDatabase(name);
}

inline void expectSameQueues(const Queue& a, const Queue& b)
{
    ASSERT_EQ(a.ids(), b.ids());
    EXPECT_EQ(a.lastId(), b.lastId());
    for (int i = 0; i < a.size(); ++i)
        EXPECT_EQ(a.at(i).item, b.at(i).item) << "entry " << a.at(i).id;
}
