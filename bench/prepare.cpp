#include "peers/mpd.h"
#include "peers/taglib.h"
#include "support/child.h"
#include "support/module.h"
#include "support/race.h"
#include "support/taggedfiles.h"
#include "support/workshop.h"
#include "tavo/tavokeys.h"

#include <QDirIterator>

#include <memory>

namespace {

/// The audio files among the host's default patterns.
constexpr int albumArtWidth = 300;

QStringList audioPatterns()
{
    return playablePatterns() + QStringList{QStringLiteral("*.opus")};
}

/// Absolute paths, in the worker's order.
QStringList filesBelow(const QString& directory, const QStringList& patterns)
{
    QStringList files;
    for (QDirIterator walk(directory, patterns, QDir::Files, QDirIterator::Subdirectories); walk.hasNext();)
        files.append(walk.next());
    files.sort(Qt::CaseSensitive);
    return files;
}

int countBelow(const QString& directory, const QStringList& patterns)
{
    int count = 0;
    for (QDirIterator walk(directory, patterns, QDir::Files, QDirIterator::Subdirectories); walk.hasNext(); walk.next())
        ++count;
    return count;
}

std::vector<std::string> findCommand(const QString& directory, const QStringList& patterns)
{
    std::vector<std::string> command = {"find", directory.toStdString(), "-type", "f", "("};
    for (const QString& pattern : patterns) {
        if (pattern != patterns.first())
            command.emplace_back("-o");
        command.insert(command.end(), {"-iname", pattern.toStdString()});
    }
    command.insert(command.end(), {")", "-printf", "."});
    return command;
}

Race counting(const Workshop& workshop, int directories)
{
    const QString tree = workshop.treeOf(directories);
    const QStringList patterns = playablePatterns();
    const std::shared_ptr<CMWorker> worker = loadWorker(tree, patterns);
    const int expected = countBelow(tree, patterns);
    const std::vector<std::string> find = findCommand(tree, patterns);
    return {
        {{"floor", repeating([=] { require(countBelow(tree, patterns) == expected, "files are missing"); })},
         {"worker", repeating([=] {
              const QVariant count = setData(*worker, TavoFilesystemCountFilesPathSuffix(), QString());
              require(count.toInt() == expected, "the worker's count differs");
          })},
         {"find", averaging([=] { return runProgram(find); })}},
        {{"worker", "floor", 1.1}, {"worker", "find"}}};
}

/// Prepares all files below a directory.
Measure preparing(const QString& service, const QString& directory, int expected)
{
    const std::shared_ptr<CMWorker> worker = loadWorker(directory, audioPatterns());
    const QVariantList items = {worker->addPrefix(QString()).toEncoded()};
    return repeating([=] {
        require(setData(*worker, service, items).toList().size() == expected, "the worker's number of items differs");
    });
}

std::vector<std::string> filesToRead(const QString& directory)
{
    std::vector<std::string> files;
    for (const QString& file : filesBelow(directory, audioPatterns()))
        files.push_back(file.toStdString());
    return files;
}

Race playList(const QString& directory)
{
    const std::vector<std::string> files = filesToRead(directory);
    const auto count = static_cast<int>(files.size());
    return {
        {{"floor", repeating([=] { BareTagLib::readForPlayList(files); })},
         {"worker", preparing(TavoPlayListPrepareItems(), directory, count)}},
        {{"worker", "floor", 1.15}}};
}

Race library(const QString& directory)
{
    const std::vector<std::string> files = filesToRead(directory);
    const auto count = static_cast<int>(files.size());
    const auto mpd = std::make_shared<Mpd>(directory);
    mpd->rescan();
    return {
        {{"floor", repeating([=] { BareTagLib::readForLibrary(files, albumArtWidth); })},
         {"worker", preparing(TavoMusicLibraryPrepareItems(), directory, count)},
         {"MPD's update, which makes no covers", repeating([=] { mpd->rescan(); }), Clock::Wall}},
        {{"worker", "floor", 1.25}, {"worker", "MPD's update, which makes no covers"}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        const int directories = workshop.isSmoke() ? 20 : 10000;
        addRace("count files/" + std::to_string(10 * directories), workshop.rounds(7), [=, &workshop] {
            return counting(workshop, directories);
        });
        const int albums = workshop.isSmoke() ? 8 : 1250;
        const auto tagged = [=, &workshop] {
            return workshop.filled(QStringLiteral("tagged"), [=](const std::string& directory) {
                fillWithTaggedFiles(directory, albums);
            });
        };
        addRace("prepare a playlist/" + std::to_string(albums * tracksPerAlbum), workshop.rounds(7), [=] {
            return playList(tagged());
        });
        addRace("prepare for the library/" + std::to_string(albums / 4 * tracksPerAlbum), workshop.rounds(5), [=] {
            return library(tagged() + QLatin1Char('/') + QLatin1String(partOfTaggedFiles));
        });
    });
}
