#include "exec/requestexecutor.h"

#include "process/guardedcall.h"

#include <model/cmrequestcontext.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <deque>
#include <list>
#include <map>
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

struct Root;

/// The jobs of one root in one lane. Guarded by the executor's mutex.
struct Line
{
    Root* root;
    Lane lane;
    /// Clients with a job that may begin, in the order of their turns.
    std::deque<std::shared_ptr<RequestExecutor::Client>> ring = {};
    /// Those that run in the lane's threads and have not timed out.
    int running = 0;
    /// Whether the line stands in the lane's ring.
    bool isQueued = false;
};

/// Guarded by the executor's mutex.
struct Root
{
    std::array<Line, RequestExecutor::laneCount> lines = {
        {{this, Lane::Quick}, {this, Lane::LongPage}, {this, Lane::Walk}}};
    /// Jobs that have timed out and still run in the lanes' threads.
    int hanging = 0;

    Root() = default;
    ~Root() = default;
    Q_DISABLE_COPY_MOVE(Root)
};

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
    Line* line;
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

    /// The client's jobs in one line.
    struct Place
    {
        Waiting waiting = {};
        /// Whether the client stands in the line's ring.
        bool isQueued = false;
    };

    std::map<Line*, Place> places;
    /// Without those that have timed out.
    std::array<int, laneCount> running = {};
    /// Whether a thread of the caller's runs a job.
    bool hasTaken = false;
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
    /// True if the lane has one thread too many, and the calling one has to end.
    [[nodiscard]] bool leavesLocked(Lane lane);
    void work(Lane lane);
    void watchDeadlines();
    [[nodiscard]] std::optional<TicketList::iterator> takeNext(Lane lane, const std::shared_ptr<LaneRun>& laneRun);
    /// None if the line's next client has no job that may begin.
    [[nodiscard]] std::optional<TicketList::iterator>
    takeFromLocked(Line& line, const std::shared_ptr<LaneRun>& laneRun);
    void runTaken(TicketList::iterator ticket, const std::shared_ptr<Client>& client);
    void run(TicketList::iterator ticket);
    void endRun(Line& line, const LaneRun& laneRun);
    void call(TicketList::iterator ticket);

    [[nodiscard]] bool mayBegin(const Client& client, Lane lane) const;
    [[nodiscard]] bool mayBegin(const Line& line) const;
    [[nodiscard]] bool hangs(const Root& root) const { return root.hanging >= m_settings.hangingPerRoot; }
    /// Whether a job may begin without waiting for a thread, or for the client's other jobs.
    [[nodiscard]] bool mayBeginAtOnce(const Client& client, Line& line) const;
    [[nodiscard]] Line& lineOf(const Job& job);
    /// Why a new job of the root may not wait; none if it may.
    [[nodiscard]] std::optional<Refusal> refusalLocked(const Root& root) const;
    [[nodiscard]] TicketList::iterator addLocked(const std::shared_ptr<Client>& client, Line& line, Job job);
    void beginLocked(Client& client, TicketList::iterator ticket);
    void queueLocked(const std::shared_ptr<Client>& client);
    void queueLocked(Line& line);
    void queueLocked(Root& root);
    void release(TicketList::iterator ticket);
    [[nodiscard]] Slot slotFor(TicketList::iterator ticket);
    /// The refusals to be called without the lock.
    [[nodiscard]] std::vector<std::shared_ptr<const Refuse>> takeWaitingLocked();
    [[nodiscard]] bool isOverdueLocked(const Ticket& ticket, Clock::time_point now) const;
    [[nodiscard]] std::vector<std::function<void()>> takeOverdueLocked();
    [[nodiscard]] std::function<void()> giveUpLocked(TicketList::iterator ticket);
    [[nodiscard]] std::function<void()> giveUpRunningLocked(TicketList::iterator ticket);
    static void leaveRingLocked(Line& line, const Client& client);
    void dropWaitingLocked(TicketList::iterator ticket);

    const Settings m_settings;

    std::mutex m_mutex;
    std::array<std::condition_variable, laneCount> m_hasWork;
    std::condition_variable m_hasEnded;
    std::map<QString, Root> m_roots;
    /// Lines with a job that may begin, in the order of their turns.
    std::array<std::deque<Line*>, laneCount> m_rings;
    /// All jobs, the oldest first.
    TicketList m_tickets;
    int m_waiting = 0;
    int m_runningFunctions = 0;
    bool m_isStopping = false;
    std::array<Crew, laneCount> m_crews;
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

/// Replaces the threads whose jobs hang. If the system has no thread left, the next call may succeed.
void RequestExecutor::State::startSparesLocked()
{
    for (std::size_t lane = 0; lane < laneCount; ++lane) {
        while (m_crews[lane].serving < m_crews[lane].wanted) {
            try {
                startThreadLocked(static_cast<Lane>(lane));
            } catch (const std::system_error&) {
                return;
            }
        }
    }
}

