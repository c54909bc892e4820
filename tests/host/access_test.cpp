#include "http/access.h"

#include "printers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

using Fields = std::vector<HeaderField>;

const QByteArray token = "correct horse battery staple";
const Fields ownHost = {{"Host", "localhost:8420"}};
const Fields rightToken = {{"Host", "localhost:8420"}, {"Authorization", "Bearer correct horse battery staple"}};
const Fields wrongToken = {{"Host", "localhost:8420"}, {"Authorization", "Bearer incorrect"}};

Connection connectionTo(const char* local)
{
    return {*IpAddress::fromText("192.168.1.77"), *IpAddress::fromText(local)};
}

class Access : public testing::Test
{
protected:
    explicit Access(bool needsToken = false)
        : policy(
              {{"music.example.org", "[2001:db8::5]"},
               {"https://tavo.example.net", "http://proxy.example:8080"},
               needsToken})
    {
    }

    /// 0 if the request is admitted.
    int statusOf(const QByteArray& target, const Fields& fields, const QByteArray& method = "GET")
    {
        const auto admitted = policy.admit({method, target, fields}, connection, now);
        const auto* const refusal = std::get_if<Refusal>(&admitted);
        return refusal ? refusal->status : 0;
    }

    int statusOfHost(const QByteArray& host) { return statusOf("/health", {{"Host", host}}); }
    int statusOfOrigin(const QByteArray& origin, const QByteArray& host = "localhost:8420")
    {
        return statusOf("/session", {{"Host", host}, {"Origin", origin}});
    }

    AccessPolicy policy;
    Connection connection = connectionTo("192.168.1.5");
    AccessPolicy::Time now{1000s};
};

class AccessByToken : public Access
{
protected:
    AccessByToken() : Access(true) { policy.setToken(token); }

    /// The value of Set-Cookie.
    QByteArray setCookie(const QByteArray& origin = {})
    {
        Fields fields = ownHost;
        if (!origin.isNull())
            fields.push_back({"Origin", origin});
        auto loggedIn = policy.logIn(token, {"POST", "/login", fields}, connection, now);
        const auto* const cookie = std::get_if<QByteArray>(&loggedIn);
        EXPECT_NE(cookie, nullptr);
        return cookie ? *cookie : QByteArray();
    }
    Fields withCookie(const QByteArray& cookie) { return {ownHost.front(), {"Cookie", cookie}}; }
    QByteArray logIn() { return setCookie().split(';').first(); }

    Credential credentialOf(const Fields& fields)
    {
        auto admitted = policy.admit({"GET", "/session", fields}, connection, now);
        const auto* const admission = std::get_if<Admission>(&admitted);
        EXPECT_NE(admission, nullptr);
        return admission ? admission->credential : Credential{};
    }
};

TEST_F(Access, OwnHostsAreServed)
{
    for (const char* host :
         {"localhost", "localhost:8420", "LocalHost.", "localhost.:1", "localhost:", "127.0.0.1:8420", "[::1]",
          "[::1]:80", "[0:0:0:0:0:0:0:1]", "192.168.1.5", "192.168.1.5:8420", "[::ffff:192.168.1.5]",
          "music.example.org", "MUSIC.example.org.:443", "[2001:db8::5]", "tavo.example.net", "proxy.example"})
        EXPECT_EQ(statusOfHost(host), 0) << host;
}

TEST_F(Access, ForeignHostsAreMisdirected)
{
    for (const char* host :
         {"",
          ":8420",
          ".",
          "localhost..",
          "localhost:a",
          "localhost:80:80",
          "localhost.evil.example",
          "127.0.0.1.evil.example",
          "192.168.1.5.evil.example",
          "music.example.or",
          "music.example.org.evil.example",
          "usic.example.org",
          "xmusic.example.org",
          "example.org",
          "192.168.1.6",
          "127.0.0.2",
          "127.1",
          "2130706433",
          "0.0.0.0",
          "0x7f000001",
          "[::]",
          "[::1",
          "::1",
          "[::1]x",
          "[127.0.0.1]",
          "[192.168.1.5]",
          "[::1%25lo]",
          "a@localhost",
          "localhost@evil.example",
          "localhost/",
          "localhost, localhost",
          "http://localhost",
          "local host",
          "localhost\t"})
        EXPECT_EQ(statusOfHost(host), 421) << host;
    for (const char* host : {"localhost", "localhost:80", "[::1]"})
        EXPECT_EQ(statusOfHost(host + QByteArray(1, '\0')), 421) << host;
}

