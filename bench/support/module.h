#pragma once

#include "model/cmworker.h"

#include <QStringList>

#include <memory>

/// The file of the module that is shipped.
[[nodiscard]] QString shippedModule();
/// Loads a module as a host does, and creates its worker for `root`.
[[nodiscard]] std::unique_ptr<CMWorker>
loadWorker(const char* module, const QString& root, const QStringList& patterns);
/// The same for the module of the product.
[[nodiscard]] std::unique_ptr<CMWorker> loadWorker(const QString& root, const QStringList& patterns);

/// The queue's worker, with the prefix "playlist", which keeps its state in the directory.
[[nodiscard]] std::unique_ptr<CMWorker> loadQueue(const QString& stateDirectory);

/// Five file-name endings, the usual configuration.
[[nodiscard]] QStringList playablePatterns();
/// Five patterns with wildcards in their endings.
[[nodiscard]] QStringList wildcardPatterns();

/// The seven roles that a file's row has.
[[nodiscard]] QStringList allRoles();

/// Rows `first` to `last` of a directory below the worker's root. An error ends the program.
[[nodiscard]] TavoRowsRoles
requestRows(CMWorker& worker, const QString& directory, int first, int last, const QStringList& roles);
/// The answer of a service of the worker. An error ends the program.
QVariant setData(CMWorker& worker, const QString& service, const QVariant& value = {});
