#pragma once

#include "content/result.h"

#include <model/cmworker.h>

#include <chrono>
#include <memory>
#include <optional>

struct HostSettings
{
    QString moduleFile;
    QString root;
    /// Wildcard patterns of playable names.
    QStringList filter;
    QString serviceId;
    /// Pixels; none: the platform's default.
    std::optional<int> albumArtWidth = {};
    /// Between two looks at the opened directories; 0: never looks.
    std::chrono::milliseconds sweepInterval = std::chrono::seconds(5);
};

class Healer;

/// What all clients share: the worker of one directory tree, mounted at the root worker.
///
/// Lives in the thread that started it, whose event loop brings the worker its notifications.
class Host
{
public:
    /// Fails if the root is no directory, or if the module makes no worker.
    static Result<std::unique_ptr<Host>> start(const HostSettings& settings);
    ~Host();
    Q_DISABLE_COPY_MOVE(Host)

    /// Its requests may come from any thread, its subscriptions belong to its own.
    [[nodiscard]] CMWorker& worker() const { return *m_worker; }
    /// Canonical.
    [[nodiscard]] const QString& rootDirectory() const { return m_rootDirectory; }
    /// Wildcards of playable names.
    [[nodiscard]] const QStringList& filter() const { return m_filter; }
    /// Paths at and below it name context menus, not directories.
    [[nodiscard]] CMPath contextMenu() const;

private:
    Host(std::unique_ptr<CMWorker> worker, const HostSettings& settings, QString rootDirectory);

    std::unique_ptr<CMWorker> m_worker;
    QString m_rootDirectory;
    QStringList m_filter;
    std::unique_ptr<Healer> m_healer;
};