TEST_F(Access, HostIsNeededOnce)
{
    EXPECT_EQ(statusOf("/health", {}), 400);
    EXPECT_EQ(statusOf("/health", {{"Host", "localhost"}, {"host", "localhost"}}), 400);
    EXPECT_EQ(statusOf("/health", {{"Host", "localhost"}, {"Host", "evil.example"}}), 400);
}

TEST_F(Access, OwnAddressIsTheSocketsInEitherVersion)
{
    connection = connectionTo("2001:db8::9");
    EXPECT_EQ(statusOfHost("[2001:DB8:0::9]:8420"), 0);
    EXPECT_EQ(statusOfHost("192.168.1.5"), 421);
    connection = connectionTo("::ffff:192.168.1.5");
    EXPECT_EQ(statusOfHost("192.168.1.5"), 0);
}

TEST_F(Access, ForwardedHostsAreIgnored)
{
    EXPECT_EQ(statusOf("/health", {{"Host", "evil.example"}, {"X-Forwarded-Host", "localhost"}}), 421);
    EXPECT_EQ(statusOf("/health", {{"Host", "localhost"}, {"X-Forwarded-Host", "evil.example"}}), 0);
    EXPECT_EQ(
        statusOf(
            "/health",
            {{"Host", "localhost"}, {"Origin", "http://evil.example"}, {"X-Forwarded-Host", "evil.example"}}),
        403);
}

TEST_F(Access, OwnOriginsAreServed)
{
    EXPECT_EQ(statusOf("/session", ownHost), 0);
    EXPECT_EQ(statusOfOrigin("http://localhost:8420"), 0);
    EXPECT_EQ(statusOfOrigin("HTTP://localhost:8420", "LOCALHOST:8420"), 0);
    EXPECT_EQ(statusOfOrigin("http://music.example.org", "music.example.org"), 0);
    EXPECT_EQ(statusOfOrigin("http://[::1]:8420", "[::1]:8420"), 0);
    EXPECT_EQ(statusOfOrigin("https://tavo.example.net"), 0);
    EXPECT_EQ(statusOfOrigin("https://tavo.example.net", "tavo.example.net"), 0);
    EXPECT_EQ(statusOfOrigin("http://proxy.example:8080", "127.0.0.1:8420"), 0);
}

TEST_F(Access, ForeignOriginsAreForbidden)
{
    for (const char* origin :
         {"", "null", "file://", "http://evil.example", "http://localhost", "http://localhost:8421",
          "https://localhost:8420", "http://localhost:8420/", "http://localhost:8420.evil.example",
          "http://127.0.0.1:8420", "localhost:8420", "https://tavo.example.net:8443", "http://tavo.example.net",
          "https://tavo.example.net.evil.example", "https://music.example.org",
          "http://localhost:8420 http://evil.example"})
        EXPECT_EQ(statusOfOrigin(origin), 403) << origin;
    const HeaderField own = {"Origin", "http://localhost:8420"};
    EXPECT_EQ(statusOf("/session", {ownHost.front(), own, own}), 403);
}

TEST_F(Access, OtherOriginsOfTheHostOfAnOriginAreForbidden)
{
    EXPECT_EQ(statusOfHost("tavo.example.net"), 0);
    EXPECT_EQ(statusOfOrigin("http://tavo.example.net", "tavo.example.net"), 403);
    EXPECT_EQ(statusOfOrigin("http://tavo.example.net:8420", "tavo.example.net:8420"), 403);
    EXPECT_EQ(statusOfOrigin("http://proxy.example", "proxy.example"), 403);
}

TEST_F(Access, OriginsMayHaveANamedHostToo)
{
    AccessPolicy named({{"tavo.example.net"}, {"https://tavo.example.net"}, false});
    for (const char* origin : {"https://tavo.example.net", "http://tavo.example.net:8420"}) {
        const RequestHead head{"GET", "/session", {{"Host", "tavo.example.net:8420"}, {"Origin", origin}}};
        EXPECT_TRUE(std::holds_alternative<Admission>(named.admit(head, connection, now))) << origin;
    }
}

TEST_F(Access, HostIsCheckedFirstThenOriginThenRoute)
{
    EXPECT_EQ(statusOf("*", {{"Host", "evil.example"}, {"Origin", "null"}}), 421);
    EXPECT_EQ(statusOf("*", {{"Host", "localhost"}, {"Origin", "null"}}), 403);
    EXPECT_EQ(statusOf("*", ownHost), 400);
    EXPECT_EQ(statusOf("/elsewhere", ownHost), 404);
    EXPECT_EQ(statusOf("/rpc", ownHost), 405);
}

