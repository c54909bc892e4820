#pragma once

#include "media/covercache.h"
#include "media/coverstore.h"
#include "media/guardedtree.h"

#include <QCache>
#include <QSet>

#include <atomic>
#include <condition_variable>
#include <mutex>

/// The result of a search: a cover, none, or unknown before the file is decoded.
struct CoverAnswer
{
    bool isKnown = false;
    std::optional<Cover> cover = {};

    [[nodiscard]] bool isNone() const { return isKnown && !cover; }
    [[nodiscard]] static CoverAnswer none() { return {true}; }
};

/// Makes covers from files, each once: it keeps them on the disk, and remembers for a while which files have none.
/// Thread-safe; may wait for the disk.
class CoverMaker
{
public:
    enum class Effort {
        /// Answers only from earlier results, on the disk and in memory.
        Look,
        Decode
    };

    enum class Kind {
        /// The cover is in the file's tags.
        Audio,
        /// The file is the cover.
        Picture
    };

    struct Source
    {
        Kind kind;
        GuardedTree::File file;
        QString name;
    };

    explicit CoverMaker(const CoverStore::Settings& settings) : m_cache(settings.directory, settings.mostBytes) {}

    /// One thread at a time decodes a picture; others that want it wait.
    [[nodiscard]] CoverAnswer cover(const Source& source, int width, Effort effort);

    /// Files that were searched for a picture.
    [[nodiscard]] qint64 decoded() const { return m_decoded; }

private:
    using Clock = std::chrono::steady_clock;
    class Turn;

    [[nodiscard]] CoverAnswer look(const QByteArray& identity, int width);
    [[nodiscard]] CoverAnswer decode(const Source& source, const QByteArray& identity, int width);
    [[nodiscard]] bool isWithoutCover(const QByteArray& identity);
    void rememberWithoutCover(const QByteArray& identity);

    CoverCache m_cache;
    std::atomic<qint64> m_decoded{0};

    /// Guards the members below.
    std::mutex m_mutex;
    std::condition_variable m_turnEnded;
    /// The files that are being decoded, by identity.
    QSet<QByteArray> m_turns;
    /// When each file, by its identity, was found to have no cover.
    QCache<QByteArray, Clock::time_point> m_withoutCover{4096};
};
