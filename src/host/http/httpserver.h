#pragma once

#include "content/result.h"
#include "http/access.h"
#include "http/listeningsocket.h"
#include "http/servertimes.h"
#include "rpc/dispatcher.h"

#include <chrono>
#include <memory>
#include <vector>

/// Serves the page, the session's protocol and the media files of the host over HTTP.
class HttpServer
{
public:
    struct Settings
    {
        std::vector<ListeningSocket> sockets;
        /// Whether a token is needed depends on `tokenFile` alone.
        AccessSettings access = {};
        /// Empty: no token is needed.
        QString tokenFile = {};
        /// For scaled covers.
        QString stateDirectory = {};
        ServerTimes times = {};
        /// Bytes of answers and messages that may wait for all clients together.
        qint64 mostPending = qint64{256} << 20;
    };

    /// Fails if the token cannot be read. The services must outlive the server.
    [[nodiscard]] static Result<std::unique_ptr<HttpServer>> start(const Services& services, Settings settings);
    /// Ends all connections at once. Waits for threads that wait for the disk; call stop() before.
    ~HttpServer();
    Q_DISABLE_COPY_MOVE(HttpServer)

    /// Accepts no connection any more.
    void stopAccepting();
    /// Ends all connections; the clients have `patience` to read the pending output. False if a thread still waits for
    /// the disk after that: the destructor would wait for it.
    [[nodiscard]] bool stop(std::chrono::milliseconds patience);

private:
    class State;
    explicit HttpServer(std::unique_ptr<State> state);

    std::unique_ptr<State> m_state;
};
