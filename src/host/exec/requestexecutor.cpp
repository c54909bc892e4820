#include "exec/requestexecutor.h"

#include "process/guardedcall.h"

#include <model/cmrequestcontext.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Lane = RequestExecutor::Lane;
using Refusal = RequestExecutor::Refusal;
using Refuse = std::function<void(Refusal)>;

std::size_t indexOf(Lane lane)
{
    return static_cast<std::size_t>(lane);
}

/// A function that runs in a lane's thread. Guarded by the executor's mutex.
struct LaneRun
{
    bool isTimedOut = false;
};

/// A job on its way through the executor.
struct Ticket
{
    /// Without its refusal.
    RequestExecutor::Job job;
    /// May be needed when the ticket has ended.
    std::shared_ptr<const Refuse> refuse;
    std::weak_ptr<RequestExecutor::Client> client;
    Clock::time_point deadline;
    bool isRunning = false;
    bool isTimedOut = false;
    /// Null unless the function is running in a lane's thread.
    std::weak_ptr<LaneRun> laneRun = {};
};

using TicketList = std::list<Ticket>;

} // namespace

/// Guarded by the executor's mutex.
class RequestExecutor::Client
{
public:
    using Waiting = std::deque<TicketList::iterator>;

    std::array<Waiting, laneCount> waiting;
    /// Whether the client stands in the lane's ring.
    std::array<bool, laneCount> isQueued = {};
    std::array<int, laneCount> running = {};
    bool isPaused = false;
    bool isRemoved = false;

    [[nodiscard]] int runningInAll() const { return running[0] + running[1] + running[2]; }
};

class RequestExecutor::State : public std::enable_shared_from_this<State>
{
public:
    explicit State(const Settings& settings) : m_settings(settings) {}

    void start();
    void submit(const std::shared_ptr<Client>& client, Job job);
    [[nodiscard]] std::function<void()> submitOrTake(const std::shared_ptr<Client>& client, Job job);
    [[nodiscard]] Slot hold(const std::shared_ptr<Client>& client, Job job);
    void setPaused(Client& client, bool paused, const std::shared_ptr<Client>& shared);
    void removeClient(Client& client);
    [[nodiscard]] bool stop(std::chrono::milliseconds patience);
    void join();

private:
    /// The threads of a lane.
    struct Crew
    {
        int wanted = 0;
        /// Those whose jobs have not timed out.
        int serving = 0;
    };

    void startThreadLocked(Lane lane);
    void startSparesLocked();
    /// True if the calling thread of the lane is one too many, and has to end.
    [[nodiscard]] bool leavesLocked(Lane lane);
    void work(Lane lane);
    void watchDeadlines();
    [[nodiscard]] std::optional<TicketList::iterator> takeNext(Lane lane, const std::shared_ptr<LaneRun>& laneRun);
    void run(TicketList::iterator ticket);
    void call(TicketList::iterator ticket);

    [[nodiscard]] bool mayBegin(const Client& client, Lane lane) const;
    /// Without waiting for a thread, or for the client's other jobs.
    [[nodiscard]] bool mayBeginAtOnce(const Client& client, Lane lane) const;
    [[nodiscard]] TicketList::iterator addLocked(const std::shared_ptr<Client>& client, Job job);
    void beginLocked(Client& client, TicketList::iterator ticket);
    void queueLocked(const std::shared_ptr<Client>& client);
    void release(TicketList::iterator ticket);
    [[nodiscard]] Slot slotFor(TicketList::iterator ticket);
    /// The refusals to be called without the lock.
    [[nodiscard]] std::vector<std::shared_ptr<const Refuse>> takeWaitingLocked();
    [[nodiscard]] std::vector<std::function<void()>> takeOverdueLocked();
    [[nodiscard]] std::function<void()> giveUpLocked(TicketList::iterator ticket);
    void dropWaitingLocked(TicketList::iterator ticket);

    const Settings m_settings;

    std::mutex m_mutex;
    std::array<std::condition_variable, laneCount> m_hasWork;
    std::condition_variable m_hasEnded;
    /// Clients with a job that may begin, in the order of their turns.
    std::array<std::deque<std::shared_ptr<Client>>, laneCount> m_rings;
    /// All jobs, the oldest first.
    TicketList m_tickets;
    int m_waiting = 0;
    int m_runningFunctions = 0;
    bool m_isStopping = false;
    std::array<Crew, laneCount> m_crews;
    /// Threads beyond those that the lanes want.
    int m_spares = 0;
    /// Unchanged once the executor is stopping.
    std::list<std::thread> m_threads;
    /// Have left their lanes, and can be joined.
    std::list<std::thread> m_leavers;
    std::thread m_watcher;
};

