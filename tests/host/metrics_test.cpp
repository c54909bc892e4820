#include "http/metrics.h"

#include "printers.h"

#include <QRegularExpression>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

std::string textOf(const Metrics& metrics, const Metrics::Content& content = {})
{
    return metrics.toText(content).toStdString();
}

TEST(Metrics, EveryLineIsACommentOrASample)
{
    static const QRegularExpression line(
        QStringLiteral(R"(\A(# (HELP|TYPE) tavo_\w+ .+|tavo_\w+(\{\w+="[^"]*"(,\w+="[^"]*")*\})? [0-9.e+-]+)\z)"));
    const QByteArray text = Metrics().toText({1, 2, 3});
    ASSERT_TRUE(text.endsWith('\n'));
    for (const QByteArray& given : text.left(text.size() - 1).split('\n'))
        EXPECT_TRUE(line.match(QString::fromUtf8(given)).hasMatch()) << given.toStdString();
}

TEST(Metrics, GaugesRiseAndFall)
{
    Metrics metrics;
    metrics.connectionOpened();
    metrics.connectionOpened();
    metrics.connectionClosed();
    metrics.clientConnected();
    metrics.clientConnected();
    metrics.clientConnected();
    metrics.clientDisconnected();
    EXPECT_THAT(textOf(metrics), HasSubstr("\ntavo_connections 1\n"));
    EXPECT_THAT(textOf(metrics), HasSubstr("\ntavo_clients 2\n"));
}

TEST(Metrics, RequestsAreCountedByMethodAndStatus)
{
    Metrics metrics;
    metrics.requestAnswered("GET", 200, 10, 1ms);
    metrics.requestAnswered("GET", 206, 5, 1ms);
    metrics.requestAnswered("POST", 404, 0, 1ms);
    metrics.requestAnswered("PROPFIND", 405, 0, 1ms);
    metrics.requestAnswered("other", 101, 0, 1ms);
    metrics.requestAnswered("", 999, 0, 1ms);
    const std::string text = textOf(metrics);
    EXPECT_THAT(text, HasSubstr("tavo_requests_total{method=\"GET\",status=\"2xx\"} 2\n"));
    EXPECT_THAT(text, HasSubstr("tavo_requests_total{method=\"POST\",status=\"4xx\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("tavo_requests_total{method=\"other\",status=\"4xx\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("tavo_requests_total{method=\"other\",status=\"1xx\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("tavo_requests_total{method=\"other\",status=\"5xx\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("tavo_sent_bytes_total 15\n"));
}

TEST(Metrics, DurationsAreCountedInBuckets)
{
    Metrics metrics;
    metrics.requestAnswered("GET", 200, 0, 500us);
    metrics.requestAnswered("GET", 200, 0, 1ms);
    metrics.requestAnswered("GET", 200, 0, 50ms);
    metrics.requestAnswered("GET", 200, 0, 20s);
    const std::string text = textOf(metrics);
    EXPECT_THAT(text, HasSubstr("tavo_request_duration_seconds_bucket{le=\"0.001\"} 2\n"));
    EXPECT_THAT(text, HasSubstr("tavo_request_duration_seconds_bucket{le=\"0.025\"} 2\n"));
    EXPECT_THAT(text, HasSubstr("tavo_request_duration_seconds_bucket{le=\"0.1\"} 3\n"));
    EXPECT_THAT(text, HasSubstr("tavo_request_duration_seconds_bucket{le=\"10\"} 3\n"));
    EXPECT_THAT(text, HasSubstr("tavo_request_duration_seconds_bucket{le=\"+Inf\"} 4\n"));
    EXPECT_THAT(text, HasSubstr("tavo_request_duration_seconds_sum 20.0515\n"));
    EXPECT_THAT(text, HasSubstr("tavo_request_duration_seconds_count 4\n"));
}

TEST(Metrics, MessagesAndChangesAreCounted)
{
    Metrics metrics;
    metrics.messageReceived(7);
    metrics.messageSent(11);
    metrics.messageSent(13);
    metrics.changeSent();
    metrics.messageRefused();
    metrics.connectionRefused();
    const std::string text = textOf(metrics);
    EXPECT_THAT(text, HasSubstr("tavo_messages_received_total 1\n"));
    EXPECT_THAT(text, HasSubstr("tavo_received_bytes_total 7\n"));
    EXPECT_THAT(text, HasSubstr("tavo_messages_sent_total 2\n"));
    EXPECT_THAT(text, HasSubstr("tavo_sent_bytes_total 24\n"));
    EXPECT_THAT(text, HasSubstr("tavo_changes_total 1\n"));
    EXPECT_THAT(text, HasSubstr("tavo_errors_total 1\n"));
    EXPECT_THAT(text, HasSubstr("tavo_connections_refused_total 1\n"));
}

TEST(Metrics, CountsOfOthersAppear)
{
    const std::string text = textOf(Metrics(), {3, 4, 5});
    EXPECT_THAT(text, HasSubstr("\ntavo_listings_total 3\n"));
    EXPECT_THAT(text, HasSubstr("\ntavo_open_paths 4\n"));
    EXPECT_THAT(text, HasSubstr("\ntavo_watches 5\n"));
}

TEST(Metrics, ThreadsCountTogether)
{
    constexpr int threads = 4;
    constexpr int times = 1000;
    Metrics metrics;
    std::vector<std::thread> counting;
    for (int i = 0; i < threads; ++i) {
        counting.emplace_back([&metrics] {
            for (int n = 0; n < times; ++n)
                metrics.requestAnswered("GET", 200, 2, 1ms);
        });
    }
    static_cast<void>(metrics.toText({}));
    for (std::thread& thread : counting)
        thread.join();
    EXPECT_THAT(textOf(metrics), HasSubstr("tavo_request_duration_seconds_count 4000\n"));
    EXPECT_THAT(textOf(metrics), HasSubstr("tavo_sent_bytes_total 8000\n"));
}

} // namespace
