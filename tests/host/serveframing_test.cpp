// Requests that are malformed, or that two readers could take for different ones.

#include "support/rpcrequest.h"
#include "support/serving.h"
#include "support/webclient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

class ServeFraming : public testing::Test
{
protected:
    ServeFraming() { serving.start(); }

    /// The status of the answer to these bytes; -1 if the connection stays open behind a refusal.
    [[nodiscard]] int refusal(const QByteArray& bytes) const
    {
        HttpClient client(serving.port());
        client.send(bytes);
        const HttpResponse response = client.receive();
        const bool isClosed = client.connection().isClosedByPeer();
        return response.status >= 400 && !isClosed ? -1 : response.status;
    }

    [[nodiscard]] int status(const QByteArray& bytes) const { return exchange(serving.port(), bytes).status; }

    [[nodiscard]] static QByteArray post(const std::vector<QByteArray>& fields, const QByteArray& body)
    {
        std::vector<QByteArray> all = {"Content-Type: application/json"};
        all.insert(all.end(), fields.cbegin(), fields.cend());
        return requestText("POST", "/rpc", all) + body;
    }

    Serving serving;
    const QByteArray message = rpcRequest(1, "describe");
    const QByteArray length = "Content-Length: " + QByteArray::number(message.size());
};

TEST_F(ServeFraming, RefusesLengthWithTransferEncoding)
{
    EXPECT_EQ(refusal(post({length, "Transfer-Encoding: chunked"}, "0\r\n\r\n" + message)), 400);
    EXPECT_EQ(refusal(post({"Transfer-Encoding: chunked", length}, "0\r\n\r\n" + message)), 400);
}

TEST_F(ServeFraming, RefusesChunks)
{
    EXPECT_EQ(refusal(post({"Transfer-Encoding: chunked"}, "0\r\n\r\n")), 411);
    EXPECT_EQ(refusal(post({"Transfer-Encoding: chunked"}, "-1\r\nx\r\n0\r\n\r\n")), 411);
    EXPECT_EQ(refusal(post({"Transfer-Encoding: gzip, chunked"}, "0\r\n\r\n")), 411);
}

TEST_F(ServeFraming, RefusesSeveralLengths)
{
    EXPECT_EQ(refusal(post({length, "Content-Length: 1"}, message)), 400);
    EXPECT_EQ(refusal(post({length, length}, message)), 400);
    EXPECT_EQ(refusal(post({length + ", 1"}, message)), 400);
    EXPECT_EQ(refusal(post({"Content-Length: -1"}, message)), 400);
    EXPECT_EQ(refusal(post({"Content-Length: 18446744073709551617"}, message)), 400);
}

TEST_F(ServeFraming, RefusesAnyNumberOfHostsButOne)
{
    EXPECT_EQ(status("GET /health HTTP/1.1\r\n\r\n"), 400);
    EXPECT_EQ(status(requestText("GET", "/health", {"Host: localhost", "Host: localhost"})), 400);
    EXPECT_EQ(status(requestText("GET", "/health", {"Host:"})), 421);
    EXPECT_EQ(status(requestText("GET", "/health", {"Host: example.org"})), 421);
}

TEST_F(ServeFraming, RefusesTargetsThatAreNoPath)
{
    EXPECT_EQ(status(requestText("GET", "http://localhost/health")), 400);
    EXPECT_EQ(status(requestText("GET", "http://example.org/health")), 400);
    EXPECT_EQ(status(requestText("OPTIONS", "*")), 400);
    EXPECT_EQ(status(requestText("CONNECT", "localhost:80")), 400);
}

TEST_F(ServeFraming, RefusesMalformedHeads)
{
    EXPECT_EQ(refusal("nonsense\r\n\r\n"), 400);
    EXPECT_EQ(refusal("GET /health HTTP/3.0\r\nHost: localhost\r\n\r\n"), 400);
    EXPECT_EQ(refusal("GET /health HTTP/1.1\r\nHost : localhost\r\n\r\n"), 400);
    EXPECT_EQ(refusal("GET /he\x01lth HTTP/1.1\r\nHost: localhost\r\n\r\n"), 400);
    EXPECT_EQ(refusal(requestText("GET", "/health", {"X: a\x02"})), 400);
}

