#include "peers/floor.h"
#include "support/hostsession.h"
#include "support/module.h"
#include "support/procstatus.h"
#include "support/race.h"
#include "support/workshop.h"
#include "tavo/tavoroles.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QThread>

#include <cstdio>

#include <unistd.h>

namespace {

constexpr double restingGrowth = 1.05;

/// Memory of a process before, during and after the listing of a large directory, in kB.
struct Memory
{
    double before = 0;
    double peak = 0;
    double after = 0;
};

void forgetPeak(pid_t process)
{
    QFile file(QStringLiteral("/proc/%1/clear_refs").arg(process));
    require(file.open(QIODevice::WriteOnly) && file.write("5") == 1, "cannot reset a process' peak");
}

/// Lists the small directory first, so that everything is loaded and allocated once.
template<typename List>
Memory watch(pid_t process, const List& list, const QString& small, const QString& large)
{
    list(small);
    forgetPeak(process);
    Memory memory;
    memory.before = kilobytesOf("VmRSS", process);
    list(large);
    memory.peak = kilobytesOf("VmHWM", process);
    list(small);
    // The process may free memory after it has answered.
    const QDeadlineTimer deadline(2000);
    do {
        memory.after = kilobytesOf("VmRSS", process);
        QThread::msleep(10);
    } while (memory.after > restingGrowth * memory.before && !deadline.hasExpired());
    return memory;
}

Memory ofHost(const Workshop& workshop, const QString& small, const QString& large)
{
    HostSession host(workshop.root(), playablePatterns());
    const auto list = [&](const QString& directory) {
        host.rows(directory.mid(workshop.root().size() + 1), 0, 99, {TavoRoles::Title()});
    };
    return watch(host.process(), list, small, large);
}

int probeFloor(const QString& small, const QString& large)
{
    const auto list = [](const QString& directory) { Floor::listNames(directory.toStdString()); };
    const Memory memory = watch(getpid(), list, small, large);
    std::printf("%f %f %f\n", memory.before, memory.peak, memory.after);
    return 0;
}

/// Measures in a process of its own, which holds nothing else.
Memory ofFloor(const QString& small, const QString& large)
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--probe-floor"), small, large});
    require(child.waitForFinished(-1) && child.exitStatus() == QProcess::NormalExit, "the floor's process failed");
    const QList<QByteArray> values = child.readAllStandardOutput().simplified().split(' ');
    require(values.size() == 3, "the floor's process failed");
    return {values[0].toDouble(), values[1].toDouble(), values[2].toDouble()};
}

double kilobytesOfNames(const QString& directory)
{
    double bytes = 0;
    for (const QString& name : QDir(directory).entryList(QDir::AllEntries | QDir::Hidden, QDir::Unsorted))
        bytes += name.toUtf8().size();
    return bytes / 1024;
}

/// All facts of a round come from the same two runs.
class Listing
{
public:
    Listing(const Workshop& workshop, int entries)
        : m_workshop(workshop), m_small(workshop.directoryOf(1000)), m_large(workshop.directoryOf(entries)),
          m_names(kilobytesOfNames(m_large))
    {
    }

    double peakByFloor()
    {
        m_host = ofHost(m_workshop, m_small, m_large);
        m_floor = ofFloor(m_small, m_large);
        return growth(m_host) / growth(m_floor);
    }
    [[nodiscard]] double peakByNames() const { return growth(m_host) / m_names; }
    [[nodiscard]] double floorByNames() const { return growth(m_floor) / m_names; }
    [[nodiscard]] double rest() const { return m_host.after / m_host.before; }
    [[nodiscard]] double floorRest() const { return m_floor.after / m_floor.before; }

private:
    [[nodiscard]] static double growth(const Memory& memory) { return memory.peak - memory.before; }

    const Workshop& m_workshop;
    QString m_small;
    QString m_large;
    double m_names;
    Memory m_host;
    Memory m_floor;
};

Race listing(const Workshop& workshop, int entries)
{
    const auto shared = std::make_shared<Listing>(workshop, entries);
    return {
        {},
        {},
        {{"peak of the host / floor", [=] { return shared->peakByFloor(); }, 3.0},
         {"peak of the host / the names' bytes", [=] { return shared->peakByNames(); }},
         {"peak of the floor / the names' bytes", [=] { return shared->floorByNames(); }},
         {"host at rest after it / before", [=] { return shared->rest(); }, restingGrowth},
         {"floor at rest after it / before", [=] { return shared->floorRest(); }}}};
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && QByteArray(argv[1]) == "--probe-floor") {
        const QCoreApplication application(argc, argv);
        const QStringList arguments = QCoreApplication::arguments();
        return probeFloor(arguments[2], arguments[3]);
    }
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        const int entries = workshop.isSmoke() ? 1000 : 1000000;
        addRace("memory of a listing/" + std::to_string(entries), workshop.rounds(3), [=, &workshop] {
            return listing(workshop, entries);
        });
    });
}