void RequestExecutor::State::start()
{
    const std::array<std::pair<Lane, int>, laneCount> lanes = {
        {{Lane::Quick, m_settings.quickThreads},
         {Lane::LongPage, m_settings.longPageThreads},
         {Lane::Walk, m_settings.walkThreads}}};
    const std::lock_guard lock(m_mutex);
    for (const auto& [lane, count] : lanes) {
        m_crews[indexOf(lane)].wanted = count;
        for (int i = 0; i < count; ++i)
            startThreadLocked(lane);
    }
    m_watcher = std::thread([state = shared_from_this()] { state->watchDeadlines(); });
}

void RequestExecutor::State::startThreadLocked(Lane lane)
{
    m_threads.emplace_back([state = shared_from_this(), lane] { state->work(lane); });
    ++m_crews[indexOf(lane)].serving;
}

/// Replaces the threads whose jobs hang. Where the system has no thread left, the next look may find one.
void RequestExecutor::State::startSparesLocked()
{
    for (std::size_t lane = 0; lane < laneCount; ++lane) {
        while (m_crews[lane].serving < m_crews[lane].wanted && m_spares < m_settings.spareThreads) {
            try {
                startThreadLocked(static_cast<Lane>(lane));
            } catch (const std::system_error&) {
                return;
            }
            ++m_spares;
        }
    }
}

bool RequestExecutor::State::leavesLocked(Lane lane)
{
    Crew& crew = m_crews[indexOf(lane)];
    if (crew.serving <= crew.wanted)
        return false;
    --crew.serving;
    --m_spares;
    const auto self = std::find_if(m_threads.begin(), m_threads.end(), [](const std::thread& thread) {
        return thread.get_id() == std::this_thread::get_id();
    });
    m_leavers.splice(m_leavers.end(), m_threads, self);
    return true;
}

bool RequestExecutor::State::mayBegin(const Client& client, Lane lane) const
{
    const bool hasSlot = client.runningInAll() < m_settings.runningPerClient &&
                         (lane != Lane::Walk || client.running[indexOf(lane)] < m_settings.walksPerClient);
    return hasSlot && !client.isPaused && !client.isRemoved;
}

bool RequestExecutor::State::mayBeginAtOnce(const Client& client, Lane lane) const
{
    return !m_isStopping && client.waiting[indexOf(lane)].empty() && mayBegin(client, lane);
}

TicketList::iterator RequestExecutor::State::addLocked(const std::shared_ptr<Client>& client, Job job)
{
    auto refuse = std::make_shared<const Refuse>(std::move(job.refuse));
    m_tickets.push_back({std::move(job), std::move(refuse), client, Clock::now() + m_settings.timeLimit});
    return std::prev(m_tickets.end());
}

void RequestExecutor::State::beginLocked(Client& client, TicketList::iterator ticket)
{
    ticket->isRunning = true;
    ticket->deadline = Clock::now() + m_settings.timeLimit;
    ++client.running[indexOf(ticket->job.lane)];
}

void RequestExecutor::State::submit(const std::shared_ptr<Client>& client, Job job)
{
    std::unique_lock lock(m_mutex);
    if (client->isRemoved)
        return;
    if (m_isStopping || m_waiting >= m_settings.waiting) {
        const Refusal refusal = m_isStopping ? Refusal::Stopping : Refusal::Busy;
        lock.unlock();
        return job.refuse(refusal);
    }
    const Lane lane = job.lane;
    client->waiting[indexOf(lane)].push_back(addLocked(client, std::move(job)));
    ++m_waiting;
    queueLocked(client);
}

std::function<void()> RequestExecutor::State::submitOrTake(const std::shared_ptr<Client>& client, Job job)
{
    {
        const std::lock_guard lock(m_mutex);
        const Lane lane = job.lane;
        if (lane != Lane::Walk && mayBeginAtOnce(*client, lane)) {
            const auto ticket = addLocked(client, std::move(job));
            beginLocked(*client, ticket);
            ++m_runningFunctions;
            return [state = shared_from_this(), ticket] { state->run(ticket); };
        }
    }
    submit(client, std::move(job));
    return {};
}

RequestExecutor::Slot RequestExecutor::State::hold(const std::shared_ptr<Client>& client, Job job)
{
    const std::lock_guard lock(m_mutex);
    if (!mayBeginAtOnce(*client, job.lane))
        return nullptr;
    const auto ticket = addLocked(client, std::move(job));
    beginLocked(*client, ticket);
    return slotFor(ticket);
}

/// Puts the client into the rings of the lanes in which it may begin a job.
void RequestExecutor::State::queueLocked(const std::shared_ptr<Client>& client)
{
    for (std::size_t lane = 0; lane < laneCount; ++lane) {
        if (client->isQueued[lane] || client->waiting[lane].empty() || !mayBegin(*client, static_cast<Lane>(lane)))
            continue;
        client->isQueued[lane] = true;
        m_rings[lane].push_back(client);
        m_hasWork[lane].notify_one();
    }
}

