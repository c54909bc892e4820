#include "support/client.h"
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
#include <memory>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// Creates the files as fast as it can and tells how long that took.
Timing createFiles(const std::string& directory, int count)
{
    const int descriptor = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    require(descriptor >= 0, "cannot open a directory");
    const Timing timing = timingOf([=] {
        for (int i = 0; i < count; ++i)
            createFile(descriptor, std::to_string(i) + " - Ålesjö Kvartett.mp3");
    });
    close(descriptor);
    return timing;
}

/// A client with a thread of its own that reads the first rows again whenever it is told of a change.
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
        require(timer.elapsed() < 60000, "the last state of a directory was not told");
    }
}

Timing createWatched(const Workshop& workshop, int files)
{
    const QString directory = workshop.newDirectoryOf(0);
    const std::unique_ptr<CMWorker> worker = loadWorker(directory, playablePatterns());
    Reader reader(*worker, files);
    require(worker->connectChange(worker->addPrefix(QString()), &reader), "the worker refused to open a directory");
    const ReaderThread readerThread(reader);
    Timing timing;
    std::thread writer([&] { timing = createFiles(directory.toStdString(), files); });
    serve(reader);
    writer.join();
    worker->disconnectChange(worker->addPrefix(QString()), &reader);
    return timing;
}

Race storm(const Workshop& workshop, int files)
{
    Listings::reset();
    return {
        {{"floor", [=, &workshop] { return createFiles(workshop.newDirectoryOf(0).toStdString(), files); },
          Clock::Wall},
         {"the writer, watched", [=, &workshop] { return createWatched(workshop, files); }, Clock::Wall}},
        {{"the writer, watched", "floor", 1.1}},
        {{"listings at once", [] { return Listings::mostAtOnce(); }, 1}, {"listings", [] {
                                                                              const int made = Listings::made();
                                                                              Listings::reset();
                                                                              return made;
                                                                          }}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        const int files = workshop.isSmoke() ? 1000 : 20000;
        addRace("files created in an open directory/" + std::to_string(files), workshop.rounds(15), [=, &workshop] {
            return storm(workshop, files);
        });
    });
}
