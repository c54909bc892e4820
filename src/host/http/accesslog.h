#pragma once

#include "http/ipaddress.h"
#include "http/requesthead.h"

#include <QByteArray>

#include <chrono>

/// A request that has been answered.
struct Access
{
    /// Empty if no request could be read.
    QByteArray method;
    /// As sent.
    QByteArray target;
    int status = 0;
    /// Of the body.
    qint64 bytes = 0;
    std::chrono::steady_clock::duration duration = {};
    IpAddress client;
};

/// The line of the log: method, path, status, bytes, milliseconds, client. Printable ASCII. The query is left out.
[[nodiscard]] QByteArray accessLine(const Access& access);