std::optional<TicketList::iterator> RequestExecutor::State::takeNext(Lane lane, const std::shared_ptr<LaneRun>& laneRun)
{
    auto& ring = m_rings[indexOf(lane)];
    std::unique_lock lock(m_mutex);
    if (!m_isStopping && leavesLocked(lane))
        return std::nullopt;
    for (;;) {
        m_hasWork[indexOf(lane)].wait(lock, [&] { return m_isStopping || !ring.empty(); });
        if (m_isStopping)
            return std::nullopt;
        const std::shared_ptr<Client> client = std::move(ring.front());
        ring.pop_front();
        client->isQueued[indexOf(lane)] = false;
        Client::Waiting& waiting = client->waiting[indexOf(lane)];
        if (waiting.empty() || !mayBegin(*client, lane))
            continue;
        const auto ticket = waiting.front();
        waiting.pop_front();
        --m_waiting;
        beginLocked(*client, ticket);
        ticket->laneRun = laneRun;
        ++m_runningFunctions;
        queueLocked(client);
        return ticket;
    }
}

void RequestExecutor::State::work(Lane lane)
{
    auto laneRun = std::make_shared<LaneRun>();
    while (const std::optional<TicketList::iterator> ticket = takeNext(lane, laneRun)) {
        run(*ticket);
        const std::lock_guard lock(m_mutex);
        if (laneRun->isTimedOut)
            ++m_crews[indexOf(lane)].serving;
        // A slot that is kept no longer points to it.
        laneRun = std::make_shared<LaneRun>();
    }
}

void RequestExecutor::State::call(TicketList::iterator ticket)
{
    // The ticket may end before the function does.
    const auto function = std::move(ticket->job.run);
    const std::shared_ptr<CMRequestContext> context = ticket->job.context;
    const CMRequestContext::Scope scope(*context);
    function(slotFor(ticket));
}

void RequestExecutor::State::run(TicketList::iterator ticket)
{
    // The ticket ends with the slot, which the function may drop.
    const std::shared_ptr<const Refuse> refuse = ticket->refuse;
    if (!callGuarded([&] { call(ticket); }))
        callGuarded([&] { (*refuse)(Refusal::Failed); });
    const std::lock_guard lock(m_mutex);
    // Otherwise only the thread that watches the deadlines waits, and not for this.
    if (--m_runningFunctions == 0 && m_isStopping)
        m_hasEnded.notify_all();
}

RequestExecutor::Slot RequestExecutor::State::slotFor(TicketList::iterator ticket)
{
    // The pointer is not null, since a null slot means none.
    return {this, [state = shared_from_this(), ticket](void*) { state->release(ticket); }};
}

void RequestExecutor::State::release(TicketList::iterator ticket)
{
    // Outlives the lock, so that the job is destroyed without it.
    TicketList ended;
    const std::lock_guard lock(m_mutex);
    ended.splice(ended.begin(), m_tickets, ticket);
    if (const std::shared_ptr<Client> client = ticket->client.lock()) {
        --client->running[indexOf(ticket->job.lane)];
        queueLocked(client);
    }
}

void RequestExecutor::State::setPaused(Client& client, bool paused, const std::shared_ptr<Client>& shared)
{
    const std::lock_guard lock(m_mutex);
    if (client.isPaused == paused)
        return;
    client.isPaused = paused;
    if (paused)
        return;
    for (const Client::Waiting& waiting : client.waiting) {
        for (const auto ticket : waiting)
            ticket->deadline = Clock::now() + m_settings.timeLimit;
    }
    queueLocked(shared);
}

void RequestExecutor::State::dropWaitingLocked(TicketList::iterator ticket)
{
    --m_waiting;
    const std::shared_ptr<Client> client = ticket->client.lock();
    if (!client)
        return;
    Client::Waiting& waiting = client->waiting[indexOf(ticket->job.lane)];
    waiting.erase(std::remove(waiting.begin(), waiting.end(), ticket), waiting.end());
}

void RequestExecutor::State::removeClient(Client& client)
{
    TicketList dropped;
    const std::lock_guard lock(m_mutex);
    client.isRemoved = true;
    for (Client::Waiting& waiting : client.waiting) {
        m_waiting -= static_cast<int>(waiting.size());
        for (const auto ticket : waiting)
            dropped.splice(dropped.end(), m_tickets, ticket);
        waiting.clear();
    }
    for (Ticket& ticket : m_tickets) {
        if (ticket.client.lock().get() != &client)
            continue;
        ticket.job.context->cancel();
        if (ticket.job.lane == Lane::Walk)
            ticket.deadline = Clock::now() + m_settings.timeLimit;
    }
}

