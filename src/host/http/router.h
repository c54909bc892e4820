#pragma once

#include "http/requesthead.h"

#include <QByteArray>
#include <QString>

#include <variant>
#include <vector>

/// The answer to a request that is not served.
struct Refusal
{
    /// From 400.
    int status;
    /// Fields of the response that belong to the status, such as Allow.
    std::vector<HeaderField> fields = {};
};

/// The part of the server that a request addresses.
struct Route
{
    enum class Kind {
        /// A file of the page.
        Page,
        /// The WebSocket.
        Session,
        Rpc,
        Media,
        Cover,
        Health,
        Metrics,
        Login,
        Logout
    };

    Kind kind;
    /// Of a page: "index.html", or "app/" and more. There need not be such a file.
    QByteArray asset = {};
    /// Of media and covers: the mount's ID, not empty, and the base. Both are decoded, once, and not normalised: the
    /// base may be absolute, be empty, end in a slash, and have empty, "." and ".." segments. Neither contains NUL.
    QString prefix = {};
    QString base = {};
    /// Of covers: pixels, from 1 to widestCover.
    int width = 0;
};

constexpr int usualCover = 400;
constexpr int widestCover = 10'000;

/// A method and a target, looked up.
struct Routing
{
    std::variant<Route, Refusal> result;
    /// Served without a token: the page, /health and /login, refused methods included.
    bool isOpen = false;
};

/// Looks the target up. Only origin-form is accepted. Refuses with 400 what is malformed (escapes, NUL, UTF-8, width),
/// with 404 what names no route, and with 405 a method that the route does not have.
[[nodiscard]] Routing findRoute(const QByteArray& method, const QByteArray& target);

/// The path of the target, without its query, as the log shows it: printable ASCII in one word, whatever was sent.
[[nodiscard]] QByteArray loggedPath(const QByteArray& target);
