#pragma once

#include "http/access.h"
#include "http/answer.h"
#include "http/metrics.h"
#include "media/coverstore.h"
#include "rpc/dispatcher.h"

#include <functional>
#include <map>
#include <memory>
#include <variant>

class KeptFiles;

/// A request that has been read, and that the server serves.
struct HttpRequest
{
    RequestHead head;
    Route route;
    Connection ends;
    /// Of a POST.
    QByteArray body = {};
};

/// Answers all requests except those for a WebSocket. In the I/O thread, which it never blocks.
class RequestHandler
{
public:
    /// Gets the answer, in any thread. Must not block. A request that takes too long is refused while it still runs,
    /// and may have a second answer then; the first counts.
    using Receive = std::function<void(Answer)>;
    /// Its destruction cancels the request, whose answer may still come. Null: the request cannot be cancelled.
    using UnderWay = std::shared_ptr<void>;

    struct Parts
    {
        Services services;
        AccessPolicy& access;
        Metrics& metrics;
        CoverStore& covers;
        KeptFiles& files;
        /// Called after a session has ended.
        std::function<void()> sessionEnded;
    };

    /// The parts must outlive the handler.
    explicit RequestHandler(Parts parts) : m_parts(std::move(parts)) {}

    /// Returns the answer if nothing has to wait for it. Otherwise `receive` gets it, perhaps before this returns.
    [[nodiscard]] std::variant<Answer, UnderWay> handle(const HttpRequest& request, const Receive& receive);

private:
    [[nodiscard]] std::variant<Answer, UnderWay> handleMedia(const HttpRequest& request, const Receive& receive);
    [[nodiscard]] std::shared_ptr<RequestExecutor::Client> mediaClient(const QString& prefix);
    [[nodiscard]] std::variant<Answer, UnderWay> handleRpc(const HttpRequest& request, const Receive& receive);
    void handleCover(const HttpRequest& request, const Receive& receive);
    [[nodiscard]] Response health() const;
    [[nodiscard]] Response metrics() const;
    [[nodiscard]] Response logIn(const HttpRequest& request);
    [[nodiscard]] Response logOut(const HttpRequest& request);

    const Parts m_parts;
    /// By prefix. A client lives as long as its requests.
    std::map<QString, std::weak_ptr<RequestExecutor::Client>> m_mediaClients;
};
