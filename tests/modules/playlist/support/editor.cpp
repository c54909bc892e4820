// Runs random commands on a stored playlist until it is killed. Usage: playlist_editor DIRECTORY FIRST
// Writes the number of each command that was answered, one a line; the first one is FIRST.

#include "playlistengine.h"
#include "support/randomcommands.h"

#include <QCoreApplication>
#include <QString>

#include <condition_variable>
#include <cstdio>
#include <mutex>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    PlaylistEngine::Settings settings;
    settings.directory = arguments.at(1);
    settings.seed = randomCommandsSeed;
    PlaylistEngine engine(settings, {});

    std::mutex mutex;
    std::condition_variable hasRoom;
    int underWay = 0;
    for (unsigned number = arguments.at(2).toUInt();; ++number) {
        std::unique_lock<std::mutex> lock(mutex);
        hasRoom.wait(lock, [&underWay] { return underWay < 8; });
        ++underWay;
        lock.unlock();
        engine.post(
            {std::nullopt, QString::number(number)},
            [number](Playlist& playlist, qint64 /*now*/) { return runRandomCommand(playlist, number); },
            [&, number](const Outcome& /*outcome*/) {
                std::printf("%u\n", number);
                std::fflush(stdout);
                const std::lock_guard<std::mutex> guard(mutex);
                --underWay;
                hasRoom.notify_one();
            });
    }
}
