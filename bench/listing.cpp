#include "peers/floor.h"
#include "peers/gio.h"
#include "peers/kio.h"
#include "peers/mpd.h"
#include "support/module.h"
#include "support/race.h"
#include "support/workshop.h"
#include "tavo/tavoroles.h"

#include <QDir>

#include <memory>

namespace {

constexpr int pageSize = 100;

struct Servers
{
    explicit Servers(const QString& root)
        : plain(loadWorker(root, playablePatterns())), wildcard(loadWorker(root, wildcardPatterns()))
    {
    }

    std::unique_ptr<CMWorker> plain;
    std::unique_ptr<CMWorker> wildcard;
    Mpd mpd;
};

void listSorted(const QString& directory, const QStringList& patterns)
{
    const QFileInfoList entries = QDir(directory).entryInfoList(
        patterns, QDir::AllDirs | QDir::Files | QDir::NoDotAndDotDot, QDir::Name | QDir::DirsFirst);
    QStringList titles;
    for (const QFileInfo& entry : entries.mid(0, pageSize))
        titles.append(entry.fileName());
    require(!titles.isEmpty(), "QDir lists nothing");
}

Race pageOfTitles(const Workshop& workshop, int entries)
{
    const QString directory = workshop.directoryOf(entries);
    const std::string path = directory.toStdString();
    const auto servers = std::make_shared<Servers>(workshop.root());
    const auto rows = [=](CMWorker& worker) {
        const TavoRowsRoles page = requestRows(worker, directory, 0, pageSize - 1, {TavoRoles::Title()});
        require(!page.rows().isEmpty(), "the worker lists nothing");
    };
    const int peerRounds = entries < 1000000 ? 1000 : 2;
    Race race;
    race.contestants = {
        {"floor", repeating([=] { Floor::listNames(path); })},
        {"plain patterns", repeating([=] { rows(*servers->plain); })},
        {"wildcard patterns", repeating([=] { rows(*servers->wildcard); })},
        {"QDir", repeating([=] { listSorted(directory, playablePatterns()); }), Clock::Cpu, peerRounds},
        {"GIO", repeating([=] { Gio::list(path, "standard::name,standard::type"); }), Clock::Cpu, peerRounds},
        {"KIO", repeating([=] { Kio::list(directory); }), Clock::Wall, peerRounds},
        {"MPD", repeating([=] { servers->mpd.listFiles(path); }), Clock::Wall, peerRounds}};
    const bool isTargeted = entries >= 1000;
    race.claims = {
        {"plain patterns", "floor", isTargeted ? 1.15 : 0}, {"wildcard patterns", "floor", isTargeted ? 1.3 : 0}};
    for (const char* const peer : {"QDir", "GIO", "KIO", "MPD"}) {
        race.claims.push_back({"plain patterns", peer, isTargeted ? 1.0 : 0});
        race.claims.push_back({"wildcard patterns", peer});
    }
    return race;
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        for (const int entries : workshop.sizes(1000000)) {
            addRace(
                "page of 100 titles/" + std::to_string(entries), workshop.rounds(entries < 100000 ? 15 : 5),
                [=, &workshop] { return pageOfTitles(workshop, entries); });
        }
    });
}
