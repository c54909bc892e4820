#include "http/response.h"

#include "printers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::time_t now = 784'111'777;

std::string textOf(const ResponseHead& head)
{
    return head.toText(now).toStdString();
}

TEST(ResponseHead, HasStatusLineFieldsAndEmptyLine)
{
    ResponseHead head(200);
    head.set("Content-Type", "audio/ogg").setLength(5'000'000'000);
    const std::string text = textOf(head);
    EXPECT_THAT(text, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\nContent-Type: audio/ogg\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\nContent-Length: 5000000000\r\n"));
    EXPECT_EQ(text.find("\r\n\r\n"), text.size() - 4);
}

TEST(ResponseHead, EveryOneProtects)
{
    const std::string text = textOf(ResponseHead(404));
    for (const char* field :
         {"X-Content-Type-Options: nosniff", "Referrer-Policy: no-referrer",
          "Cross-Origin-Resource-Policy: same-origin", "Cross-Origin-Opener-Policy: same-origin",
          "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
          "media-src 'self'; connect-src 'self'; manifest-src 'self'; base-uri 'none'; form-action 'none'; "
          "frame-ancestors 'self'; require-trusted-types-for 'script'"})
        EXPECT_THAT(text, HasSubstr(std::string("\r\n") + field + "\r\n"));
    EXPECT_THAT(text, Not(HasSubstr("Access-Control")));
}

TEST(ResponseHead, FieldIsReplacedWhateverItsCase)
{
    ResponseHead head(200);
    head.set("ETag", "\"a\"").set("etag", "\"b\"");
    EXPECT_THAT(textOf(head), HasSubstr("ETag: \"b\"\r\n"));
    EXPECT_THAT(textOf(head), Not(HasSubstr("\"a\"")));
}

TEST(ResponseHead, ValueNeverEndsItsLine)
{
    ResponseHead head(200);
    head.set("X-Name", QByteArray("a\r\nSet-Cookie: b\n\tc\0d\x7F\xC3\xA4", 24));
    EXPECT_THAT(textOf(head), HasSubstr("X-Name: a  Set-Cookie: b  c d \xC3\xA4\r\n"));
}

TEST(Response, HasItsLengthAndIsNotCached)
{
    const Response response = makeResponse(200, "application/json", "{}");
    EXPECT_EQ(response.body, QByteArray("{}"));
    EXPECT_THAT(textOf(response.head), HasSubstr("Content-Type: application/json\r\n"));
    EXPECT_THAT(textOf(response.head), HasSubstr("Content-Length: 2\r\n"));
    EXPECT_THAT(textOf(response.head), HasSubstr("Cache-Control: no-store\r\n"));
}

TEST(Response, WithoutContentHasNoLength)
{
    const Response response = makeEmptyResponse();
    EXPECT_EQ(response.head.status(), 204);
    EXPECT_TRUE(response.body.isEmpty());
    EXPECT_THAT(textOf(response.head), Not(HasSubstr("Content-Length")));
}

TEST(Response, RefusalHasItsReasonAndFields)
{
    const Response response = makeResponse(Refusal{405, {{"Allow", "GET, HEAD"}}});
    EXPECT_EQ(response.body, QByteArray("Method Not Allowed\n"));
    EXPECT_THAT(textOf(response.head), StartsWith("HTTP/1.1 405 Method Not Allowed\r\n"));
    EXPECT_THAT(textOf(response.head), HasSubstr("Allow: GET, HEAD\r\n"));
    EXPECT_THAT(textOf(response.head), HasSubstr("Content-Type: text/plain; charset=utf-8\r\n"));
}

TEST(RequestHead, FindsFieldsInAnyCase)
{
    const RequestHead head{"GET", "/", {{"host", "a"}, {"HOST", "b"}, {"Hosts", "c"}, {"Empty", ""}}};
    EXPECT_EQ(head.count("Host"), 2);
    EXPECT_EQ(head.value("Host"), QByteArray("a, b"));
    EXPECT_FALSE(head.value("Empty").isNull());
    EXPECT_TRUE(head.value("Missing").isNull());
}

TEST(RequestHead, KnowsJson)
{
    for (const char* type : {"application/json", "application/json; charset=utf-8", "Application/JSON ;charset=utf-8"})
        EXPECT_TRUE(hasJsonBody({"POST", "/rpc", {{"Content-Type", type}}})) << type;
    for (const char* type :
         {"", "text/plain", "application/jsonp", "text/plain; application/json", "application/json, a/b"})
        EXPECT_FALSE(hasJsonBody({"POST", "/rpc", {{"Content-Type", type}}})) << type;
    EXPECT_FALSE(hasJsonBody({"POST", "/rpc", {}}));
}

} // namespace
