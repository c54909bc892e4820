#pragma once

#include "http/requesthead.h"
#include "http/router.h"

#include <QByteArray>

#include <ctime>
#include <vector>

/// The head of a response, as text on its way to the client. Every head has Date and the fields that forbid a browser
/// to run foreign code, to guess types and to show the response to other origins.
class ResponseHead
{
public:
    /// `status`: one that has a body may need a Content-Length; 204 and 304 have none.
    explicit ResponseHead(int status) : m_status(status) {}

    [[nodiscard]] int status() const { return m_status; }
    /// Replaces the field, if the head has it. Control characters in the value become spaces.
    ResponseHead& set(const QByteArray& name, const QByteArray& value);
    /// Content-Length.
    ResponseHead& setLength(qint64 bytes);

    /// The status line and the fields, through the empty line. `now`: for the field Date.
    [[nodiscard]] QByteArray toText(std::time_t now) const;

private:
    int m_status;
    std::vector<HeaderField> m_fields;
};

/// A complete response. In answer to HEAD only the head is sent.
struct Response
{
    ResponseHead head;
    QByteArray body = {};
};

/// A response with a body, its type and its length. It must not be cached.
[[nodiscard]] Response makeResponse(int status, const QByteArray& type, const QByteArray& body);
/// 204. It must not be cached.
[[nodiscard]] Response makeEmptyResponse();
/// The refusal, with its reason as plain text.
[[nodiscard]] Response makeResponse(const Refusal& refusal);
