#pragma once

#include "model/cmerror.h"
#include "queueentry.h"

#include <QString>

/// The errors in which commands end. Their names are conflict, noSuchItem, queueFull, noOutput, invalidValue and
/// notStored. Thread-safe.
namespace Refusal {

/// Another edit came after the version that the client gave.
[[nodiscard]] CMError conflict(int version, int lastEdit);

/// noSuchItem: no entry has the id.
[[nodiscard]] CMError noSuchEntry(EntryId id);
/// noSuchItem: nothing was given, or the queue is empty.
[[nodiscard]] CMError nothingToPlay();
/// accessViolation: the path leads out of its worker.
[[nodiscard]] CMError outside(const QString& path);
/// noSuchItem: the token is none, was used, or is too old.
[[nodiscard]] CMError nothingToUndo(int token);

/// queueFull.
[[nodiscard]] CMError queueFull();

/// noOutput: the player has none.
[[nodiscard]] CMError noOutput();
/// noOutput: none has this name.
[[nodiscard]] CMError noSuchOutput(const QString& name);
/// noOutput: the player has another one.
[[nodiscard]] CMError notActive(const QString& name);

/// invalidValue: the service takes another kind of value, as `takes` says.
[[nodiscard]] CMError invalidValue(const QString& service, const char* takes);
/// invalidValue: below 0.
[[nodiscard]] CMError invalidPosition(qint64 position);
/// invalidValue: outside 0 to 100.
[[nodiscard]] CMError invalidVolume(int volume);

/// What failed, in the words of an exception.
[[nodiscard]] CMError failed(const QString& reason);
/// The playlist ends.
[[nodiscard]] CMError ending();

/// The edit could not be stored. `reason` is the store's own text.
[[nodiscard]] CMError notStored(const QString& reason);

} // namespace Refusal
