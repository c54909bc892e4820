#pragma once

#include "process/filedescriptor.h"

#include <QByteArray>

#include <vector>

/// The service manager that has started the process, if one has. It speaks systemd's protocols.
namespace ServiceManager {

/// The sockets that it has opened for this process. They are given once, and child processes do not get them.
[[nodiscard]] std::vector<FileDescriptor> takeSockets();

/// Sends it a state, such as "READY=1".
void notify(const QByteArray& state);

} // namespace ServiceManager
