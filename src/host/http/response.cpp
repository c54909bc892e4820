#include "http/response.h"

#include "media/httpdate.h"

#include <algorithm>

namespace {

const QByteArray contentSecurityPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; media-src 'self'; connect-src 'self'; "
    "manifest-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'self'; "
    "require-trusted-types-for 'script'";

/// In every response.
const QByteArray protection = "X-Content-Type-Options: nosniff\r\n"
                              "Referrer-Policy: no-referrer\r\n"
                              "Cross-Origin-Opener-Policy: same-origin\r\n"
                              "Cross-Origin-Resource-Policy: same-origin\r\n"
                              "Content-Security-Policy: " +
                              contentSecurityPolicy + "\r\n";

QByteArray reasonOf(int status)
{
    switch (status) {
    case 101:
        return "Switching Protocols";
    case 200:
        return "OK";
    case 204:
        return "No Content";
    case 206:
        return "Partial Content";
    case 304:
        return "Not Modified";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 411:
        return "Length Required";
    case 413:
        return "Content Too Large";
    case 415:
        return "Unsupported Media Type";
    case 416:
        return "Range Not Satisfiable";
    case 421:
        return "Misdirected Request";
    case 426:
        return "Upgrade Required";
    case 429:
        return "Too Many Requests";
    case 431:
        return "Request Header Fields Too Large";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Unknown";
    }
}

QByteArray onOneLine(QByteArray value)
{
    const auto isControl = [](unsigned char character) { return character < ' ' || character == '\x7F'; };
    std::replace_if(value.begin(), value.end(), isControl, ' ');
    return value;
}

} // namespace

ResponseHead& ResponseHead::set(const QByteArray& name, const QByteArray& value)
{
    const auto hasName = [&name](const HeaderField& field) {
        return field.name.compare(name, Qt::CaseInsensitive) == 0;
    };
    const auto field = std::find_if(m_fields.begin(), m_fields.end(), hasName);
    if (field == m_fields.end())
        m_fields.push_back({name, onOneLine(value)});
    else
        field->value = onOneLine(value);
    return *this;
}

ResponseHead& ResponseHead::setLength(qint64 bytes)
{
    return set("Content-Length", QByteArray::number(bytes));
}

QByteArray ResponseHead::toText(std::time_t now) const
{
    constexpr int usualSize = 1024;
    QByteArray text;
    text.reserve(usualSize);
    text.append("HTTP/1.1 ").append(QByteArray::number(m_status)).append(' ').append(reasonOf(m_status)).append("\r\n");
    text.append("Date: ").append(toHttpDate(now)).append("\r\n");
    for (const HeaderField& field : m_fields)
        text.append(field.name).append(": ").append(field.value).append("\r\n");
    return text.append(protection).append("\r\n");
}

Response makeResponse(int status, const QByteArray& type, const QByteArray& body)
{
    Response response{ResponseHead(status), body};
    response.head.set("Content-Type", type).set("Cache-Control", "no-store").setLength(body.size());
    return response;
}

Response makeEmptyResponse()
{
    Response response{ResponseHead(204)};
    response.head.set("Cache-Control", "no-store");
    return response;
}

Response makeResponse(const Refusal& refusal)
{
    Response response = makeResponse(refusal.status, "text/plain; charset=utf-8", reasonOf(refusal.status) + '\n');
    for (const HeaderField& field : refusal.fields)
        response.head.set(field.name, field.value);
    return response;
}
