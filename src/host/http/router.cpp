#include "http/router.h"

#include <QByteArrayList>
#include <QTextCodec>

#include <algorithm>
#include <array>
#include <optional>

namespace {

struct Endpoint
{
    QByteArray path;
    Route::Kind kind;
    QByteArrayList methods;
    /// Whether longer paths that begin with `path` belong to the endpoint, too.
    bool hasRest = false;
    bool isOpen = false;
};

const QByteArrayList reading = {"GET", "HEAD"};
const QByteArrayList sending = {"POST"};

const std::array<Endpoint, 10> endpoints = {{
    {"/", Route::Kind::Page, reading, false, true},
    {"/app/", Route::Kind::Page, reading, true, true},
    {"/session", Route::Kind::Session, {"GET"}},
    {"/rpc", Route::Kind::Rpc, sending},
    {"/media/", Route::Kind::Media, reading, true},
    {"/cover/", Route::Kind::Cover, reading, true},
    {"/health", Route::Kind::Health, reading, false, true},
    {"/metrics", Route::Kind::Metrics, reading},
    {"/login", Route::Kind::Login, sending, false, true},
    {"/logout", Route::Kind::Logout, sending},
}};

bool isPrintable(char character)
{
    return character > ' ' && character < '\x7F';
}

struct Halves
{
    QByteArray before;
    QByteArray behind;
};

/// The text on both sides of the first separator; without one, all of it is `before`.
Halves splitAt(const QByteArray& text, char separator)
{
    const int position = text.indexOf(separator);
    if (position < 0)
        return {text, {}};
    return {text.left(position), text.mid(position + 1)};
}

bool isOriginForm(const QByteArray& target)
{
    return target.startsWith('/') && !target.contains('#') && std::all_of(target.cbegin(), target.cend(), &isPrintable);
}

const Endpoint* findEndpoint(const QByteArray& path)
{
    const auto* const found = std::find_if(endpoints.cbegin(), endpoints.cend(), [&path](const Endpoint& endpoint) {
        return endpoint.hasRest ? path.startsWith(endpoint.path) : path == endpoint.path;
    });
    return found == endpoints.cend() ? nullptr : found;
}

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    const char letter = static_cast<char>(digit | 0x20);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

/// The byte that the escape at the position stands for; nothing if there is no escape.
std::optional<char> unescaped(const QByteArray& text, int position)
{
    if (position + 2 >= text.size())
        return std::nullopt;
    const int high = hexValue(text.at(position + 1));
    const int low = hexValue(text.at(position + 2));
    if (high < 0 || low < 0)
        return std::nullopt;
    return static_cast<char>(high * 16 + low);
}

std::optional<QByteArray> withoutEscapes(const QByteArray& text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (int position = 0; position < text.size(); ++position) {
        if (text.at(position) != '%') {
            bytes.append(text.at(position));
            continue;
        }
        const std::optional<char> byte = unescaped(text, position);
        if (!byte || *byte == '\0')
            return std::nullopt;
        bytes.append(*byte);
        position += 2;
    }
    return bytes;
}

std::optional<QString> decoded(const QByteArray& text)
{
    const std::optional<QByteArray> bytes = withoutEscapes(text);
    if (!bytes)
        return std::nullopt;
    constexpr int utf8 = 106;
    static const QTextCodec* const codec = QTextCodec::codecForMib(utf8);
    // A name may begin with a byte order mark.
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    const QString characters = codec->toUnicode(bytes->constData(), bytes->size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0)
        return std::nullopt;
    return characters;
}

/// The value of the query's only `width`; the usual one if it has none, nothing if it makes no sense.
std::optional<int> widthIn(const QByteArray& query)
{
    const QByteArray key = "width=";
    std::optional<int> width;
    for (const QByteArray& parameter : query.split('&')) {
        if (!parameter.startsWith(key))
            continue;
        const QByteArray digits = parameter.mid(key.size());
        const bool isNumber = !digits.isEmpty() && std::all_of(digits.cbegin(), digits.cend(), [](char digit) {
            return digit >= '0' && digit <= '9';
        });
        if (!isNumber || width)
            return std::nullopt;
        bool fits = false;
        const int number = digits.toInt(&fits);
        width = fits ? std::clamp(number, 1, widestCover) : widestCover;
    }
    return width.value_or(usualCover);
}

using RouteOrRefusal = std::variant<Route, Refusal>;

/// `rest`: PREFIX, or PREFIX/BASE.
RouteOrRefusal fileRoute(Route::Kind kind, const QByteArray& rest)
{
    const Halves halves = splitAt(rest, '/');
    Route route{kind};
    route.prefix = *decoded(halves.before);
    route.base = *decoded(halves.behind);
    if (route.prefix.isEmpty())
        return Refusal{404};
    return route;
}

RouteOrRefusal coverRoute(const QByteArray& rest, const QByteArray& query)
{
    RouteOrRefusal result = fileRoute(Route::Kind::Cover, rest);
    const std::optional<int> width = widthIn(query);
    if (!width)
        return Refusal{400};
    if (auto* const route = std::get_if<Route>(&result))
        route->width = *width;
    return result;
}

Route pageRoute(const QString& path)
{
    Route route{Route::Kind::Page};
    route.asset = path == QLatin1String("/") ? "index.html" : path.mid(1).toUtf8();
    return route;
}

/// `path`: not decoded, of this endpoint, well-formed.
RouteOrRefusal routeAt(const Endpoint& endpoint, const QByteArray& path, const QByteArray& query)
{
    const QByteArray rest = path.mid(endpoint.path.size());
    switch (endpoint.kind) {
    case Route::Kind::Page:
        return pageRoute(*decoded(path));
    case Route::Kind::Media:
        return fileRoute(endpoint.kind, rest);
    case Route::Kind::Cover:
        return coverRoute(rest, query);
    default:
        return Route{endpoint.kind};
    }
}

} // namespace

Routing findRoute(const QByteArray& method, const QByteArray& target)
{
    if (!isOriginForm(target))
        return {Refusal{400}};
    const auto [path, query] = splitAt(target, '?');
    const Endpoint* const endpoint = findEndpoint(path);
    const bool isOpen = endpoint && endpoint->isOpen;
    if (!decoded(path))
        return {Refusal{400}, isOpen};
    if (!endpoint)
        return {Refusal{404}};
    if (!endpoint->methods.contains(method))
        return {Refusal{405, {{"Allow", endpoint->methods.join(", ")}}}, isOpen};
    return {routeAt(*endpoint, path, query), isOpen};
}

QByteArray loggedPath(const QByteArray& target)
{
    QByteArray logged;
    for (const char character : splitAt(target, '?').before) {
        if (isPrintable(character))
            logged.append(character);
        else
            logged.append('%').append(QByteArray(1, character).toHex().toUpper());
    }
    return logged;
}
