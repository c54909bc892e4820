#include "peers/nginx.h"
#include "support/browser.h"
#include "support/hostsession.h"
#include "support/module.h"
#include "support/race.h"
#include "support/tavoserver.h"
#include "support/websocket.h"
#include "support/workshop.h"

#include <QFile>

#include <memory>

namespace {

/// What the page asks for first.
constexpr int firstRows = 200;
const QStringList roles = {
    QStringLiteral("path"), QStringLiteral("title"), QStringLiteral("type"), QStringLiteral("timestamp")};

/// The page of a server whose root is a directory with many entries, and a browser.
class Visit
{
public:
    Visit(const Workshop& workshop, int entries)
        : m_server(workshop.directoryOf(entries), playablePatterns()), m_empty(emptyPage(workshop))
    {
    }

    [[nodiscard]] Timing toFirstRows() { return elapsed(m_browser.measure("firstRows", address(m_server, "#/file/"))); }

    [[nodiscard]] Timing toEmptyPage() { return elapsed(m_browser.measure("emptyPage", address(m_empty, ""))); }

    [[nodiscard]] Timing toRows() const
    {
        return timingOf([this] {
            WebSocket client(m_server.port());
            client.send(m_rowsRequest);
            require(client.next().find("\"result\"") != std::string_view::npos, "the server refused a request");
        });
    }

    /// Scrolls from end to end; returns the longest frame in milliseconds.
    [[nodiscard]] double scroll()
    {
        const QJsonObject scrolling = m_browser.measure("scrolling", address(m_server, "#/file/"));
        m_rowElements = scrolling[QStringLiteral("elements")].toDouble();
        return scrolling[QStringLiteral("longestFrame")].toDouble();
    }

    /// The most while it was scrolled.
    [[nodiscard]] double rowElements() const { return m_rowElements; }

    [[nodiscard]] double kilobytesOfScripts()
    {
        const QJsonObject scripts = m_browser.measure("scripts", address(m_server, "#/file/"));
        return scripts[QStringLiteral("bytes")].toDouble() / 1000;
    }

private:
    [[nodiscard]] static QString emptyPage(const Workshop& workshop)
    {
        return workshop.filled(QStringLiteral("empty-page"), [](const std::string& directory) {
            QFile file(QString::fromStdString(directory) + QStringLiteral("/index.html"));
            require(
                file.open(QIODevice::WriteOnly) && file.write("<!doctype html><title>-</title>") > 0,
                "cannot write an empty page");
        });
    }

    [[nodiscard]] static QString address(const WebServer& server, const char* place)
    {
        return QStringLiteral("http://127.0.0.1:%1/%2").arg(QString::number(server.port()), QLatin1String(place));
    }

    [[nodiscard]] static Timing elapsed(const QJsonObject& measured)
    {
        const double milliseconds = measured[QStringLiteral("milliseconds")].toDouble();
        require(milliseconds > 0, "the browser does not say how long a page took");
        return {{}, Seconds(milliseconds / 1000)};
    }

    const std::string m_rowsRequest = rowsRequest(QString(), 0, firstRows - 1, roles).toStdString();
    TavoServer m_server;
    Nginx m_empty;
    Browser m_browser;
    double m_rowElements = 0;
};

Race withoutBrowser()
{
    return {{}, {}, {}, Browser::missing()};
}

Race opening(const Workshop& workshop, int entries)
{
    if (!Browser::missing().empty())
        return withoutBrowser();
    const auto visit = std::make_shared<Visit>(workshop, entries);
    const auto floor = [visit] { return Timing{{}, visit->toEmptyPage().wall + visit->toRows().wall}; };
    return {
        {{"an empty page and one request for rows", floor, Clock::Wall},
         {"from navigation to first rows", [visit] { return visit->toFirstRows(); }, Clock::Wall}},
        {{"from navigation to first rows", "an empty page and one request for rows", 3.0}},
        {{"scripts, compressed, kB", [visit] { return visit->kilobytesOfScripts(); }, 60.0}}};
}

Race scrolling(const Workshop& workshop, int entries)
{
    if (!Browser::missing().empty())
        return withoutBrowser();
    const auto visit = std::make_shared<Visit>(workshop, entries);
    return {
        {},
        {},
        {{"longest frame, ms", [visit] { return visit->scroll(); }, 50.0},
         {"row elements", [visit] { return visit->rowElements(); }, 80.0}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        const int entries = workshop.sizes(100000).back();
        addRace("the page opens/" + std::to_string(entries), workshop.rounds(11), [=, &workshop] {
            return opening(workshop, entries);
        });
        addRace("the page scrolls from end to end/" + std::to_string(entries), workshop.rounds(7), [=, &workshop] {
            return scrolling(workshop, entries);
        });
    });
}
