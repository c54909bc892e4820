#include "peers/floor.h"
#include "peers/notify.h"
#include "support/client.h"
#include "support/module.h"
#include "support/race.h"
#include "support/workshop.h"
#include "tavo/tavoroles.h"

#include <KDirWatch>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileSystemWatcher>
#include <QTimer>

#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr Seconds allowedDelay{0.002};

/// A file that is created and removed again and again.
class ExtraFile
{
public:
    explicit ExtraFile(const QString& directory) : m_path((directory + QStringLiteral("/zz extra.mp3")).toStdString())
    {
    }

    void create() const
    {
        const int file = open(m_path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0644);
        require(file >= 0, "cannot make a file");
        close(file);
    }
    void remove() const { require(unlink(m_path.c_str()) == 0, "cannot remove a file"); }

private:
    std::string m_path;
};

class WatchedByKernel
{
public:
    explicit WatchedByKernel(const QString& directory) : m_directory(directory.toStdString()), m_extraFile(directory)
    {
        m_inotify.add(m_directory);
    }

    Timing changeAndList(int listings) const
    {
        const Timing timing = timingOf([&] {
            m_extraFile.create();
            m_inotify.read();
            for (int i = 0; i < listings; ++i)
                Floor::listNames(m_directory);
        });
        m_extraFile.remove();
        m_inotify.read();
        return timing;
    }

private:
    std::string m_directory;
    ExtraFile m_extraFile;
    Inotify m_inotify;
};

class WatchedByWorker
{
public:
    explicit WatchedByWorker(const QString& directory)
        : m_directory(directory), m_extraFile(directory), m_worker(loadWorker(directory, playablePatterns())),
          m_client(*m_worker)
    {
        m_client.open(QString());
        readPage();
    }

    Timing change()
    {
        return comeAndGo([this] { m_client.waitForChanges(m_client.changes() + 1); });
    }

    Timing changeAndRead()
    {
        return comeAndGo([this] {
            m_client.waitForChanges(m_client.changes() + 1);
            readPage();
        });
    }

private:
    Timing comeAndGo(const std::function<void()>& react)
    {
        const Timing timing = timingOf([&] {
            m_extraFile.create();
            react();
        });
        m_extraFile.remove();
        m_client.waitForChanges(m_client.changes() + 1);
        readPage();
        return timing;
    }

    void readPage()
    {
        const TavoRowsRoles page = requestRows(*m_worker, QString(), 0, 99, {TavoRoles::Title()});
        require(!page.rows().isEmpty(), "the worker lists nothing");
    }

    QString m_directory;
    ExtraFile m_extraFile;
    std::unique_ptr<CMWorker> m_worker;
    Client m_client;
};

class WatchedByKDirWatch
{
public:
    explicit WatchedByKDirWatch(const QString& directory) : m_extraFile(directory)
    {
        m_watch.addDir(directory);
        QObject::connect(&m_watch, &KDirWatch::dirty, &m_watch, [this] { m_isNotified = true; });
        QObject::connect(&m_watch, &KDirWatch::created, &m_watch, [this] { m_isNotified = true; });
    }

    Timing change()
    {
        m_isNotified = false;
        const Timing timing = timingOf([this] {
            m_extraFile.create();
            while (!m_isNotified)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        });
        m_extraFile.remove();
        settle();
        return timing;
    }

private:
    /// KDirWatch reports one change several times, the last time late.
    static void settle()
    {
        QEventLoop loop;
        QTimer::singleShot(100, &loop, &QEventLoop::quit);
        loop.exec();
    }

    ExtraFile m_extraFile;
    KDirWatch m_watch;
    bool m_isNotified = false;
};

Race oneFileMore(const Workshop& workshop, int entries)
{
    const auto kernel = std::make_shared<WatchedByKernel>(workshop.newDirectoryOf(entries));
    const auto worker = std::make_shared<WatchedByWorker>(workshop.newDirectoryOf(entries));
    const auto kDirWatch = std::make_shared<WatchedByKDirWatch>(workshop.newDirectoryOf(entries));
    return {
        {{"inotify and one listing", averaging([=] { return kernel->changeAndList(1); })},
         {"floor", averaging([=] { return kernel->changeAndList(2); })},
         {"notified and read", averaging([=] { return worker->changeAndRead(); })},
         {"notified", averaging([=] { return worker->change(); })},
         {"KDirWatch", [=] { return kDirWatch->change(); }, Clock::Wall}},
        {{"notified and read", "floor", entries >= 1000 ? 1.25 : 0},
         {"notified and read", "inotify and one listing"},
         {"notified", "KDirWatch"}},
        {{"notified / 2 ms", [=] { return worker->change().wall / allowedDelay; }, entries <= 1000 ? 1.0 : 0}}};
}

/// Paths of the first directories below `tree`, relative to it, parents before children.
QStringList someDirectories(const QString& tree, int count)
{
    QStringList found;
    const QDir top(tree);
    for (const QString& genre : top.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        found.append(genre);
        for (const QString& album : QDir(top.filePath(genre)).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
            found.append(genre + QLatin1Char('/') + album);
    }
    return found.mid(0, count);
}

Race openAndClose(const Workshop& workshop, int count)
{
    const QString tree = workshop.treeOf(workshop.isSmoke() ? 100 : 10000);
    const QStringList directories = someDirectories(tree, count);
    QStringList watched = {tree};
    for (const QString& directory : directories)
        watched.append(tree + QLatin1Char('/') + directory);
    std::vector<std::string> watchedByKernel;
    for (const QString& directory : watched)
        watchedByKernel.push_back(directory.toStdString());
    const std::shared_ptr<CMWorker> worker = loadWorker(tree, playablePatterns());
    const auto client = std::make_shared<Client>(*worker);
    return {
        {{"floor", repeating([=] {
              const Inotify inotify;
              std::vector<int> watches;
              for (const std::string& directory : watchedByKernel)
                  watches.push_back(inotify.add(directory));
              for (const int watch : watches)
                  inotify.remove(watch);
          })},
         {"QFileSystemWatcher", repeating([=] {
              QFileSystemWatcher watcher;
              for (const QString& directory : watched)
                  watcher.addPath(directory);
              for (int i = watched.size() - 1; i >= 0; --i)
                  watcher.removePath(watched.at(i));
          })},
         {"worker", repeating([=, keepsWorker = worker] {
              for (const QString& directory : directories)
                  client->open(directory);
              for (int i = directories.size() - 1; i >= 0; --i)
                  client->close(directories.at(i));
          })}},
        {{"worker", "floor"}, {"worker", "QFileSystemWatcher", 1.25}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        for (const int entries : workshop.sizes(100000)) {
            addRace(
                "one file more in an open directory/" + std::to_string(entries),
                workshop.rounds(entries < 100000 ? 11 : 7), [=, &workshop] { return oneFileMore(workshop, entries); });
        }
        const int directories = workshop.isSmoke() ? 20 : 1000;
        addRace("open and close directories/" + std::to_string(directories), workshop.rounds(11), [=, &workshop] {
            return openAndClose(workshop, directories);
        });
    });
}
