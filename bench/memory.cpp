#include "peers/floor.h"
#include "support/module.h"
#include "support/race.h"
#include "support/workshop.h"
#include "tavo/tavoroles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

#include <cstdio>

namespace {

/// What a process that lists a large directory holds, in kB.
struct Memory
{
    double before;
    double peak;
    double after;
};

/// A value of this process' status, in kB.
double status(const char* name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    require(file.open(QIODevice::ReadOnly), "cannot read /proc/self/status");
    const QRegularExpression line(
        QLatin1String("^") + QLatin1String(name) + QLatin1String(":\\s+(\\d+) kB"),
        QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(QString::fromLatin1(file.readAll()));
    require(match.hasMatch(), "/proc/self/status has changed");
    return match.captured(1).toDouble();
}

void forgetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    require(file.open(QIODevice::WriteOnly) && file.write("5") == 1, "cannot write /proc/self/clear_refs");
}

void listWith(const QString& lister, CMWorker& worker, const QString& directory)
{
    if (lister == QLatin1String("floor"))
        Floor::listNames(directory.toStdString());
    else
        require(
            requestRows(worker, directory, 0, 99, {TavoRoles::Title()}).rowsCount() > 0, "the worker lists nothing");
}

/// The child's part: lists a small directory, so that everything is in its place, and then the large one.
int probe(const QString& lister, const QString& small, const QString& large)
{
    const std::unique_ptr<CMWorker> worker = loadWorker(QFileInfo(large).path(), playablePatterns());
    listWith(lister, *worker, small);
    forgetPeak();
    const double before = status("VmRSS");
    listWith(lister, *worker, large);
    std::printf("%f %f %f\n", before, status("VmHWM"), status("VmRSS"));
    return 0;
}

Memory memoryOf(const char* lister, const QString& small, const QString& large)
{
    QProcess child;
    child.start(
        QCoreApplication::applicationFilePath(), {QStringLiteral("--probe"), QLatin1String(lister), small, large});
    require(child.waitForFinished(-1) && child.exitStatus() == QProcess::NormalExit, "the listing process failed");
    const QList<QByteArray> values = child.readAllStandardOutput().simplified().split(' ');
    require(values.size() == 3, "the listing process failed");
    return {values[0].toDouble(), values[1].toDouble(), values[2].toDouble()};
}

double kilobytesOfNames(const QString& directory)
{
    double bytes = 0;
    for (const QString& name : QDir(directory).entryList(QDir::AllEntries | QDir::Hidden, QDir::Unsorted))
        bytes += name.toUtf8().size();
    return bytes / 1024;
}

Race listing(const Workshop& workshop, int entries)
{
    const QString small = workshop.directoryOf(1000);
    const QString large = workshop.directoryOf(entries);
    const double names = kilobytesOfNames(large);
    const auto peak = [=](const char* lister) {
        const Memory memory = memoryOf(lister, small, large);
        return memory.peak - memory.before;
    };
    return {
        {},
        {},
        {{"peak / floor", [=] { return peak("worker") / peak("floor"); }, 3.0},
         {"peak / the names' bytes", [=] { return peak("worker") / names; }},
         {"floor's peak / the names' bytes", [=] { return peak("floor") / names; }},
         {"at rest after / before",
          [=] {
              const Memory memory = memoryOf("worker", small, large);
              return memory.after / memory.before;
          },
          1.05}}};
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 5 && QByteArray(argv[1]) == "--probe") {
        const QCoreApplication application(argc, argv);
        const QStringList arguments = QCoreApplication::arguments();
        return probe(arguments[2], arguments[3], arguments[4]);
    }
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        const int entries = workshop.isSmoke() ? 1000 : 1000000;
        addRace("memory of a listing/" + std::to_string(entries), workshop.rounds(3), [=, &workshop] {
            return listing(workshop, entries);
        });
    });
}
