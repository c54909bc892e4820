#pragma once

#include "model/cmerror.h"
#include "playlistengine.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <variant>

/// The services of the playlist by the bases of their paths.
namespace PlaylistCommands {

/// A service that takes paths and gives the playlist the items that they name or contain.
struct Addition
{
    QStringList paths;
    Outcome (Playlist::*add)(std::vector<QueueItem> items, qint64 now);
};

/// A command that may bring back entries of before.
struct Restoration
{
    PlaylistEngine::Command command;
};

/// What a client wants done, or why that makes no sense. Without either there is no such service.
using Read = std::variant<std::monostate, CMError, PlaylistEngine::Command, Restoration, Addition>;

/// `value` is the client's without its wrap.
[[nodiscard]] Read read(const QString& base, const QVariant& value);

} // namespace PlaylistCommands