bool RequestExecutor::State::leavesLocked(Lane lane)
{
    Crew& crew = m_crews[indexOf(lane)];
    if (crew.serving <= crew.wanted)
        return false;
    --crew.serving;
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

bool RequestExecutor::State::mayBegin(const Line& line) const
{
    const int share = std::max(1, m_crews[indexOf(line.lane)].wanted - 1);
    return line.running < share && !hangs(*line.root);
}

bool RequestExecutor::State::mayBeginAtOnce(const Client& client, Line& line) const
{
    const auto place = client.places.find(&line);
    const bool waits = place != client.places.end() && !place->second.waiting.empty();
    return !m_isStopping && !waits && !hangs(*line.root) && mayBegin(client, line.lane);
}

Line& RequestExecutor::State::lineOf(const Job& job)
{
    return m_roots[job.root].lines[indexOf(job.lane)];
}

TicketList::iterator RequestExecutor::State::addLocked(const std::shared_ptr<Client>& client, Line& line, Job job)
{
    auto refuse = std::make_shared<const Refuse>(std::move(job.refuse));
    m_tickets.push_back({std::move(job), std::move(refuse), client, &line, Clock::now() + m_settings.timeLimit});
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
    Line& line = lineOf(job);
    if (const std::optional<Refusal> refusal = refusalLocked(*line.root)) {
        lock.unlock();
        return job.refuse(*refusal);
    }
    client->places[&line].waiting.push_back(addLocked(client, line, std::move(job)));
    ++m_waiting;
    queueLocked(client);
}

std::optional<Refusal> RequestExecutor::State::refusalLocked(const Root& root) const
{
    if (m_isStopping)
        return Refusal::Stopping;
    if (hangs(root))
        return Refusal::RootHangs;
    if (m_waiting >= m_settings.waiting)
        return Refusal::Busy;
    return std::nullopt;
}

std::function<void()> RequestExecutor::State::submitOrTake(const std::shared_ptr<Client>& client, Job job)
{
    {
        const std::lock_guard lock(m_mutex);
        Line& line = lineOf(job);
        if (line.lane != Lane::Walk && !client->hasTaken && mayBeginAtOnce(*client, line)) {
            const auto ticket = addLocked(client, line, std::move(job));
            beginLocked(*client, ticket);
            client->hasTaken = true;
            ++m_runningFunctions;
            return [state = shared_from_this(), ticket, client] { state->runTaken(ticket, client); };
        }
    }
    submit(client, std::move(job));
    return {};
}

RequestExecutor::Slot RequestExecutor::State::hold(const std::shared_ptr<Client>& client, Job job)
{
    const std::lock_guard lock(m_mutex);
    Line& line = lineOf(job);
    if (!mayBeginAtOnce(*client, line))
        return nullptr;
    const auto ticket = addLocked(client, line, std::move(job));
    beginLocked(*client, ticket);
    return slotFor(ticket);
}

/// Puts the client into the rings of the lines in which it may begin a job.
void RequestExecutor::State::queueLocked(const std::shared_ptr<Client>& client)
{
    for (auto& [line, place] : client->places) {
        if (place.isQueued || place.waiting.empty() || !mayBegin(*client, line->lane))
            continue;
        place.isQueued = true;
        line->ring.push_back(client);
        queueLocked(*line);
    }
}

void RequestExecutor::State::queueLocked(Line& line)
{
    if (line.isQueued || line.ring.empty() || !mayBegin(line))
        return;
    line.isQueued = true;
    m_rings[indexOf(line.lane)].push_back(&line);
    m_hasWork[indexOf(line.lane)].notify_one();
}

void RequestExecutor::State::queueLocked(Root& root)
{
    for (Line& line : root.lines)
        queueLocked(line);
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
        Line& line = *ring.front();
        ring.pop_front();
        line.isQueued = false;
        if (line.ring.empty() || !mayBegin(line))
            continue;
        const auto ticket = takeFromLocked(line, laneRun);
        queueLocked(line);
        if (ticket)
            return ticket;
    }
}

std::optional<TicketList::iterator>
RequestExecutor::State::takeFromLocked(Line& line, const std::shared_ptr<LaneRun>& laneRun)
{
    const std::shared_ptr<Client> client = std::move(line.ring.front());
    line.ring.pop_front();
    Client::Place& place = client->places[&line];
    place.isQueued = false;
    if (place.waiting.empty() || !mayBegin(*client, line.lane))
        return std::nullopt;
    const auto ticket = place.waiting.front();
    place.waiting.pop_front();
    --m_waiting;
    beginLocked(*client, ticket);
    ticket->laneRun = laneRun;
    ++line.running;
    ++m_runningFunctions;
    queueLocked(client);
    return ticket;
}

void RequestExecutor::State::work(Lane lane)
{
    auto laneRun = std::make_shared<LaneRun>();
    while (const std::optional<TicketList::iterator> ticket = takeNext(lane, laneRun)) {
        // The ticket may end before the function does.
        Line& line = *(*ticket)->line;
        run(*ticket);
        endRun(line, *laneRun);
        // A slot that is kept no longer points to it.
        laneRun = std::make_shared<LaneRun>();
    }
}

