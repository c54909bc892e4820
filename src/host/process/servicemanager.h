#pragma once

#include "process/filedescriptor.h"

#include <QByteArray>

#include <chrono>
#include <optional>
#include <vector>

/// The service manager that has started the process, if one has. It speaks systemd's protocols.
namespace ServiceManager {

/// The sockets that it has opened for this process. They are given once, and child processes do not get them.
[[nodiscard]] std::vector<FileDescriptor> takeSockets();

/// It ends the process when no "WATCHDOG=1" comes for so long. None if it does not watch this process.
[[nodiscard]] std::optional<std::chrono::milliseconds> watchdogTimeout();

/// Sends it a state, such as "READY=1".
void notify(const QByteArray& state);

} // namespace ServiceManager
