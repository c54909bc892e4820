#pragma once

#include <QString>
#include <QtGlobal>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class CMRequestContext;

/// Runs the requests of all clients on a few threads.
///
/// Each lane has threads of its own, so that walks and long pages hold up nobody's quick requests. In a lane the roots
/// take turns, and so do the clients of a root; the requests of one client to one root begin in the order in which it
/// submitted them. A root whose file system hangs never takes all threads of a lane. Thread-safe.
class RequestExecutor
{
public:
    enum class Lane {
        /// Ends soon.
        Quick,
        /// Makes a long page of rows.
        LongPage,
        /// May walk a whole tree.
        Walk
    };
    static constexpr int laneCount = 3;

    /// Why a job does not run, or is given up.
    enum class Refusal {
        /// Too many jobs wait in the process, or this one has waited for too long.
        Busy,
        /// It has run for longer than its lane allows.
        TimedOut,
        /// Too many jobs of its root hang.
        RootHangs,
        /// The executor stops.
        Stopping,
        /// It has thrown; the exception is logged.
        Failed
    };

    /// The job counts as running as long as its slot exists; the job may keep it beyond the end of its function.
    using Slot = std::shared_ptr<void>;

    /// The executor calls either `run` or `refuse`, once, unless the client is removed before. If `run` takes too long,
    /// the executor also calls `refuse`, while `run` is still busy, and another thread of the lane replaces that of
    /// `run`. If `run` throws, it calls `refuse`, too. `refuse` must neither throw nor block.
    struct Job
    {
        Lane lane = Lane::Quick;
        /// Names the file system, or the worker, that the job may have to wait for. The executor keeps a record of each
        /// name, so these are not to be the clients' own.
        QString root = {};
        /// Current in the thread that calls `run`; cancelled with the client and the executor. Not null.
        std::shared_ptr<CMRequestContext> context;
        std::function<void(Slot)> run;
        std::function<void(Refusal)> refuse;
    };

    class Client;

    struct Settings
    {
        /// The threads of each lane: more than one client may use, so that no client takes them all. One root may use
        /// all but one of them, or the only one.
        int quickThreads = 6;
        int longPageThreads = 3;
        int walkThreads = 3;
        /// A job hangs if it has timed out and still runs; another thread replaces the one that it blocks. While this
        /// many jobs of a root hang, all other jobs of the root are refused.
        int hangingPerRoot = 4;
        /// Jobs of one client that run at a time, in all lanes together and in the walks' lane.
        int runningPerClient = 4;
        int walksPerClient = 2;
        /// Jobs of all clients that wait.
        int waiting = 10'000;
        /// A job is refused when it has waited or run for this long; a walk only when it has run for this long after
        /// its client was removed. Jobs of a paused client may wait for longer.
        std::chrono::milliseconds timeLimit = std::chrono::minutes(1);
    };

    RequestExecutor();
    explicit RequestExecutor(const Settings& settings);
    /// Waits for the jobs that run; call stop() before to have them cancelled.
    ~RequestExecutor();
    Q_DISABLE_COPY_MOVE(RequestExecutor)

    [[nodiscard]] std::shared_ptr<Client> addClient();

    void submit(const std::shared_ptr<Client>& client, Job job);
    /// As submit(), but a job that may begin at once, and is no walk, is returned for the caller to run in its own
    /// thread, which saves a change of threads. Empty if the job was submitted. Each client has one such job at a time,
    /// so that it does not lose all its threads to a root that hangs.
    [[nodiscard]] std::function<void()> submitOrTake(const std::shared_ptr<Client>& client, Job job);

    /// Begins a job that needs no thread, because another thread answers it: `run` is not called. Null, without any
    /// effect, if the job may not begin at once.
    [[nodiscard]] Slot hold(const std::shared_ptr<Client>& client, Job job);

    /// A paused client's jobs do not begin.
    void setPaused(const std::shared_ptr<Client>& client, bool paused);
    /// Drops the client's waiting jobs, without a call of `refuse`, and cancels those that run.
    void removeClient(const std::shared_ptr<Client>& client);

    /// Refuses the jobs that wait and all that come, and cancels those that run. False if some still run after
    /// `patience`: they hang in the kernel, or in a worker that cannot be interrupted.
    [[nodiscard]] bool stop(std::chrono::milliseconds patience);

private:
    class State;
    /// Shared with the slots, which may outlive the executor.
    std::shared_ptr<State> m_state;
};