TEST_F(ServeFraming, RefusesAHugeHead)
{
    EXPECT_EQ(refusal(requestText("GET", "/health", {"X: " + QByteArray(20'000, 'x')})), 431);
    EXPECT_EQ(refusal(requestText("GET", '/' + QByteArray(20'000, 'x'))), 431);
    EXPECT_EQ(refusal("GET /" + QByteArray(1'000'000, 'x')), 431);
    EXPECT_EQ(status(requestText("GET", "/health", {"X: " + QByteArray(15'000, 'x')})), 200);
}

TEST_F(ServeFraming, RefusesAHugeBody)
{
    EXPECT_EQ(refusal(post({"Content-Length: 1048577"}, "")), 413);
    const QByteArray longest = message + QByteArray((1 << 20) - message.size(), ' ');
    EXPECT_EQ(status(post({"Content-Length: 1048576"}, longest)), 200);
}

TEST_F(ServeFraming, RefusesABodyThatTheRouteDoesNotNeed)
{
    EXPECT_EQ(refusal(requestText("GET", "/health", {"Content-Length: 1"})), 413);
    EXPECT_EQ(refusal(requestText("HEAD", "/media/file/a.mp3", {"Content-Length: 1"})), 413);
    EXPECT_EQ(refusal(requestText("POST", "/login", {"Content-Length: 4097"})), 413);
    EXPECT_EQ(refusal(requestText("POST", "/logout", {"Content-Length: 4097"})), 413);
    EXPECT_EQ(status(requestText("POST", "/logout", {"Content-Length: 4096"}) + QByteArray(4096, ' ')), 204);
}

TEST_F(ServeFraming, EndsAConnectionWhoseHeadComesByteByByte)
{
    constexpr std::chrono::milliseconds pause{200};
    constexpr int longest = 200;
    RawConnection slow(serving.port());
    RawConnection silent(serving.port());
    silent.send("GET / HTTP/1.1\r\n");
    int sent = 0;
    for (slow.send("GET / HTTP/1.1\r\n"); sent < longest && !slow.isReadable(pause); ++sent)
        slow.send("x");
    EXPECT_LT(sent, longest);
    EXPECT_TRUE(slow.isClosedByPeer());
    EXPECT_TRUE(silent.isClosedByPeer());
    EXPECT_EQ(status(requestText("GET", "/health")), 200);
}

TEST_F(ServeFraming, AnswersPipelinedRequestsInTheirOrder)
{
    HttpClient client(serving.port());
    client.send(requestText("GET", "/health") + post({length}, message) + requestText("GET", "/none"));
    EXPECT_THAT(client.receive().body.toStdString(), testing::HasSubstr("status"));
    EXPECT_THAT(client.receive().body.toStdString(), testing::HasSubstr("protocol"));
    EXPECT_EQ(client.receive().status, 404);
}

TEST_F(ServeFraming, IgnoresWhatFollowsARefusal)
{
    HttpClient client(serving.port());
    client.send(
        requestText("GET", "/health", {"Host: localhost", "Transfer-Encoding: chunked"}) +
        requestText("GET", "/health"));
    EXPECT_EQ(client.receive().status, 411);
    EXPECT_EQ(client.receive().status, 0);
}

TEST_F(ServeFraming, IgnoresWhatFollowsALaterRefusal)
{
    HttpClient client(serving.port());
    EXPECT_EQ(client.get("/health").status, 200);
    EXPECT_EQ(client.get("/health", {"Content-Length: 0", "Content-Length: 0"}).status, 400);
    EXPECT_TRUE(client.connection().isClosedByPeer());
}

TEST_F(ServeFraming, ClosesTheConnectionWhenTheClientWantsIt)
{
    HttpClient client(serving.port());
    EXPECT_EQ(client.get("/health", {"Connection: close"}).field("Connection"), "close");
    EXPECT_TRUE(client.connection().isClosedByPeer());
    EXPECT_EQ(exchange(serving.port(), "GET /health HTTP/1.0\r\nHost: localhost\r\n\r\n").field("Connection"), "close");
}

} // namespace
