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

    /// Calls either `run` or `refuse`, once, unless the client is removed before. A job that runs for too long gets
    /// both calls: `refuse` while `run` is still busy, in a thread that its lane then replaces. So does a job whose
    /// `run` throws. `refuse` must neither throw nor block.
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
        /// More than one client's running jobs, so that no client takes them all. One thread of each lane is left to
        /// the other roots, unless the lane has no more.
        int quickThreads = 6;
        int longPageThreads = 3;
        int walkThreads = 3;
        /// A job hangs if it has timed out and still runs; another thread takes the place of its own. When so many jobs
        /// of a root hang, none begins there, and those that wait or come are refused.
        int hangingPerRoot = 4;
        /// Jobs of one client that run at a time, in all lanes together and in the walks' lane.
        int runningPerClient = 4;
        int walksPerClient = 2;
        /// Jobs of all clients that wait.
        int waiting = 10'000;
        /// A job is refused when it has waited, or run, for so long; a walk only when it has run on for so long after
        /// the end of its client. The time of a paused client stands still.
        std::chrono::milliseconds timeLimit = std::chrono::minutes(1);
    };

    RequestExecutor();
    explicit RequestExecutor(const Settings& settings);
    /// Waits for the jobs that run; call stop() before to have them cancelled.
    ~RequestExecutor();
    Q_DISABLE_COPY_MOVE(RequestExecutor)

    [[nodiscard]] std::shared_ptr<Client> addClient();

    void submit(const std::shared_ptr<Client>& client, Job job);
    /// As submit(), but where the job may begin at once in a lane without a walk, the caller is to run it in its own
    /// thread, which saves a change of threads. Empty if the job was submitted. Each client has one such job at a time,
    /// so that it does not lose all its threads to a root that hangs.
    [[nodiscard]] std::function<void()> submitOrTake(const std::shared_ptr<Client>& client, Job job);

    /// Begins a job that another thread answers: it needs no thread, and `run` is not called. Null, and nothing has
    /// happened, if the job may not begin at once.
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
