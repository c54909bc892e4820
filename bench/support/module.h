#pragma once

#include "model/cmworker.h"

#include <QStringList>

#include <memory>

/// The worker of a module, loaded as a host loads it, that serves `root`.
[[nodiscard]] std::unique_ptr<CMWorker>
loadWorker(const char* module, const QString& root, const QStringList& patterns);
/// The worker that is shipped.
[[nodiscard]] std::unique_ptr<CMWorker> loadWorker(const QString& root, const QStringList& patterns);

/// Five endings, as users configure them.
[[nodiscard]] QStringList playablePatterns();
/// Five patterns that no comparison of endings can decide.
[[nodiscard]] QStringList wildcardPatterns();

/// The roles of a file's row.
[[nodiscard]] QStringList allRoles();

/// Rows `first` to `last` of the directory, which is below the worker's root. A refusal ends the program.
[[nodiscard]] TavoRowsRoles
requestRows(CMWorker& worker, const QString& directory, int first, int last, const QStringList& roles);
