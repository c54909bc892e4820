#pragma once

#include "remote/serveraddress.h"

#include <QVariant>

#include <chrono>
#include <utility>

/// Calls the methods of a running server. A call may be made from any thread, which it blocks.
class RpcClient
{
public:
    /// The name of the failure if the server needs a token, or another one.
    static constexpr char unauthorized[] = "unauthorized";

    /// `token`: empty: none. `patience` is long, since a server may have to walk through a large tree.
    RpcClient(ServerAddress server, QByteArray token, std::chrono::milliseconds patience = std::chrono::minutes(10))
        : m_server(std::move(server)), m_token(std::move(token)), m_patience(patience)
    {
    }

    [[nodiscard]] const ServerAddress& server() const { return m_server; }

    /// The result, as parseJson() returns it. A failure has the server's message, or says why there is none.
    [[nodiscard]] Result<QVariant> call(const QString& method, const QVariantHash& parameters = {}) const;

private:
    ServerAddress m_server;
    QByteArray m_token;
    std::chrono::milliseconds m_patience;
};