void RequestExecutor::State::endRun(Line& line, const LaneRun& laneRun)
{
    const std::lock_guard lock(m_mutex);
    if (laneRun.isTimedOut) {
        ++m_crews[indexOf(line.lane)].serving;
        --line.root->hanging;
    } else {
        --line.running;
    }
    queueLocked(*line.root);
}

void RequestExecutor::State::runTaken(TicketList::iterator ticket, const std::shared_ptr<Client>& client)
{
    run(ticket);
    const std::lock_guard lock(m_mutex);
    client->hasTaken = false;
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
    // Before that, only the thread that watches the deadlines waits, and not for this.
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
    const std::shared_ptr<Client> client = ticket->client.lock();
    if (!client || ticket->isTimedOut)
        return;
    --client->running[indexOf(ticket->job.lane)];
    queueLocked(client);
}

void RequestExecutor::State::setPaused(Client& client, bool paused, const std::shared_ptr<Client>& shared)
{
    const std::lock_guard lock(m_mutex);
    if (client.isPaused == paused)
        return;
    client.isPaused = paused;
    if (paused)
        return;
    for (const auto& [line, place] : client.places) {
        for (const auto ticket : place.waiting)
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
    Client::Waiting& waiting = client->places[ticket->line].waiting;
    waiting.erase(std::remove(waiting.begin(), waiting.end(), ticket), waiting.end());
}

void RequestExecutor::State::removeClient(Client& client)
{
    TicketList dropped;
    const std::lock_guard lock(m_mutex);
    client.isRemoved = true;
    for (auto& [line, place] : client.places) {
        m_waiting -= static_cast<int>(place.waiting.size());
        for (const auto ticket : place.waiting)
            dropped.splice(dropped.end(), m_tickets, ticket);
        place.waiting.clear();
        leaveRingLocked(*line, client);
    }
    for (Ticket& ticket : m_tickets) {
        if (ticket.client.lock().get() != &client)
            continue;
        ticket.job.context->cancel();
        if (ticket.job.lane == Lane::Walk)
            ticket.deadline = Clock::now() + m_settings.timeLimit;
    }
}

/// Otherwise the ring of a root that hangs would keep the client.
void RequestExecutor::State::leaveRingLocked(Line& line, const Client& client)
{
    const auto isClient = [&client](const std::shared_ptr<Client>& queued) { return queued.get() == &client; };
    line.ring.erase(std::remove_if(line.ring.begin(), line.ring.end(), isClient), line.ring.end());
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
    if (ticket->isRunning)
        return giveUpRunningLocked(ticket);
    const Refusal reason = hangs(*ticket->line->root) ? Refusal::RootHangs : Refusal::Busy;
    auto refuse = std::move(ticket->refuse);
    dropWaitingLocked(ticket);
    m_tickets.erase(ticket);
    return [refuse = std::move(refuse), reason] { (*refuse)(reason); };
}

/// The job no longer counts as one of its client's, and another thread replaces the one that it blocks.
std::function<void()> RequestExecutor::State::giveUpRunningLocked(TicketList::iterator ticket)
{
    ticket->isTimedOut = true;
    ticket->job.context->cancel();
    if (const std::shared_ptr<Client> client = ticket->client.lock()) {
        --client->running[indexOf(ticket->job.lane)];
        queueLocked(client);
    }
    if (const std::shared_ptr<LaneRun> laneRun = ticket->laneRun.lock()) {
        laneRun->isTimedOut = true;
        --m_crews[indexOf(ticket->job.lane)].serving;
        --ticket->line->running;
        ++ticket->line->root->hanging;
        queueLocked(*ticket->line->root);
    }
    return [refuse = ticket->refuse] { (*refuse)(Refusal::TimedOut); };
}

bool RequestExecutor::State::isOverdueLocked(const Ticket& ticket, Clock::time_point now) const
{
    if (!ticket.isRunning && hangs(*ticket.line->root))
        return true;
    const std::shared_ptr<Client> client = ticket.client.lock();
    const bool standsStill = !ticket.isRunning && client && client->isPaused;
    // A walk may take long, but has to end soon after its client was removed.
    const bool isLimited = ticket.job.lane != Lane::Walk || ticket.job.context->isCancelled();
    return isLimited && !ticket.isTimedOut && !standsStill && ticket.deadline <= now;
}

std::vector<std::function<void()>> RequestExecutor::State::takeOverdueLocked()
{
    std::vector<std::function<void()>> refusals;
    const Clock::time_point now = Clock::now();
    for (auto ticket = m_tickets.begin(); ticket != m_tickets.end();) {
        const auto current = ticket++;
        if (isOverdueLocked(*current, now))
            refusals.push_back(giveUpLocked(current));
    }
    return refusals;
}

/// Checks at intervals rather than at every deadline, which would wake a thread for each request.
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
