#include "support/listings.h"
#include "support/module.h"
#include "support/race.h"
#include "support/workshop.h"

#include "content/contenthost.h"
#include "rpc/dispatcher.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <malloc.h>

namespace {

constexpr int clientCount = 64;
constexpr int idleClients = 1000;

/// Counts the answers that are still to come. The thread that waits wakes once: to wake for each answer would cost it
/// more than the answers.
class Answers
{
public:
    void expect(int count)
    {
        const std::lock_guard lock(m_mutex);
        m_missing = count;
    }

    void take()
    {
        const std::lock_guard lock(m_mutex);
        if (--m_missing == 0)
            m_areComplete.notify_all();
    }

    void wait()
    {
        std::unique_lock lock(m_mutex);
        m_areComplete.wait(lock, [this] { return m_missing == 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_areComplete;
    int m_missing = 0;
};

/// Keeps the last message.
class LastMessage : public MessageSink
{
public:
    explicit LastMessage(Answers& answers) : m_answers(answers) {}

    void send(Message message) override
    {
        {
            const std::lock_guard lock(m_mutex);
            m_message = std::move(message);
        }
        m_answers.take();
    }
    void sendLatest(const QString& /*key*/, QByteArray message) override { send({std::move(message)}); }
    void endReplacing() override {}
    [[nodiscard]] bool isFull() const override { return false; }
    void setRoomHandler(std::function<void()> /*handler*/) override {}

    [[nodiscard]] bool isResult() const
    {
        const std::lock_guard lock(m_mutex);
        return m_message.head.contains("\"result\"");
    }

private:
    Answers& m_answers;
    mutable std::mutex m_mutex;
    Message m_message;
};

/// The host in this process, and clients that wait for their answers.
class Clients
{
public:
    Clients(const QString& root, int count) : m_host(startHost(root))
    {
        while (static_cast<int>(m_clients.size()) < count)
            add();
    }

    void add()
    {
        const auto sink = std::make_shared<LastMessage>(m_answers);
        const Services services{*m_host, m_executor, m_sharedListings};
        m_clients.push_back({sink, std::make_unique<Dispatcher>(services, Dispatcher::Profile(), sink, [] {})});
    }

    /// The first so many clients send the message; returns when all have the result.
    void ask(const QByteArray& message, int count)
    {
        m_answers.expect(count);
        for (int i = 0; i < count; ++i)
            at(i).dispatcher->accept(message);
        m_answers.wait();
        for (int i = 0; i < count; ++i)
            require(at(i).sink->isResult(), "the host refused a request");
    }

private:
    struct Client
    {
        std::shared_ptr<LastMessage> sink;
        std::unique_ptr<Dispatcher> dispatcher;
    };

    [[nodiscard]] const Client& at(int index) const { return m_clients[static_cast<std::size_t>(index)]; }

    static std::unique_ptr<ContentHost> startHost(const QString& root)
    {
        HostSettings settings;
        settings.moduleFile = shippedModule();
        settings.roots = {{QStringLiteral("file"), root, {}, false, playablePatterns()}};
        auto host = ContentHost::start(settings);
        require(static_cast<bool>(host), "the host does not start");
        return std::move(host.value());
    }

    std::unique_ptr<ContentHost> m_host;
    SharedListings m_sharedListings;
    Answers m_answers;
    RequestExecutor m_executor;
    std::vector<Client> m_clients;
};

QByteArray call(const char* method, const QByteArray& parameters)
{
    return QByteArray(R"({"jsonrpc":"2.0","id":1,"method":")") + method + R"(","params":)" + parameters + '}';
}

Race samePage(const Workshop& workshop, int entries)
{
    const QString directory = workshop.directoryOf(entries).mid(workshop.root().size() + 1);
    const QByteArray page = call("rows", R"(["/file/)" + directory.toUtf8() + R"(",0,99,0,["title"]])");
    const auto clients = std::make_shared<Clients>(workshop.root(), clientCount);
    return {
        {{"one client", repeating([=] { clients->ask(page, 1); })},
         {"64 clients", repeating([=] { clients->ask(page, clientCount); })}},
        {{"64 clients", "one client", entries >= 1000 ? 4.0 : 0}},
        {{"listings for 64 clients",
          [=] {
              Listings::reset();
              clients->ask(page, clientCount);
              return static_cast<double>(Listings::made());
          },
          entries >= 1000 ? 4.0 : 0}}};
}

double allocatedKilobytes()
{
    const struct mallinfo2 memory = mallinfo2();
    return static_cast<double>(memory.uordblks + memory.hblkhd) / 1024;
}

/// With a directory open, after an answer.
double kilobytesOfAnIdleClient(const QString& root)
{
    Clients clients(root, 1);
    const QByteArray open = call("open", R"(["/file/"])");
    clients.ask(open, 1);
    const double before = allocatedKilobytes();
    for (int i = 0; i < idleClients; ++i)
        clients.add();
    clients.ask(open, 1 + idleClients);
    return (allocatedKilobytes() - before) / idleClients;
}

Race idle(const Workshop& workshop)
{
    return {{}, {}, {{"idle client, kB", [root = workshop.root()] { return kilobytesOfAnIdleClient(root); }, 24.0}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        addRace("memory of clients/" + std::to_string(idleClients), workshop.rounds(3), [&workshop] {
            return idle(workshop);
        });
        for (const int entries : workshop.sizes(10000)) {
            addRace("same page for 64 clients/" + std::to_string(entries), workshop.rounds(11), [=, &workshop] {
                return samePage(workshop, entries);
            });
        }
    });
}
