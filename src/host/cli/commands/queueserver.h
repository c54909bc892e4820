#pragma once

#include "cli/options.h"
#include "content/content.h"
#include "remote/rpcclient.h"

#include <QCommandLineParser>

/// The options that name a server.
[[nodiscard]] OptionList serverOptions();

/// The queue and the player of a running server. A base names a part of them, as in "player/pause".
class QueueServer
{
public:
    /// The server that the options name, or else the environment. Fails if none answers there, or if it has no queue.
    [[nodiscard]] static Result<QueueServer> find(const QCommandLineParser& parser);

    /// The path that a person means: an encoded path as rows have it, ID:PATH, or, at a server with one root, a path
    /// relative to that.
    [[nodiscard]] Result<CMPath> pathFrom(const QString& argument) const;

    /// The answer, mostly an object. `missing`: why the server has no such item, marked for
    /// translation.
    [[nodiscard]] Result<QVariant> set(const QString& base, const QVariant& value, const char* missing) const;
    [[nodiscard]] Result<QVariantList> data(const QString& base, const QStringList& roles) const;
    /// All rows.
    [[nodiscard]] Result<Content::Page> rows(const QString& base, const QStringList& roles) const;

    /// The player's state.
    [[nodiscard]] Result<QVariantMap> player() const;

private:
    explicit QueueServer(RpcClient client) : m_client(std::move(client)) {}

    [[nodiscard]] Result<void> describe();
    [[nodiscard]] Result<Content::Page> page(const Content::RowsQuery& query) const;

    RpcClient m_client;
    /// The prefixes of its trees of files, and of its queue.
    QStringList m_rootIds;
    QString m_queueId;
};
