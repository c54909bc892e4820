#pragma once

#include "http/requesthead.h"
#include "http/router.h"

#include <QByteArray>

#include <ctime>
#include <vector>

/// The head of a response, as text on its way to the client. Every head has the fields that keep a browser from
/// running, guessing or leaking anything: Content-Security-Policy and the like.
class ResponseHead
{
public:
    explicit ResponseHead(int status) : m_status(status) {}

    [[nodiscard]] int status() const { return m_status; }
    /// Replaces the field. In the value a space takes the place of each control character: no line ends early.
    ResponseHead& set(const QByteArray& name, const QByteArray& value);
    /// Content-Length. The statuses 101, 204 and 304 have none.
    ResponseHead& setLength(qint64 bytes);

    /// The status line and the fields, through the empty line. `now`: for the field Date.
    [[nodiscard]] QByteArray toText(std::time_t now) const;

private:
    int m_status;
    std::vector<HeaderField> m_fields;
};

/// A whole response whose body is short. In answer to HEAD only its head is sent.
struct Response
{
    ResponseHead head;
    QByteArray body = {};
};

/// A response with a body, its type and its length. Caches must not keep it.
[[nodiscard]] Response makeResponse(int status, const QByteArray& type, const QByteArray& body);
/// 204, with nothing to cache.
[[nodiscard]] Response makeEmptyResponse();
/// The refusal, with its reason as plain text.
[[nodiscard]] Response makeResponse(const Refusal& refusal);
