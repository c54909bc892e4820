#include "http/requesthandler.h"

#include "content/contenthost.h"
#include "http/acceptlanguage.h"
#include "http/conditions.h"
#include "http/keptfiles.h"
#include "http/mediaresponse.h"
#include "http/pageassets.h"
#include "http/rpccall.h"
#include "liveness/kernelevents.h"
#include "rpc/jsonparser.h"

#include <model/cmrequestcontext.h>
#include <tavo/tavojson.h>

#include <iterator>
#include <utility>
#include <variant>

namespace {

const QByteArray jsonType = "application/json";

Response coverResponse(const RequestHead& head, const std::optional<Cover>& cover)
{
    if (!cover)
        return makeResponse(Refusal{404});
    const bool isKnown = isNotModified(head, {cover->etag});
    Response response{ResponseHead(isKnown ? 304 : 200)};
    response.head.set("ETag", cover->etag).set("Cache-Control", "no-cache");
    if (isKnown)
        return response;
    response.body = cover->data;
    response.head.set("Content-Type", cover->mimeType).setLength(response.body.size());
    return response;
}

/// The text of the member `token` of an object; nothing if there is none.
std::optional<QByteArray> tokenIn(const QByteArray& body)
{
    const std::variant<QVariant, JsonProblem> parsed = parseJson(body);
    const auto* const value = std::get_if<QVariant>(&parsed);
    const QVariant token = value ? value->toMap().value(QStringLiteral("token")) : QVariant();
    if (token.userType() != QMetaType::QString)
        return std::nullopt;
    return token.toString().toUtf8();
}

/// Null if there is none.
SharedMediaFile openFile(const MediaLibrary& library, KeptFiles& files, const Route& route)
{
    std::optional<MediaFile> opened = library.open(route.prefix, route.base);
    if (!opened)
        return nullptr;
    auto file = std::make_shared<const MediaFile>(*std::move(opened));
    files.keep(route.prefix, route.base, file);
    return file;
}

} // namespace

std::variant<Answer, RequestHandler::UnderWay>
RequestHandler::handle(const HttpRequest& request, const Receive& receive)
{
    switch (request.route.kind) {
    case Route::Kind::Page:
        return servePage(request.head, request.route.asset);
    case Route::Kind::Rpc:
        return handleRpc(request, receive);
    case Route::Kind::Media:
        return handleMedia(request, receive);
    case Route::Kind::Cover:
        handleCover(request, receive);
        return UnderWay();
    case Route::Kind::Health:
        return health();
    case Route::Kind::Metrics:
        return metrics();
    case Route::Kind::Login:
        return logIn(request);
    case Route::Kind::Logout:
        return logOut(request);
    case Route::Kind::Session:
        break;
    }
    return makeResponse(Refusal{426, {{"Upgrade", "websocket"}}});
}

std::variant<Answer, RequestHandler::UnderWay>
RequestHandler::handleMedia(const HttpRequest& request, const Receive& receive)
{
    const Route& route = request.route;
    if (const SharedMediaFile file = m_parts.files.find(route.prefix, route.base))
        return mediaAnswer(request.head, file);
    RequestExecutor::Job job;
    job.root = m_parts.services.host.knownPrefix(route.prefix);
    job.context = std::make_shared<CMRequestContext>();
    const std::shared_ptr<RequestExecutor::Client> client = mediaClient(route.prefix);
    job.run = [library = MediaLibrary(m_parts.services.host), files = &m_parts.files, request, receive,
               client](const RequestExecutor::Slot& /*slot*/) {
        if (CMRequestContext::current()->isCancelled())
            receive(makeResponse(Refusal{503}));
        else
            receive(mediaAnswer(request.head, openFile(library, *files, request.route)));
    };
    job.refuse = [receive](RequestExecutor::Refusal /*reason*/) { receive(makeResponse(Refusal{503})); };
    const std::shared_ptr<CMRequestContext> context = job.context;
    m_parts.services.executor.submit(client, std::move(job));
    return UnderWay(context.get(), [context](void*) { context->cancel(); });
}

/// All requests for a root share a client, so that a slow root takes no more than one client's threads.
std::shared_ptr<RequestExecutor::Client> RequestHandler::mediaClient(const QString& prefix)
{
    for (auto client = m_mediaClients.begin(); client != m_mediaClients.end();)
        client = client->second.expired() ? m_mediaClients.erase(client) : std::next(client);
    std::shared_ptr<RequestExecutor::Client> client = m_mediaClients[prefix].lock();
    if (!client)
        m_mediaClients[prefix] = client = m_parts.services.executor.addClient();
    return client;
}

std::variant<Answer, RequestHandler::UnderWay>
RequestHandler::handleRpc(const HttpRequest& request, const Receive& receive)
{
    if (!hasJsonBody(request.head))
        return makeResponse(Refusal{415});
    const auto respond = [receive](const std::optional<QByteArray>& answer) {
        receive(answer ? makeResponse(200, jsonType, *answer) : makeEmptyResponse());
    };
    const auto refused = [metrics = &m_parts.metrics] { metrics->messageRefused(); };
    return RpcCall::start(m_parts.services, {acceptedLanguage(request.head), refused}, request.body, respond);
}

void RequestHandler::handleCover(const HttpRequest& request, const Receive& receive)
{
    const Route& route = request.route;
    m_parts.covers.find(
        {route.prefix, route.base, route.width},
        [head = request.head, receive](const std::optional<Cover>& cover) { receive(coverResponse(head, cover)); });
}

Response RequestHandler::health() const
{
    const QVariantHash fields{
        {QStringLiteral("status"), QStringLiteral("ok")}, {QStringLiteral("token"), m_parts.access.needsToken()}};
    return makeResponse(200, jsonType, *TavoJson::write(fields));
}

Response RequestHandler::metrics() const
{
    Metrics::Content content;
    content.listings = m_parts.services.sharedListings.listings();
    content.openPaths = m_parts.services.host.openPaths();
    content.watches = ownWatches();
    return makeResponse(200, "text/plain; version=0.0.4; charset=utf-8", m_parts.metrics.toText(content));
}

Response RequestHandler::logIn(const HttpRequest& request)
{
    if (!hasJsonBody(request.head))
        return makeResponse(Refusal{415});
    const std::optional<QByteArray> token = tokenIn(request.body);
    if (!token)
        return makeResponse(Refusal{400});
    const auto now = std::chrono::steady_clock::now();
    const std::variant<QByteArray, Refusal> cookie = m_parts.access.logIn(*token, request.head, request.ends, now);
    if (const auto* refusal = std::get_if<Refusal>(&cookie))
        return makeResponse(*refusal);
    Response response = makeEmptyResponse();
    response.head.set("Set-Cookie", std::get<QByteArray>(cookie));
    return response;
}

Response RequestHandler::logOut(const HttpRequest& request)
{
    Response response = makeEmptyResponse();
    response.head.set("Set-Cookie", m_parts.access.logOut(request.head));
    m_parts.sessionEnded();
    return response;
}
