#pragma once

#include "content/result.h"
#include "http/ipaddress.h"

#include <QByteArray>
#include <QString>

/// Where the server listens.
struct ListenAddress
{
    IpAddress address = {};
    /// 0: the system chooses one.
    quint16 port = 0;

    /// `text`: ADDRESS:PORT; an IPv6 address is in brackets.
    [[nodiscard]] static Result<ListenAddress> fromText(const QString& text);
    /// In the form that fromText() reads.
    [[nodiscard]] QByteArray toText() const;
};
