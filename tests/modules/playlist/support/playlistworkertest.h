#pragma once

#include "cmplaylistworker.h"
#include "support/scriptedtree.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

extern "C" CMWorker* worker_create(void* host, const QVariantHash& configuration);

/// A client that records its notifications.
class PlaylistClient : public CMChangeReceiver
{
public:
    struct Change
    {
        QString base;
        QStringList changes;
        int version;
    };

    void rowsChanged(const CMPath& path, const QStringList& changes, int version) override
    {
        received.push_back({path.base(), changes, version});
    }

    /// Waits for a notification of the path that came after the last one waited for; its version, 0 if none comes.
    [[nodiscard]] int nextVersion(const QString& base);

    std::vector<Change> received;

private:
    std::size_t m_seen = 0;
};

/// A playlist worker with the prefix "playlist", and a tree with the prefix "music":
///
///     album/ 1 2 3, single, list (a playlist), notes (a file)
class PlaylistWorkerTest : public testing::Test
{
protected:
    PlaylistWorkerTest();
    ~PlaylistWorkerTest() override;

    /// Makes the worker anew, from what was stored.
    void restart();

    [[nodiscard]] CMReply<QVariant> send(const QString& base, const QVariant& value = {}) const;
    /// The answer of a command that succeeds.
    QVariantHash set(const char* base, const QVariant& value = {}) const;
    /// The name of the error in which the command ends; empty if it succeeds.
    [[nodiscard]] std::string errorOf(const QString& base, const QVariant& value = {}) const;

    [[nodiscard]] TavoRowsRoles
    rows(const QString& base = {}, const QStringList& roles = {TavoRoles::Title()}, int version = 0) const;
    /// The values of one role of the queue's rows.
    [[nodiscard]] QVariantList column(const QString& role) const;
    [[nodiscard]] QStringList sources() const;
    /// The numbers in the rows' paths.
    [[nodiscard]] std::vector<qint64> ids() const;
    [[nodiscard]] QVariantHash player() const;
    [[nodiscard]] std::string stateOfPlayer() const;
    [[nodiscard]] int version() const { return rows().rowsVersion(); }

    [[nodiscard]] bool open(const char* base) { return worker->connectChange(path(base), &client); }
    void close(const char* base) { worker->disconnectChange(path(base), &client); }
    /// Opens the output and waits until the player may use it.
    void offer(const char* name);
    [[nodiscard]] static CMPath path(const char* base) { return {QStringLiteral("playlist"), QString::fromUtf8(base)}; }

    [[nodiscard]] bool waitUntilPrepared() const;

    QTemporaryDir state;
    ScriptedTree music;
    PlaylistClient client;
    std::unique_ptr<CMWorker> worker;
};

/// A path of the tree.
[[nodiscard]] QString source(const char* base);
