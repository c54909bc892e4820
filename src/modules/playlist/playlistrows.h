#pragma once

#include "model/cmworker.h"
#include "playlist.h"

#include <QStringList>
#include <QVariantList>

#include <optional>

/// The rows of the playlist and their values, as clients see them. Thread-safe.
class PlaylistRows
{
public:
    /// The worker must outlive the object.
    explicit PlaylistRows(const CMWorker& worker);

    /// The base of the row's path behind which an entry's id follows.
    [[nodiscard]] static const QString& entryBase();
    /// The base of the row's path behind which an output's name follows.
    [[nodiscard]] static const QString& outputBase();
    /// The id of the entry with this base; none for any other base.
    [[nodiscard]] static std::optional<EntryId> entryAt(const QString& base);
    /// The name of the output with this base, there or not; empty for any other base.
    [[nodiscard]] static QString outputAt(const QString& base);

    /// The values of the roles, in their order, invalid for a role that the row does not have.
    [[nodiscard]] QVariantList entry(const QueueEntry& entry, const QStringList& roles) const;
    [[nodiscard]] QVariantList output(const QString& name, const QStringList& roles) const;
    /// The player at `now`, in milliseconds since 1970.
    [[nodiscard]] QVariantList player(const PlayerState& state, qint64 now, const QStringList& roles) const;
    /// One of the worker's lists.
    [[nodiscard]] QVariantList container(const QString& base, const QStringList& roles) const;

    /// What can be done with an entry.
    [[nodiscard]] QVariantList menu(const Playlist& playlist, const QueueEntry& entry, const QStringList& roles) const;

private:
    [[nodiscard]] QString encoded(const QString& base) const;

    const CMWorker& m_worker;
    const QString m_entryPrefix;
};