TEST_F(Access, WithoutATokenEverythingIsOpen)
{
    EXPECT_FALSE(policy.needsToken());
    EXPECT_EQ(statusOf("/media/file/a", ownHost), 0);
    EXPECT_EQ(statusOf("/media/file/a", wrongToken), 0);
    EXPECT_TRUE(policy.holds({}));
}

TEST_F(AccessByToken, RightTokenIsServed)
{
    EXPECT_TRUE(policy.needsToken());
    EXPECT_EQ(statusOf("/media/file/a", rightToken), 0);
    EXPECT_EQ(statusOf("/metrics", {{"Host", "localhost"}, {"Authorization", "bearer " + token}}), 0);
}

TEST_F(AccessByToken, MissingTokenIsAskedFor)
{
    for (const char* target :
         {"/session", "/metrics", "/media/file/a", "/cover/file/a", "/rpc", "/elsewhere", "*", "/%zz"}) {
        EXPECT_EQ(statusOf(target, ownHost), 401) << target;
        EXPECT_EQ(statusOf(target, {{"Host", "localhost"}, {"Authorization", "Basic YTpi"}}), 401) << target;
        EXPECT_EQ(statusOf(target, withCookie("tavo-8420=;a=b;tavo-8420")), 401) << target;
    }
    EXPECT_EQ(statusOf("/logout", ownHost, "POST"), 401);
}

TEST_F(AccessByToken, PageHealthAndLoginNeedNone)
{
    for (const char* target : {"/", "/app/main.js", "/health"})
        EXPECT_EQ(statusOf(target, wrongToken), 0) << target;
    EXPECT_EQ(statusOf("/login", ownHost, "POST"), 0);
    EXPECT_EQ(statusOf("/login", ownHost), 405);
    EXPECT_EQ(statusOf("/", {{"Host", "evil.example"}}), 421);
}

TEST_F(AccessByToken, OtherTokensAreWrong)
{
    for (const char* text :
         {"Bearer", "Bearer correct horse battery stapl", "Bearer correct horse battery staple!",
          "Bearer  correct horse battery staple", "Bearer Correct horse battery staple"}) {
        EXPECT_EQ(statusOf("/metrics", {{"Host", "localhost"}, {"Authorization", text}}), 401) << text;
        now += 61s;
    }
    EXPECT_EQ(statusOf("/metrics", {rightToken[0], rightToken[1], rightToken[1]}), 401);
    EXPECT_EQ(statusOf("/metrics", {{"Host", "localhost"}, {"Authorization", token}}), 401);
    EXPECT_EQ(statusOf("/metrics?token=" + token, ownHost), 401);
}

TEST_F(AccessByToken, BeyondFiveWrongOnesAMinuteThereIsAnotherAnswer)
{
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(statusOf("/metrics", wrongToken), 401);
    EXPECT_EQ(statusOf("/metrics", wrongToken), 429);
    EXPECT_EQ(statusOf("/metrics", ownHost), 401);
    EXPECT_EQ(statusOf("/metrics", rightToken), 0);
    const auto loggedIn = policy.logIn("incorrect", {"POST", "/login", ownHost}, connection, now);
    ASSERT_TRUE(std::holds_alternative<Refusal>(loggedIn));
    EXPECT_EQ(std::get<Refusal>(loggedIn).status, 429);
    now += 1min;
    EXPECT_EQ(statusOf("/metrics", wrongToken), 401);
}

TEST_F(AccessByToken, ForwardedAddressesAreNotCounted)
{
    for (int i = 0; i < 6; ++i) {
        Fields fields = wrongToken;
        fields.push_back({"X-Forwarded-For", "10.0.0." + QByteArray::number(i)});
        EXPECT_EQ(statusOf("/metrics", fields), i < 5 ? 401 : 429);
    }
    connection.client = *IpAddress::fromText("192.168.1.78");
    EXPECT_EQ(statusOf("/metrics", wrongToken), 401);
}

TEST_F(AccessByToken, AddressesOfOneSiteAreCountedTogether)
{
    for (int i = 0; i < 6; ++i) {
        connection.client = *IpAddress::fromText("2001:db8:0:1::" + std::to_string(i));
        EXPECT_EQ(statusOf("/metrics", wrongToken), i < 5 ? 401 : 429);
    }
    connection.client = *IpAddress::fromText("2001:db8:0:2::");
    EXPECT_EQ(statusOf("/metrics", wrongToken), 401);
}

