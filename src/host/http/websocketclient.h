#pragma once

#include "http/access.h"
#include "http/connectiontable.h"
#include "http/serverparts.h"
#include "process/filedescriptor.h"

class TrLanguage;

/// A request for a WebSocket that has been checked, but not answered.
struct WebSocketOpening
{
    FileDescriptor socket;
    /// Whether the socket's addresses are IPv4.
    bool isV4 = true;
    /// The value of Sec-WebSocket-Key.
    QByteArray key;
    Credential credential;
    /// The language of the client's texts; null: the application's.
    const TrLanguage* language = nullptr;
};

/// Accepts the WebSocket and serves its client, which speaks the session's protocol, until it ends. In the I/O thread.
/// `place`: kept as long as the connection.
void serveWebSocket(const ServerParts& parts, WebSocketOpening opening, ConnectionTable::Place place);
