#pragma once

#include "remote/serveraddress.h"

#include <QVariant>

#include <utility>

/// Calls the methods of a running server. A call may be made from any thread, which it blocks.
class RpcClient
{
public:
    /// `token`: empty: none.
    RpcClient(ServerAddress server, QByteArray token) : m_server(std::move(server)), m_token(std::move(token)) {}

    [[nodiscard]] const ServerAddress& server() const { return m_server; }

    /// The result, as parseJson() gives it. A failure has what the server says, or why it says nothing.
    [[nodiscard]] Result<QVariant> call(const QString& method, const QVariantHash& parameters = {}) const;

private:
    ServerAddress m_server;
    QByteArray m_token;
};
