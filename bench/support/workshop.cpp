#include "support/workshop.h"

#include "support/race.h"
#include "support/testdata.h"

#include <QCoreApplication>
#include <QDir>

#include <benchmark/benchmark.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>

#include <algorithm>

namespace {

constexpr int treeFilesPerDirectory = 10;

/// Logs as a host without a log configuration.
void logWarningsOnly()
{
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.setLogLevel(log4cplus::WARN_LOG_LEVEL);
    root.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::ConsoleAppender(true)));
}

/// Removes `--name=value` from the list and returns the value.
QString takeOption(QStringList& arguments, const QString& name)
{
    const QString start = name + QLatin1Char('=');
    const auto found = std::find_if(
        arguments.begin(), arguments.end(), [&](const QString& argument) { return argument.startsWith(start); });
    if (found == arguments.end())
        return {};
    const QString value = found->mid(start.size());
    arguments.erase(found);
    return value;
}

} // namespace

Workshop::Workshop(const QString& dataDirectory, bool smoke)
    : m_smoke(smoke), m_root(QFileInfo(dataDirectory.isEmpty() ? m_own.path() : dataDirectory).canonicalFilePath())
{
    require(!m_root.isEmpty(), "no directory for the test data");
}

std::vector<int> Workshop::sizes(int largest) const
{
    std::vector<int> result;
    for (int size = 100; size <= (m_smoke ? std::min(largest, 1000) : largest); size *= 10)
        result.push_back(size);
    return result;
}

QString Workshop::directoryOf(int entries) const
{
    return filled(
        QStringLiteral("directory-%1").arg(entries), [=](const std::string& path) { fillDirectory(path, entries); });
}

QString Workshop::newDirectoryOf(int entries) const
{
    QTemporaryDir directory(m_root + QStringLiteral("/own-XXXXXX"));
    require(directory.isValid(), "cannot make a directory for the test data");
    directory.setAutoRemove(false);
    fillDirectory(directory.path().toStdString(), entries);
    return directory.path();
}

QString Workshop::treeOf(int directories) const
{
    return filled(QStringLiteral("tree-%1").arg(directories), [=](const std::string& path) {
        fillTree(path, directories * treeFilesPerDirectory, directories);
    });
}

QString Workshop::filled(const QString& name, const std::function<void(const std::string&)>& fill) const
{
    const QString path = m_root + QLatin1Char('/') + name;
    // A directory gets its name when it is complete.
    const QString unfinished = path + QStringLiteral(".unfinished");
    if (!QFileInfo::exists(path)) {
        require(QDir().mkdir(unfinished), "cannot make a directory for the test data");
        fill(unfinished.toStdString());
        require(QDir().rename(unfinished, path), "cannot rename a directory of the test data");
    }
    return path;
}

int runBenchmarks(int argc, char** argv, const std::function<void(const Workshop&)>& addRaces)
{
    const log4cplus::Initializer logging;
    logWarningsOnly();
    benchmark::Initialize(&argc, argv);
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString data = takeOption(arguments, QStringLiteral("--data"));
    const bool smoke = arguments.removeAll(QStringLiteral("--smoke")) > 0;
    require(arguments.isEmpty(), "unknown argument; own options: --smoke, --data=DIRECTORY");

    const Workshop workshop(data, smoke);
    addRaces(workshop);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::ClearRegisteredBenchmarks();
    benchmark::Shutdown();
    return 0;
}
