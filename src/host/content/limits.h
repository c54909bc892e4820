#pragma once

#include <QtGlobal>

#include <limits>

/// How much a client may ask for at a time.
struct Limits
{
    /// Values in an answer with rows: rows times roles.
    int values = 100'000;
    /// Paths in the value of a set request.
    int items = 1000;
    /// Open paths of one client.
    int openPaths = 1000;
    /// Bytes of a message to the host.
    int message = 1024 * 1024;
    /// Bytes of an answer's text.
    qint64 answer = qint64{16} * 1024 * 1024;

    /// For commands, which work for the person who started the program.
    [[nodiscard]] static Limits none()
    {
        constexpr int any = std::numeric_limits<int>::max();
        return {any, any, any, any, std::numeric_limits<int>::max()};
    }
};

/// Where a client's answers end up.
enum class Reach {
    /// On this machine: answers may name its files.
    Local,
    /// In a network: no answer has a path of the local file system, and nothing hidden or outside the roots is served.
    Network
};
