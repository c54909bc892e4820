#pragma once

#include "doctor/finding.h"
#include "http/listenaddress.h"

/// The settings with which a server is to be started.
struct ServerPlan
{
    std::vector<ListenAddress> addresses;
    /// Empty: none.
    QString tokenFile;
    /// Whether clients need a token, be it from the file or one that the server makes.
    bool needsToken = false;
    /// Whether it may serve a network without a token.
    bool allowsAnybody = false;
    QString stateDirectory;
};

/// Tries what a server does when it starts, and leaves nothing behind. An address where a tavo serves already is no
/// finding.
[[nodiscard]] Findings checkServer(const ServerPlan& plan);

/// `freeBytes`: free space in the file system of the state directory.
[[nodiscard]] Findings checkRoom(const QString& stateDirectory, qint64 freeBytes);
