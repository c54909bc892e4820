#pragma once

#include "playlistengine.h"
#include "queue.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>
#include <vector>

/// Readers of the values that clients set. Each gives nothing for a value of another kind, however it was meant.
namespace CommandValue {

/// A value without what a client may wrap around it.
struct Content
{
    QVariant value;
    PlaylistEngine::Guard guard;
};

/// A record with a member `value`, `version` or `operation` is a wrap, whose members may be null; anything else is the
/// value itself.
[[nodiscard]] std::optional<Content> unwrap(const QVariant& value);

/// True for null and for no value at all.
[[nodiscard]] bool isAbsent(const QVariant& value);

/// A whole number that a double can hold exactly.
[[nodiscard]] std::optional<qint64> number(const QVariant& value);
[[nodiscard]] std::optional<int> smallNumber(const QVariant& value);
[[nodiscard]] std::optional<bool> truth(const QVariant& value);
/// A text of at most `longest` characters.
[[nodiscard]] std::optional<QString> text(const QVariant& value, int longest);

[[nodiscard]] std::optional<EntryId> id(const QVariant& value);
/// The inner one is empty for an absent value.
[[nodiscard]] std::optional<std::optional<EntryId>> idOrNone(const QVariant& value);
[[nodiscard]] std::optional<std::vector<EntryId>> ids(const QVariant& value);

/// What is moved, and where to.
struct Move
{
    std::vector<EntryId> ids;
    Anchor after;
};
[[nodiscard]] std::optional<Move> move(const QVariant& value);

/// One text or a list of at least one.
[[nodiscard]] std::optional<QStringList> paths(const QVariant& value);

[[nodiscard]] std::optional<Repeat> repeat(const QVariant& value);
/// Empty for an absent value.
[[nodiscard]] std::optional<QString> outputName(const QVariant& value);
[[nodiscard]] std::optional<OutputReport> report(const QVariant& value);

/// Whether an output may have this name: 1 to 64 characters, none of them a slash or a control character.
[[nodiscard]] bool isOutputName(const QString& name);

} // namespace CommandValue
