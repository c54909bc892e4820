#include "remote/httppost.h"

#include "language/programlanguage.h"
#include "language/translatable.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>

#include <string>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace {

using Tcp = asio::ip::tcp;
using Stream = beast::basic_stream<Tcp, asio::io_context::executor_type, beast::unlimited_rate_policy>;
using Parser = http::response_parser<http::string_body>;
using ErrorCode = boost::system::error_code;

constexpr std::chrono::seconds connectLimit(10);
constexpr std::uint64_t longestReply = std::uint64_t{64} * 1024 * 1024;

QByteArray bytes(boost::string_view text)
{
    return {text.data(), static_cast<int>(text.size())};
}

QByteArray requestText(const HttpPost& post)
{
    QByteArray text = "POST " + post.server.folder + post.path + " HTTP/1.1\r\nHost: " + post.server.hostField() +
                      "\r\nContent-Type: application/json\r\nAccept-Language: " + shownLanguage() +
                      "\r\nConnection: close\r\nContent-Length: " + QByteArray::number(post.body.size()) + "\r\n";
    if (!post.token.isEmpty())
        text += "Authorization: Bearer " + post.token + "\r\n";
    return text + "\r\n" + post.body;
}

/// A connection whose functions wait.
class Connection
{
public:
    [[nodiscard]] ErrorCode open(const ServerAddress& server)
    {
        ErrorCode error;
        Tcp::resolver resolver(m_context);
        const auto addresses = resolver.resolve(server.host.toStdString(), std::to_string(server.port), error);
        if (error)
            return error;
        return await(connectLimit, [&](auto handler) { m_stream.async_connect(addresses, handler); });
    }

    [[nodiscard]] ErrorCode write(const QByteArray& text, std::chrono::milliseconds limit)
    {
        const auto buffer = asio::buffer(text.constData(), static_cast<std::size_t>(text.size()));
        return await(limit, [&](auto handler) { asio::async_write(m_stream, buffer, handler); });
    }

    [[nodiscard]] ErrorCode read(Parser& parser, std::chrono::milliseconds limit)
    {
        return await(limit, [&](auto handler) { http::async_read(m_stream, m_buffer, parser, handler); });
    }

private:
    /// Calls `start` with the handler of an operation, and waits for that.
    template<typename Start>
    [[nodiscard]] ErrorCode await(std::chrono::milliseconds limit, const Start& start)
    {
        ErrorCode result;
        m_stream.expires_after(limit);
        start([&result](const ErrorCode& error, const auto& /*outcome*/) { result = error; });
        m_context.restart();
        m_context.run();
        return result;
    }

    asio::io_context m_context{1};
    Stream m_stream{m_context};
    beast::flat_buffer m_buffer;
};

Failure unanswered(const char* message, const ServerAddress& server, const ErrorCode& error)
{
    const QString reason = error == beast::error::timeout ? translated(QT_TRANSLATE_NOOP("Host", "timed out"))
                                                          : QString::fromStdString(error.message());
    return {Failure::Kind::Unanswered, translatable(message, {server.toUrl(), reason})};
}

} // namespace

Result<HttpPost::Reply> HttpPost::send(std::chrono::milliseconds patience) const
{
    Connection connection;
    if (const ErrorCode error = connection.open(server))
        return unanswered(
            QT_TRANSLATE_NOOP("Host", "no server answers at %1 (%2): 'tavo serve' starts one"), server, error);
    Parser parser;
    parser.body_limit(longestReply);
    ErrorCode error = connection.write(requestText(*this), patience);
    if (!error)
        error = connection.read(parser, patience);
    if (error)
        return unanswered(QT_TRANSLATE_NOOP("Host", "the server at %1 gives no answer (%2)"), server, error);
    const auto& reply = parser.get();
    return Reply{static_cast<int>(reply.result_int()), bytes(reply.reason()), bytes(reply.body())};
}
