#include "peers/floor.h"
#include "peers/notify.h"
#include "support/listings.h"
#include "support/module.h"
#include "support/race.h"
#include "support/testdata.h"
#include "support/workshop.h"
#include "tavo/tavoroles.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>

#include <atomic>
#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// The time that this thread has been runnable without a processor.
Seconds waited()
{
    std::ifstream file("/proc/thread-self/schedstat");
    std::int64_t ran = 0;
    std::int64_t waited = 0;
    require(static_cast<bool>(file >> ran >> waited), "the kernel does not report how long threads wait");
    return std::chrono::nanoseconds(waited);
}

/// Creates the files as fast as it can and returns the elapsed time without the time spent waiting for a processor,
/// which depends on the machine's load. Time spent waiting for readers of the directory counts.
Timing createFiles(const std::string& directory, int count)
{
    const int descriptor = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    require(descriptor >= 0, "cannot open a directory");
    const Seconds waitedBefore = waited();
    Timing timing = timingOf([=] {
        for (int i = 0; i < count; ++i)
            createFile(descriptor, std::to_string(i) + " - Ålesjö Kvartett.mp3");
    });
    timing.wall -= waited() - waitedBefore;
    close(descriptor);
    return timing;
}

/// A client in its own thread that reads the first rows again after every change.
class Reader : public CMChangeReceiver
{
public:
    Reader(CMWorker& worker, int expected) : m_worker(worker), m_expected(expected) {}

    void rowsChanged(const CMPath& /*path*/, const QStringList& /*changes*/, int /*version*/) override
    {
        if (requestRows(m_worker, QString(), 0, 99, {TavoRoles::Title()}).rowsCount() == m_expected)
            m_isComplete = true;
    }

    [[nodiscard]] bool isComplete() const { return m_isComplete; }

private:
    CMWorker& m_worker;
    const int m_expected;
    std::atomic<bool> m_isComplete{false};
};

class ReaderThread
{
public:
    explicit ReaderThread(Reader& reader) : m_reader(reader)
    {
        m_reader.moveToThread(&m_thread);
        m_thread.start();
    }
    ~ReaderThread()
    {
        m_thread.quit();
        m_thread.wait();
    }
    Q_DISABLE_COPY_MOVE(ReaderThread)

private:
    Reader& m_reader;
    QThread m_thread;
};

/// Runs the worker's event loop until the reader has seen all files.
void serve(const Reader& reader)
{
    QElapsedTimer timer;
    timer.start();
    while (!reader.isComplete()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        require(timer.elapsed() < 60000, "the client missed the last state of the directory");
    }
}

Timing createWatchedByWorker(const Workshop& workshop, int files)
{
    const QString directory = workshop.newDirectoryOf(0);
    const std::unique_ptr<CMWorker> worker = loadWorker(directory, playablePatterns());
    Reader reader(*worker, files);
    require(worker->connectChange(worker->addPrefix(QString()), &reader), "the worker refused to open a directory");
    const ReaderThread readerThread(reader);
    Timing timing;
    Listings::reset();
    std::thread writer([&] { timing = createFiles(directory.toStdString(), files); });
    serve(reader);
    writer.join();
    worker->disconnectChange(worker->addPrefix(QString()), &reader);
    return timing;
}

/// The writer's time while a thread reads the kernel's notifications.
Timing createWatchedByKernel(const Workshop& workshop, int files)
{
    const std::string directory = workshop.newDirectoryOf(0).toStdString();
    const Inotify inotify;
    inotify.add(directory);
    Timing timing;
    std::atomic<bool> isDone{false};
    std::thread writer([&] {
        timing = createFiles(directory, files);
        isDone = true;
    });
    while (!isDone)
        inotify.readWithin(10);
    writer.join();
    return timing;
}

/// The writer's time while two threads list the directory after every change, as the worker and its client do, and do
/// nothing else.
Timing createWatchedByListings(const Workshop& workshop, int files)
{
    const std::string directory = workshop.newDirectoryOf(0).toStdString();
    std::atomic<bool> isDone{false};
    const auto follow = [&](const Inotify& inotify) {
        while (!isDone) {
            inotify.readWithin(10);
            Floor::listNames(directory);
        }
    };
    const Inotify worker;
    const Inotify client;
    worker.add(directory);
    client.add(directory);
    std::thread workerThread(follow, std::cref(worker));
    std::thread clientThread(follow, std::cref(client));
    const Timing timing = createFiles(directory, files);
    isDone = true;
    workerThread.join();
    clientThread.join();
    return timing;
}

Race storm(const Workshop& workshop, int files)
{
    const auto alone = [=, &workshop] { return createFiles(workshop.newDirectoryOf(0).toStdString(), files); };
    return {
        {{"floor", alone, Clock::Wall},
         {"inotify", [=, &workshop] { return createWatchedByKernel(workshop, files); }, Clock::Wall},
         {"inotify and two listings", [=, &workshop] { return createWatchedByListings(workshop, files); }, Clock::Wall},
         {"worker", [=, &workshop] { return createWatchedByWorker(workshop, files); }, Clock::Wall}},
        {{"worker", "inotify", 1.1}, {"worker", "inotify and two listings"}, {"worker", "floor"}, {"inotify", "floor"}},
        {{"listings at once", Listings::mostAtOnce, 1}, {"listings", Listings::made}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        const int files = workshop.isSmoke() ? 1000 : 20000;
        addRace("writer of files in an open directory/" + std::to_string(files), workshop.rounds(11), [=, &workshop] {
            return storm(workshop, files);
        });
    });
}