TEST_F(AccessByToken, LoginGivesASession)
{
    EXPECT_EQ(statusOf("/media/file/a", withCookie(logIn())), 0);
    EXPECT_EQ(statusOf("/media/file/a", withCookie("a=b; tavo-8420=old; " + logIn() + " ;c")), 0);
    EXPECT_EQ(statusOf("/media/file/a", {ownHost.front(), {"Authorization", "Basic YTpi"}, {"Cookie", logIn()}}), 0);
    EXPECT_EQ(statusOf("/media/file/a", {ownHost.front(), {"Authorization", "Bearers YTpi"}, {"Cookie", logIn()}}), 0);
    EXPECT_EQ(statusOf("/media/file/a", withCookie("x" + logIn())), 401);
    EXPECT_EQ(statusOf("/media/file/a", withCookie(logIn() + '0')), 401);
}

TEST_F(AccessByToken, WrongTokenCountsBesideASession)
{
    Fields fields = withCookie(logIn());
    fields.push_back(wrongToken.back());
    EXPECT_EQ(statusOf("/media/file/a", fields), 401);
}

TEST_F(AccessByToken, CookieIsLockedToTheBrowserAndTheSite)
{
    const std::string cookie = setCookie().toStdString();
    EXPECT_THAT(cookie, testing::MatchesRegex("tavo-8420=[0-9a-f]{64}; HttpOnly; SameSite=Strict"));
    EXPECT_THAT(setCookie("http://localhost:8420").toStdString(), Not(HasSubstr("Secure")));
    EXPECT_THAT(setCookie("https://tavo.example.net").toStdString(), testing::EndsWith("; SameSite=Strict; Secure"));
    EXPECT_NE(setCookie(), setCookie());
}

TEST_F(AccessByToken, EachPortHasACookieOfItsOwn)
{
    const auto fieldsOf = [](const QByteArray& host, const QByteArray& cookie) {
        return Fields{{"Host", host}, {"Cookie", cookie}};
    };
    for (const QByteArray host : {"localhost:8420", "[::1]:8420"}) {
        const RequestHead request{"POST", "/login", {{"Host", host}}};
        const auto loggedIn = policy.logIn(token, request, connection, now);
        const QByteArray cookie = std::get<QByteArray>(loggedIn).split(';').first();
        EXPECT_TRUE(cookie.startsWith("tavo-8420=")) << cookie.toStdString();
        EXPECT_EQ(statusOf("/media/file/a", fieldsOf(host, "tavo-8421=x; " + cookie)), 0);
        EXPECT_EQ(statusOf("/media/file/a", fieldsOf("localhost:8421", cookie)), 401);
        EXPECT_EQ(statusOf("/media/file/a", fieldsOf("localhost", cookie)), 401);
        EXPECT_TRUE(policy.logOut({"POST", "/logout", fieldsOf(host, cookie)}).startsWith("tavo-8420=; "));
        EXPECT_EQ(statusOf("/media/file/a", fieldsOf(host, cookie)), 401);
    }
}

TEST_F(AccessByToken, LoginNeedsTheToken)
{
    for (const QByteArray& wrong : {QByteArray(), QByteArray("incorrect"), token.left(16)}) {
        const auto loggedIn = policy.logIn(wrong, {"POST", "/login", ownHost}, connection, now);
        ASSERT_TRUE(std::holds_alternative<Refusal>(loggedIn));
        EXPECT_EQ(std::get<Refusal>(loggedIn).status, 401);
    }
}

TEST_F(AccessByToken, LogoutEndsOneSession)
{
    const QByteArray cookie = logIn();
    const QByteArray other = logIn();
    const Credential credential = credentialOf(withCookie(cookie));
    EXPECT_TRUE(policy.holds(credential));
    const QByteArray forget = policy.logOut({"POST", "/logout", withCookie(cookie)});
    EXPECT_EQ(forget, QByteArray("tavo-8420=; Max-Age=0; HttpOnly; SameSite=Strict"));
    EXPECT_FALSE(policy.holds(credential));
    EXPECT_EQ(statusOf("/session", withCookie(cookie)), 401);
    EXPECT_EQ(statusOf("/session", withCookie(other)), 0);
    EXPECT_EQ(statusOf("/session", rightToken), 0);
}

TEST_F(AccessByToken, NewTokenLeavesWhatNeedsNone)
{
    const std::variant<Admission, Refusal> open = policy.admit({"GET", "/health", ownHost}, connection, now);
    policy.setToken("another horse battery staple");
    EXPECT_TRUE(policy.holds(std::get<Admission>(open).credential));
}

