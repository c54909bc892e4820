#pragma once

#include "http/access.h"
#include "http/connectiontable.h"
#include "http/serverparts.h"
#include "process/filedescriptor.h"

/// Serves the requests of a connection, one after the other, until it ends. In the I/O thread. `place`: kept as long as
/// the connection.
void serveHttp(const ServerParts& parts, FileDescriptor socket, const Connection& ends, ConnectionTable::Place place);
