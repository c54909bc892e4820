// Requests: the first line is the method and the target, each further line a field. Whatever arrives, nobody is served
// who may not be, and nothing that was sent ends a line of an answer or of the log.

#include "check.h"

#include "http/access.h"
#include "http/accesslog.h"
#include "http/conditions.h"
#include "http/pageassets.h"
#include "http/response.h"
#include "media/httpdate.h"

#include <QByteArrayList>

#include <algorithm>

namespace {

const QByteArray token = "correct horse battery staple";
const Connection ends = {*IpAddress::fromText("192.168.1.77"), *IpAddress::fromText("192.168.1.5")};
const AccessPolicy::Time now{};

/// The text in front of the separator, which is taken off with it.
QByteArray take(QByteArray& text, char separator)
{
    const int position = text.indexOf(separator);
    QByteArray taken = position < 0 ? text : text.left(position);
    text.remove(0, position < 0 ? text.size() : position + 1);
    return taken;
}

RequestHead requestIn(QByteArray text)
{
    RequestHead head;
    QByteArray line = take(text, '\n');
    head.method = take(line, ' ');
    head.target = line;
    while (!text.isEmpty()) {
        line = take(text, '\n');
        const QByteArray name = take(line, ':');
        head.fields.push_back({name, line.trimmed()});
    }
    return head;
}

bool isOneWord(const QByteArray& text)
{
    return std::all_of(text.cbegin(), text.cend(), [](char c) { return c > ' ' && c < '\x7F'; });
}

QByteArray encoded(const QString& text)
{
    return text.toUtf8().toPercentEncoding("/");
}

void checkRoute(const RequestHead& head, const Route& route)
{
    FUZZ_CHECK(head.target.startsWith('/') && isOneWord(head.target));
    FUZZ_CHECK(!route.prefix.contains(QChar::Null) && !route.base.contains(QChar::Null));
    if (route.kind != Route::Kind::Media)
        return;
    const Routing again =
        findRoute(head.method, "/media/" + encoded(route.prefix).replace('/', "%2F") + '/' + encoded(route.base));
    const auto* const same = std::get_if<Route>(&again.result);
    FUZZ_CHECK(same && same->prefix == route.prefix && same->base == route.base);
}

void checkRouting(const RequestHead& head)
{
    const Routing routing = findRoute(head.method, head.target);
    if (const auto* const route = std::get_if<Route>(&routing.result)) {
        checkRoute(head, *route);
        return;
    }
    const auto& refusal = std::get<Refusal>(routing.result);
    FUZZ_CHECK(refusal.status == 400 || refusal.status == 404 || refusal.status == 405);
    FUZZ_CHECK((refusal.status == 405) == !refusal.fields.empty());
}

bool knowsToken(const RequestHead& head)
{
    const auto hasToken = [](const HeaderField& field) { return field.value.endsWith(' ' + token); };
    return std::any_of(head.fields.cbegin(), head.fields.cend(), hasToken);
}

bool namesOwnHost(const RequestHead& head)
{
    const QByteArray host = head.value("Host").toLower();
    const QByteArrayList own = {"localhost", "127.0.0.1", "192.168.1.5", "music.example.org", "tavo.example.net"};
    const bool isOwn = std::any_of(own.cbegin(), own.cend(), [&host](const QByteArray& name) {
        const QByteArray rest = host.mid(name.size());
        return host.startsWith(name) && (rest.isEmpty() || rest.startsWith('.') || rest.startsWith(':'));
    });
    // Addresses of version 6 have many notations.
    return isOwn || host.startsWith('[');
}

bool comesFromOwnPage(const RequestHead& head)
{
    const QByteArray origin = head.value("Origin").toLower();
    const QByteArray host = head.value("Host").toLower();
    return head.count("Origin") == 0 || origin == "https://tavo.example.net" ||
           (origin == "http://" + host && !host.startsWith("tavo.example.net"));
}

void checkAccess(const RequestHead& head)
{
    AccessPolicy policy({{"music.example.org"}, {"https://tavo.example.net"}, true});
    policy.setToken(token);
    const auto admitted = policy.admit(head, ends, now);
    const auto* const admission = std::get_if<Admission>(&admitted);
    if (!admission)
        return;
    FUZZ_CHECK(head.count("Host") == 1 && namesOwnHost(head));
    FUZZ_CHECK(comesFromOwnPage(head));
    FUZZ_CHECK(findRoute(head.method, head.target).isOpen || knowsToken(head));
    FUZZ_CHECK(policy.holds(admission->credential));
    policy.setToken(token + '!');
    FUZZ_CHECK(policy.holds(admission->credential) == findRoute(head.method, head.target).isOpen);
}

void checkLog(const RequestHead& head)
{
    const QByteArray line = accessLine({head.method, head.target, 200, 0, {}, ends.client});
    const QByteArrayList words = line.split(' ');
    FUZZ_CHECK(words.size() == 6 && std::all_of(words.cbegin(), words.cend(), isOneWord));
}

/// As a server does that repeats what it was sent.
void checkHead(const RequestHead& head)
{
    ResponseHead response(200);
    const int lines = response.toText(0).count('\n');
    response.set("X-Sent", head.target);
    for (const HeaderField& field : head.fields)
        response.set("X-Sent", field.value);
    const QByteArray text = response.toText(0);
    FUZZ_CHECK(text.count('\n') == lines + 1 && text.count('\r') == lines + 1 && !text.contains('\0'));
}

void checkValues(const RequestHead& head)
{
    const Response page = servePage(head, "index.html");
    FUZZ_CHECK((page.head.status() == 304) == page.body.isEmpty());
    for (const HeaderField& field : head.fields) {
        if (const auto time = fromHttpDate(field.value))
            FUZZ_CHECK(fromHttpDate(toHttpDate(*time)) == time);
        if (const auto address = IpAddress::fromText(field.value.toStdString()))
            FUZZ_CHECK(IpAddress::fromText(address->toText().toStdString()) == address);
    }
}

/// A name or an origin that the operator may give admits those who use it.
void checkSettings(const QByteArray& text)
{
    if (const auto host = readHostName(QString::fromUtf8(text))) {
        AccessPolicy policy({{host.value()}, {}, false});
        const RequestHead head{"GET", "/", {{"Host", host.value() + ":8420"}}};
        FUZZ_CHECK(std::holds_alternative<Admission>(policy.admit(head, ends, now)));
    }
    if (const auto origin = readOrigin(QString::fromUtf8(text))) {
        AccessPolicy policy({{}, {origin.value()}, false});
        const QByteArray host = origin.value().mid(origin.value().indexOf("://") + 3);
        const RequestHead head{"GET", "/", {{"Host", host}, {"Origin", origin.value()}}};
        FUZZ_CHECK(std::holds_alternative<Admission>(policy.admit(head, ends, now)));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const RequestHead head = requestIn({reinterpret_cast<const char*>(data), static_cast<int>(size)});
    checkRouting(head);
    checkAccess(head);
    checkLog(head);
    checkHead(head);
    checkValues(head);
    checkSettings(head.target);
    return 0;
}