TEST_F(AccessByToken, NewTokenEndsAllSessionsAndCredentials)
{
    const QByteArray cookie = logIn();
    const Credential bySession = credentialOf(withCookie(cookie));
    const Credential byToken = credentialOf(rightToken);
    policy.setToken(token);
    EXPECT_TRUE(policy.holds(bySession) && policy.holds(byToken));
    policy.setToken("another horse battery staple");
    EXPECT_FALSE(policy.holds(bySession) || policy.holds(byToken));
    EXPECT_EQ(statusOf("/session", withCookie(cookie)), 401);
    EXPECT_EQ(statusOf("/session", rightToken), 401);
    policy.setToken(token);
    EXPECT_FALSE(policy.holds(bySession) || policy.holds(byToken));
    EXPECT_EQ(statusOf("/session", rightToken), 0);
}

TEST_F(AccessByToken, RevokedTokenAdmitsNobody)
{
    const QByteArray cookie = logIn();
    policy.setToken({});
    EXPECT_EQ(statusOf("/session", withCookie(cookie)), 401);
    EXPECT_EQ(statusOf("/session", rightToken), 401);
    EXPECT_EQ(statusOf("/session", {{"Host", "localhost"}, {"Authorization", "Bearer"}}), 401);
    EXPECT_EQ(statusOf("/health", ownHost), 0);
}

TEST_F(AccessByToken, ManyLoginsEndTheOldest)
{
    const QByteArray first = logIn();
    const QByteArray second = logIn();
    for (int i = 0; i < 999; ++i)
        static_cast<void>(logIn());
    EXPECT_EQ(statusOf("/session", withCookie(first)), 401);
    EXPECT_EQ(statusOf("/session", withCookie(second)), 0);
}

TEST(HostName, IsReadInItsOnlyForm)
{
    const struct
    {
        const char* text;
        const char* name;
    } cases[] = {
        {"music", "music"},         {"Music.Example.ORG.", "music.example.org"},
        {"my_host-1", "my_host-1"}, {"10.0.0.1", "10.0.0.1"},
        {"::1", "[::1]"},           {"[2001:DB8::0:1]", "[2001:db8::1]"},
    };
    for (const auto& expected : cases) {
        const Result<QByteArray> host = readHostName(QString::fromUtf8(expected.text));
        ASSERT_TRUE(host) << expected.text;
        EXPECT_EQ(host.value(), QByteArray(expected.name));
    }
}

TEST(HostName, OtherTextsAreRefused)
{
    for (const char* text :
         {"", ".", "music:8420", "http://music", "music/", "*.example.org", "a..b", "mu sic", "[::1]:80", "[music]",
          "müsic", "a\n"})
        EXPECT_FALSE(readHostName(QString::fromUtf8(text))) << text;
}

TEST(Origin, IsReadAsBrowsersWriteIt)
{
    const struct
    {
        const char* text;
        const char* origin;
    } cases[] = {
        {"https://music.example.org", "https://music.example.org"},
        {"HTTPS://Music.example.org:443/", "https://music.example.org"},
        {"http://music:80", "http://music"},
        {"http://music:443", "http://music:443"},
        {"https://music:8443", "https://music:8443"},
        {"http://[2001:DB8::1]:80", "http://[2001:db8::1]"},
    };
    for (const auto& expected : cases) {
        const Result<QByteArray> origin = readOrigin(QString::fromUtf8(expected.text));
        ASSERT_TRUE(origin) << expected.text;
        EXPECT_EQ(origin.value(), QByteArray(expected.origin));
    }
}

TEST(Origin, OtherTextsAreRefused)
{
    for (const char* text :
         {"", "null", "music", "file://", "ftp://music", "https://", "https://music/page", "https://a@music",
          "https://music?a", "https://music:", "https://music:99999", "https://music:a", "https://*.example.org",
          "https://a b"})
        EXPECT_FALSE(readOrigin(QString::fromUtf8(text))) << text;
}

TEST(Listening, NeedsATokenBeyondLoopback)
{
    const IpAddress loopback = *IpAddress::fromText("::1");
    for (const char* text : {"0.0.0.0", "::", "192.168.1.5"}) {
        const IpAddress address = *IpAddress::fromText(text);
        EXPECT_FALSE(checkListenable(address, false, false)) << text;
        EXPECT_TRUE(checkListenable(address, true, false)) << text;
        EXPECT_TRUE(checkListenable(address, false, true)) << text;
    }
    EXPECT_TRUE(checkListenable(loopback, false, false));
}

} // namespace
