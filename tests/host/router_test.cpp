#include "http/router.h"

#include "printers.h"

#include <gtest/gtest.h>

namespace {

using Kind = Route::Kind;

/// 0 if the request is served.
int statusOf(const QByteArray& method, const QByteArray& target)
{
    const Routing routing = findRoute(method, target);
    const auto* const refusal = std::get_if<Refusal>(&routing.result);
    return refusal ? refusal->status : 0;
}

Route routeOf(const QByteArray& target)
{
    const Routing routing = findRoute("GET", target);
    const auto* const route = std::get_if<Route>(&routing.result);
    EXPECT_NE(route, nullptr) << target.toStdString();
    return route ? *route : Route{};
}

TEST(Router, FindsEachRoute)
{
    struct Case
    {
        const char* method;
        const char* target;
        Kind kind;
    };
    const Case cases[] = {
        {"GET", "/", Kind::Page},
        {"HEAD", "/", Kind::Page},
        {"GET", "/app/main.js", Kind::Page},
        {"GET", "/session", Kind::Session},
        {"POST", "/rpc", Kind::Rpc},
        {"GET", "/media/file/a.mp3", Kind::Media},
        {"HEAD", "/media/file/a.mp3", Kind::Media},
        {"GET", "/cover/file/a.mp3", Kind::Cover},
        {"GET", "/health", Kind::Health},
        {"HEAD", "/metrics", Kind::Metrics},
        {"POST", "/login", Kind::Login},
        {"POST", "/logout", Kind::Logout},
    };
    for (const Case& expected : cases) {
        const Routing routing = findRoute(expected.method, expected.target);
        const auto* const route = std::get_if<Route>(&routing.result);
        ASSERT_NE(route, nullptr) << expected.target;
        EXPECT_EQ(route->kind, expected.kind) << expected.target;
    }
}

TEST(Router, OtherMethodsAreRefusedWithThoseAllowed)
{
    struct Case
    {
        const char* method;
        const char* target;
        const char* allowed;
    };
    const Case cases[] = {
        {"POST", "/", "GET, HEAD"},
        {"DELETE", "/app/main.js", "GET, HEAD"},
        {"HEAD", "/session", "GET"},
        {"GET", "/rpc", "POST"},
        {"PUT", "/media/f/a", "GET, HEAD"},
        {"POST", "/cover/f/a", "GET, HEAD"},
        {"GET", "/login", "POST"},
        {"GET", "/logout", "POST"},
        {"OPTIONS", "/rpc", "POST"},
        {"get", "/", "GET, HEAD"},
        {"", "/", "GET, HEAD"},
        {"GET, HEAD", "/", "GET, HEAD"},
    };
    for (const Case& expected : cases) {
        const Routing routing = findRoute(expected.method, expected.target);
        const auto* const refusal = std::get_if<Refusal>(&routing.result);
        ASSERT_NE(refusal, nullptr) << expected.method << ' ' << expected.target;
        EXPECT_EQ(refusal->status, 405);
        ASSERT_EQ(refusal->fields.size(), 1U);
        EXPECT_EQ(refusal->fields.front().name, QByteArray("Allow"));
        EXPECT_EQ(refusal->fields.front().value, QByteArray(expected.allowed));
    }
}

TEST(Router, OtherPathsAreNotFound)
{
    for (const char* target :
         {"//", "/app", "/session/", "/rpc/", "/Rpc", "/%72pc", "/./rpc", "/rpc/../rpc", "//rpc", "/media", "/media/",
          "/media//a", "/cover//a", "/index.html", "/health/x", "/healthy", "/favicon.ico", "//evil.example/"})
        EXPECT_EQ(statusOf("GET", target), 404) << target;
}

TEST(Router, QueriesDoNotChangeTheRoute)
{
    EXPECT_EQ(routeOf("/?a=%zz&/rpc").kind, Kind::Page);
    EXPECT_EQ(routeOf("/health?").kind, Kind::Health);
    EXPECT_EQ(routeOf("/media/f/a?b").base, QStringLiteral("a"));
}

TEST(Router, OnlyOriginFormIsAccepted)
{
    for (const char* target :
         {"", "*", "health", "http://localhost/health", "localhost:80", "?", "/a b", "/a#b", "/a\tb", "/\xC3\xA4",
          "/media/f/\x7F"})
        EXPECT_EQ(statusOf("GET", target), 400) << target;
    EXPECT_EQ(statusOf("GET", QByteArray("/health\0", 8)), 400);
}

TEST(Router, MalformedPathsAreRefused)
{
    for (const char* place : {"/media/f/", "/media/", "/cover/f/", "/app/", "/", "/elsewhere/"}) {
        for (const char* text :
             {"%",         "%4",           "%zz", "%4g",    "%-1",    "a%",        "%%41",         "%00",
              "a%00b",     "%FF",          "%C3", "%C3%28", "%C0%AE", "%E0%80%AF", "%F0%80%80%AF", "%C0%80",
              "%ED%A0%80", "%F4%90%80%80", "%80", "%E2%82"})
            EXPECT_EQ(statusOf("GET", QByteArray(place) + text), 400) << place << text;
    }
}

TEST(Router, PathsAreDecodedOnceAndNotNormalised)
{
    const struct
    {
        const char* target;
        const char* prefix;
        const char* base;
    } cases[] = {
        {"/media/file/Albums/01%20Perigee.opus", "file", "Albums/01 Perigee.opus"},
        {"/media/f%20g/a", "f g", "a"},
        {"/media/file", "file", ""},
        {"/media/file/", "file", ""},
        {"/media/file//etc/passwd", "file", "/etc/passwd"},
        {"/media/file/a//b/", "file", "a//b/"},
        {"/media/file/./a/.", "file", "./a/."},
        {"/media/file/../a/..", "file", "../a/.."},
        {"/media/file/%2e%2e%2fa", "file", "../a"},
        {"/media/file/%252e%252E", "file", "%2e%2E"},
        {"/media/file/..%5ca", "file", "..\\a"},
        {"/media/fi%2Fle/a", "fi/le", "a"},
        {"/media/../rpc", "..", "rpc"},
        {"/media/file/a+b&c=d;e", "file", "a+b&c=d;e"},
        {"/media/file/%3F%23", "file", "?#"},
        {"/media/file/%C3%A4%E2%82%AC%F0%9F%8E%B5", "file", "ä€🎵"},
        {"/media/file/a%0D%0Ab", "file", "a\r\nb"},
    };
    for (const auto& expected : cases) {
        const Route route = routeOf(expected.target);
        EXPECT_EQ(route.prefix, QString::fromUtf8(expected.prefix)) << expected.target;
        EXPECT_EQ(route.base, QString::fromUtf8(expected.base)) << expected.target;
    }
}

TEST(Router, ByteOrderMarkIsPartOfAName)
{
    EXPECT_EQ(routeOf("/media/file/%EF%BB%BFa").base, QChar(0xFEFF) + QStringLiteral("a"));
}

TEST(Router, AssetsAreNamedByTheirPaths)
{
    EXPECT_EQ(routeOf("/").asset, QByteArray("index.html"));
    EXPECT_EQ(routeOf("/app/main.js").asset, QByteArray("app/main.js"));
    EXPECT_EQ(routeOf("/app/%6dain.js").asset, QByteArray("app/main.js"));
    EXPECT_EQ(routeOf("/app/../index.html").asset, QByteArray("app/../index.html"));
    EXPECT_EQ(routeOf("/app/").asset, QByteArray("app/"));
}

TEST(Router, CoversHaveAWidth)
{
    const struct
    {
        const char* query;
        int width;
    } cases[] = {
        {"", usualCover},
        {"?", usualCover},
        {"?v=2", usualCover},
        {"?width=200", 200},
        {"?v=2&width=007", 7},
        {"?width=0", 1},
        {"?width=1000000000", widestCover},
        {"?width=99999999999999999999999", widestCover},
        {"?xwidth=5", usualCover},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(routeOf(QByteArray("/cover/file/a") + expected.query).width, expected.width) << expected.query;
}

TEST(Router, WidthsThatAreNoNumbersAreRefused)
{
    for (const char* width : {"", "-1", "+1", "1e9", "1.5", "0x10", "1%30", "a", "1&width=2", " 1"})
        EXPECT_EQ(statusOf("GET", QByteArray("/cover/file/a?width=") + width), 400) << width;
}

TEST(Router, PageHealthAndLoginAreOpen)
{
    for (const char* target : {"/", "/app/main.js", "/app/missing", "/app/%zz", "/health", "/login"})
        EXPECT_TRUE(findRoute("GET", target).isOpen) << target;
    for (const char* target :
         {"/session", "/rpc", "/media/f/a", "/cover/f/a", "/metrics", "/logout", "/elsewhere", "/%zz", "*", "/app"})
        EXPECT_FALSE(findRoute("GET", target).isOpen) << target;
}

TEST(LoggedPath, IsOneWordWithoutTheQuery)
{
    EXPECT_EQ(loggedPath("/media/f/a%20b?token=secret"), QByteArray("/media/f/a%20b"));
    EXPECT_EQ(loggedPath("/a b\r\n\x7F\x1B\xC3\xA4"), QByteArray("/a%20b%0D%0A%7F%1B%C3%A4"));
}

} // namespace
