#pragma once

#include "content/contenthost.h"
#include "exec/patientcall.h"

#include <model/cmworker.h>

#include <QTimer>

#include <functional>
#include <optional>

class Healer;

/// Keeps the worker of one root mounted as long as its directory is there. Lives in the worker thread.
class ServedRoot
{
public:
    using ChangeHandler = std::function<void()>;

    /// `changed` is called when the root was mounted or unmounted. The module must outlive it.
    ServedRoot(
        RootSettings root, const HostSettings& settings, const WorkerModule& module, int position,
        ChangeHandler changed);
    ~ServedRoot();
    Q_DISABLE_COPY_MOVE(ServedRoot)

    /// Mounts the root if its directory is there, and unmounts it if not. Fails if the module makes no worker. Where
    /// the file system does not answer within `patience`, everything stays as it is, and later calls do not wait until
    /// it answers.
    [[nodiscard]] Result<void> check(std::chrono::milliseconds patience = lookPatience);
    /// Serves the root with these settings, which have the same ID, from now on, and calls check(). If they differ from
    /// those before, it unmounts the root first, and mounts it again when the requests under way have ended.
    void change(const RootSettings& root, int position);
    /// Unmounts the root, and does not mount it again before the next change(). True if it may be destroyed: no request
    /// uses its worker.
    [[nodiscard]] bool retire();
    /// False if the file system does not answer within the usual patience, or has not answered the last look yet.
    [[nodiscard]] bool answers() { return look(lookPatience).has_value(); }
    /// The result of a function that looks at files of the root and owns all that it uses. None if the file system does
    /// not answer within the usual patience, or has not answered the last function yet.
    [[nodiscard]] std::optional<Result<void>> inspect(std::function<Result<void>()> function)
    {
        return m_inspection->call(std::move(function), lookPatience);
    }

    /// Why the root is not mounted; empty if it is.
    [[nodiscard]] const TrString& problem() const { return m_problem; }
    /// Logs the problem, if there is one, once.
    void warn();

    [[nodiscard]] const QString& id() const { return m_root.id; }
    /// Null while the root is not mounted.
    [[nodiscard]] const ContentHost::SharedMount& mount() const { return m_mount; }
    [[nodiscard]] CMWorker* worker() const { return m_worker.get(); }

private:
    static constexpr std::chrono::seconds lookPatience{1};

    /// The canonical directory, or why there is none; none if the file system does not answer.
    using Found = std::optional<Result<QString>>;

    [[nodiscard]] Found look(std::chrono::milliseconds patience);
    [[nodiscard]] TrString problemOf(const Found& found) const;
    [[nodiscard]] Result<void> mount(const QString& directory, std::chrono::milliseconds patience);
    void unmount();
    void moveTo(int position);

    RootSettings m_root;
    const std::chrono::milliseconds m_sweepInterval;
    const WorkerModule& m_module;
    int m_position;
    const ChangeHandler m_changed;

    QTimer m_timer;
    /// Looks for the directory.
    std::optional<PatientCall<Result<QString>>> m_look{std::in_place};
    std::optional<PatientCall<Result<void>>> m_inspection{std::in_place};
    /// Kept while requests to the unmounted worker are under way.
    std::unique_ptr<CMWorker> m_worker;
    std::unique_ptr<Healer> m_healer;
    ContentHost::SharedMount m_mount;
    /// The worker is unmounted but still in use.
    bool m_isLeaving = false;
    bool m_isRetired = false;
    TrString m_problem;
    bool m_hasWarned = false;
};
