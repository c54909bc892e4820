#include "peers/floor.h"
#include "peers/gio.h"
#include "support/allocations.h"
#include "support/module.h"
#include "support/race.h"
#include "support/workshop.h"
#include "tavo/tavoroles.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QMimeDatabase>

#include <benchmark/benchmark.h>

#include <memory>

#include <sys/stat.h>

namespace {

const QStringList everything = {QStringLiteral("*")};

/// Gets the values of the seven roles from Qt.
void listWithTypes(const QString& directory)
{
    const QMimeDatabase types;
    const QFileInfoList entries = QDir(directory).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& entry : entries) {
        benchmark::DoNotOptimize(entry.fileName());
        benchmark::DoNotOptimize(entry.isDir());
        benchmark::DoNotOptimize(entry.lastModified().toSecsSinceEpoch());
        benchmark::DoNotOptimize(types.mimeTypeForFile(entry, QMimeDatabase::MatchExtension).name());
    }
    require(!entries.isEmpty(), "QDir lists nothing");
}

Measure listingAll(const std::shared_ptr<CMWorker>& worker, const QString& directory)
{
    return repeating([=] {
        const TavoRowsRoles all = requestRows(*worker, directory, 0, std::numeric_limits<int>::max(), allRoles());
        require(all.rows().size() == all.rowsCount(), "rows are missing");
    });
}

Race allRows(const Workshop& workshop, int entries)
{
    const QString directory = workshop.directoryOf(entries);
    const std::string path = directory.toStdString();
    const std::shared_ptr<CMWorker> worker = loadWorker(workshop.root(), everything);
    return {
        {{"floor", repeating([=] { Floor::listAndStat(path); })},
         {"worker", listingAll(worker, directory)},
         {"GIO", repeating([=] { Gio::list(path, "standard::*,time::modified"); })},
         {"QFileInfo and QMimeDatabase", repeating([=] { listWithTypes(directory); })}},
        {{"worker", "floor"},
         {"worker", "GIO", entries >= 1000 ? 0.55 : 0},
         {"worker", "QFileInfo and QMimeDatabase"}}};
}

/// What the work takes beyond the floor.
Measure beyond(const Measure& floor, const Measure& work)
{
    return [floor, work] {
        const Timing lower = floor();
        const Timing whole = work();
        return Timing{whole.cpu - lower.cpu, whole.wall - lower.wall};
    };
}

Race growth(const Workshop& workshop, int few, int many)
{
    const std::shared_ptr<CMWorker> worker = loadWorker(workshop.root(), everything);
    const auto floor = [](const QString& directory) {
        return repeating([path = directory.toStdString()] { Floor::listAndStat(path); });
    };
    const QString small = workshop.directoryOf(few);
    const QString large = workshop.directoryOf(many);
    const Measure floorOfFew = perPart(floor(small), few);
    const Measure floorOfMany = perPart(floor(large), many);
    const Measure listingFew = perPart(listingAll(worker, small), few);
    const Measure listingMany = perPart(listingAll(worker, large), many);
    return {
        {{"floor, few", floorOfFew},
         {"floor, many", floorOfMany},
         {"few", listingFew},
         {"many", listingMany},
         {"few, beyond the floor", beyond(floorOfFew, listingFew)},
         {"many, beyond the floor", beyond(floorOfMany, listingMany)}},
        {{"many, beyond the floor", "few, beyond the floor", 1.0}, {"many", "few"}, {"floor, many", "floor, few"}}};
}

double allocationsOf(const std::function<void()>& work)
{
    const std::size_t before = allocationsMade();
    work();
    return static_cast<double>(allocationsMade() - before);
}

Race oneRow(const Workshop& workshop)
{
    const std::shared_ptr<CMWorker> worker = loadWorker(workshop.root(), everything);
    const QString directory = workshop.directoryOf(1000);
    const QString path =
        directory + QLatin1Char('/') + QDir(directory).entryList({QStringLiteral("*.mp3")}, QDir::Files).constFirst();
    const auto row = [worker, path](const QStringList& roles) {
        CMVoidReply reply;
        require(worker->getDataImpl(reply, path, roles).size() == roles.size(), "a row was refused");
    };
    return {
        {{"floor", repeating([file = path.toStdString()] {
              struct stat status = {};
              require(stat(file.c_str(), &status) == 0, "stat failed");
              benchmark::DoNotOptimize(status);
          })},
         {"seven roles", repeating([=] { row(allRoles()); })},
         {"title", repeating([=] { row({TavoRoles::Title()}); })}},
        {{"seven roles", "floor", 8.0}, {"title", "floor"}},
        {{"allocations, seven roles", [=] { return allocationsOf([=] { row(allRoles()); }); }},
         {"allocations, title", [=] { return allocationsOf([=] { row({TavoRoles::Title()}); }); }}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        for (const int entries : workshop.sizes(100000)) {
            addRace(
                "all rows, seven roles/" + std::to_string(entries), workshop.rounds(entries < 100000 ? 9 : 5),
                [=, &workshop] { return allRows(workshop, entries); });
        }
        addRace("cost of a row, many by few", workshop.rounds(9), [&workshop] {
            return growth(workshop, 1000, workshop.isSmoke() ? 1000 : 100000);
        });
        addRace("getDataImpl, one row", workshop.rounds(31), [&workshop] { return oneRow(workshop); });
    });
}
