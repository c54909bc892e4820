#pragma once

#include "content/result.h"

#include <QByteArray>
#include <QString>

/// Where a server is reached.
struct ServerAddress
{
    /// A name or an IP address, without brackets.
    QByteArray host;
    quint16 port = 0;
    /// The path at which a proxy serves it, encoded, without a slash at its end; else empty.
    QByteArray folder;

    /// `url`: http://HOST[:PORT][/FOLDER]
    [[nodiscard]] static Result<ServerAddress> fromUrl(const QString& url);
    /// In the form that fromUrl() reads.
    [[nodiscard]] QString toUrl() const;
    /// The value of the field Host in requests to the server.
    [[nodiscard]] QByteArray hostField() const;
};