std::vector<std::shared_ptr<const Refuse>> RequestExecutor::State::takeWaitingLocked()
{
    std::vector<std::shared_ptr<const Refuse>> refusals;
    for (auto ticket = m_tickets.begin(); ticket != m_tickets.end();) {
        const auto current = ticket++;
        current->job.context->cancel();
        if (current->isRunning)
            continue;
        refusals.push_back(current->refuse);
        dropWaitingLocked(current);
        m_tickets.erase(current);
    }
    return refusals;
}

bool RequestExecutor::State::stop(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    m_isStopping = true;
    const auto refusals = takeWaitingLocked();
    for (std::condition_variable& hasWork : m_hasWork)
        hasWork.notify_all();
    m_hasEnded.notify_all();
    lock.unlock();
    for (const auto& refuse : refusals)
        (*refuse)(Refusal::Stopping);
    lock.lock();
    return m_hasEnded.wait_for(lock, patience, [this] { return m_runningFunctions == 0; });
}

std::function<void()> RequestExecutor::State::giveUpLocked(TicketList::iterator ticket)
{
    if (ticket->isRunning) {
        ticket->isTimedOut = true;
        ticket->job.context->cancel();
        if (const std::shared_ptr<LaneRun> laneRun = ticket->laneRun.lock()) {
            laneRun->isTimedOut = true;
            --m_crews[indexOf(ticket->job.lane)].serving;
        }
        return [refuse = ticket->refuse] { (*refuse)(Refusal::TimedOut); };
    }
    auto refuse = std::move(ticket->refuse);
    dropWaitingLocked(ticket);
    m_tickets.erase(ticket);
    return [refuse = std::move(refuse)] { (*refuse)(Refusal::Busy); };
}

std::vector<std::function<void()>> RequestExecutor::State::takeOverdueLocked()
{
    std::vector<std::function<void()>> refusals;
    const Clock::time_point now = Clock::now();
    for (auto ticket = m_tickets.begin(); ticket != m_tickets.end();) {
        const auto current = ticket++;
        const std::shared_ptr<Client> client = current->client.lock();
        const bool standsStill = !current->isRunning && client && client->isPaused;
        // A walk may take its time, but not to end after its client has gone.
        const bool isLimited = current->job.lane != Lane::Walk || current->job.context->isCancelled();
        const bool hasLimit = isLimited && !current->isTimedOut && !standsStill;
        if (hasLimit && current->deadline <= now)
            refusals.push_back(giveUpLocked(current));
    }
    return refusals;
}

/// Looks now and then rather than at every deadline, which would wake a thread for each request.
void RequestExecutor::State::watchDeadlines()
{
    std::unique_lock lock(m_mutex);
    while (!m_hasEnded.wait_for(lock, m_settings.timeLimit / 4, [this] { return m_isStopping; })) {
        const auto refusals = takeOverdueLocked();
        startSparesLocked();
        std::list<std::thread> leavers = std::exchange(m_leavers, {});
        lock.unlock();
        for (const auto& refuse : refusals)
            refuse();
        for (std::thread& leaver : leavers)
            leaver.join();
        lock.lock();
    }
}

void RequestExecutor::State::join()
{
    m_watcher.join();
    for (auto* threads : {&m_threads, &m_leavers}) {
        for (std::thread& thread : *threads)
            thread.join();
    }
}

RequestExecutor::RequestExecutor() : RequestExecutor(Settings()) {}

RequestExecutor::RequestExecutor(const Settings& settings) : m_state(std::make_shared<State>(settings))
{
    m_state->start();
}

RequestExecutor::~RequestExecutor()
{
    static_cast<void>(m_state->stop(std::chrono::milliseconds::zero()));
    m_state->join();
}

std::shared_ptr<RequestExecutor::Client> RequestExecutor::addClient()
{
    return std::make_shared<Client>();
}

void RequestExecutor::submit(const std::shared_ptr<Client>& client, Job job)
{
    m_state->submit(client, std::move(job));
}

std::function<void()> RequestExecutor::submitOrTake(const std::shared_ptr<Client>& client, Job job)
{
    return m_state->submitOrTake(client, std::move(job));
}

RequestExecutor::Slot RequestExecutor::hold(const std::shared_ptr<Client>& client, Job job)
{
    return m_state->hold(client, std::move(job));
}

void RequestExecutor::setPaused(const std::shared_ptr<Client>& client, bool paused)
{
    m_state->setPaused(*client, paused, client);
}

void RequestExecutor::removeClient(const std::shared_ptr<Client>& client)
{
    m_state->removeClient(*client);
}

bool RequestExecutor::stop(std::chrono::milliseconds patience)
{
    return m_state->stop(patience);
}
