#pragma once

#include "playlist.h"
#include "support/queueitems.h"

#include <QString>

#include <random>
#include <vector>

constexpr quint64 randomCommandsSeed = 7;

/// Runs the command with this number: the same one on equal playlists.
inline Outcome runRandomCommand(Playlist& playlist, unsigned number)
{
    std::mt19937 random(number);
    const auto below = [&random](int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); };
    const Queue& queue = playlist.queue();
    const auto anyId = [&] { return queue.isEmpty() ? EntryId{0} : queue.at(below(queue.size())).id; };
    switch (below(9)) {
    case 0:
    case 1:
        return playlist.addToQueue(makeItems(1 + below(20)), number);
    case 2:
        return playlist.playNext(makeItems(1 + below(3)), number);
    case 3:
        return playlist.remove({anyId()}, number);
    case 4:
    case 5:
        return playlist.move({anyId(), anyId()}, anyId(), number);
    case 6:
        return playlist.describe({{anyId(), makeItem(below(1000))}});
    case 7:
        return playlist.setVolume(below(101));
    default:
        return below(10) == 0 ? playlist.shuffleQueue(number) : playlist.playNow(makeItems(1), number);
    }
}
