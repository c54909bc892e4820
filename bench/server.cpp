#include "peers/floor.h"
#include "peers/nginx.h"
#include "support/hostsession.h"
#include "support/httpclient.h"
#include "support/listingcounter.h"
#include "support/module.h"
#include "support/procstatus.h"
#include "support/race.h"
#include "support/tavoserver.h"
#include "support/testdata.h"
#include "support/websocket.h"
#include "support/workshop.h"
#include "tavo/tavoroles.h"

#include <QDir>
#include <QFile>
#include <QImage>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Bytes.
constexpr std::size_t mebibyte = std::size_t{1} << 20;
constexpr std::size_t rangeSize = std::size_t{64} << 10;

template<typename Client>
using Clients = std::vector<std::unique_ptr<Client>>;

template<typename Client>
Clients<Client> connect(int port, int count)
{
    Clients<Client> clients;
    for (int i = 0; i < count; ++i)
        clients.push_back(std::make_unique<Client>(port));
    return clients;
}

template<typename Client>
int descriptorOf(const std::unique_ptr<Client>& client)
{
    return client->descriptor();
}

/// Somebody who asks for a page and waits for it.
struct Asker
{
    std::function<void()> ask;
    std::function<void()> receive;
    int descriptor;
};

int descriptorOf(const Asker& asker)
{
    return asker.descriptor;
}

bool isResult(std::string_view message)
{
    return message.find("\"result\"") != std::string_view::npos;
}

/// As many as the system allows.
void allowManyDescriptors()
{
    rlimit limit = {};
    require(getrlimit(RLIMIT_NOFILE, &limit) == 0, "cannot read a limit");
    limit.rlim_cur = limit.rlim_max;
    require(setrlimit(RLIMIT_NOFILE, &limit) == 0, "cannot raise a limit");
}

/// Waits for input and calls receive(i) for each client that has some, until that has returned true for all.
template<typename Clients, typename Receive>
void receiveFrom(const Clients& clients, const Receive& receive)
{
    std::vector<pollfd> inputs;
    inputs.reserve(clients.size());
    for (const auto& client : clients)
        inputs.push_back({descriptorOf(client), POLLIN, 0});
    for (std::size_t left = clients.size(); left > 0;) {
        require(poll(inputs.data(), inputs.size(), -1) > 0, "cannot wait for input");
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            if (inputs[i].revents == 0 || !receive(i))
                continue;
            // poll() skips it from now on.
            inputs[i].fd = -1;
            inputs[i].revents = 0;
            --left;
        }
    }
}

// Files

/// A file that has all its bytes on the disk, and in the page cache when it is new.
void writeFile(const std::string& path, std::size_t size)
{
    std::ofstream file(path, std::ios::binary);
    const std::string bytes(mebibyte, 'x');
    for (std::size_t written = 0; written < size; written += bytes.size())
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    require(file.flush().good(), "cannot write a file");
}

/// A large file, and two servers of it.
class Files
{
public:
    explicit Files(const Workshop& workshop)
        : size(workshop.isSmoke() ? 32 * mebibyte : 1024 * mebibyte),
          root(workshop.filled(
              QStringLiteral("large"),
              [this](const std::string& directory) { writeFile(directory + "/a.wav", size); })),
          nginx(root), tavo(root, playablePatterns())
    {
    }

    const std::size_t size;
    const QString root;
    Nginx nginx;
    TavoServer tavo;
};

/// Measures the processor time of the server instead of this process'.
Measure servedBy(const WebServer& server, std::function<void()> work)
{
    return [&server, work = std::move(work)] {
        const Seconds before = server.cpuTime();
        Timing timing = timingOf(work);
        timing.cpu = server.cpuTime() - before;
        return timing;
    };
}

/// Each stream gets a part of the file, and all together get all of it.
Measure download(const WebServer& server, std::size_t size, int streams)
{
    const auto clients = std::make_shared<Clients<HttpClient>>(connect<HttpClient>(server.port(), streams));
    const std::size_t part = size / clients->size();
    return servedBy(server, [=, target = server.targetOf("a.wav")] {
        for (std::size_t i = 0; i < clients->size(); ++i)
            (*clients)[i]->request(target, i * part, part);
        receiveFrom(*clients, [&](std::size_t i) { return (*clients)[i]->receive(); });
    });
}

/// Each connection gets one range after the other.
Measure ranges(const WebServer& server, std::size_t size, int connections)
{
    constexpr int count = 2000;
    const auto clients = std::make_shared<Clients<HttpClient>>(connect<HttpClient>(server.port(), connections));
    const auto random = std::make_shared<std::minstd_rand>(1);
    return perPart(
        servedBy(
            server,
            [=, target = server.targetOf("a.wav")] {
                std::uniform_int_distribution<std::size_t> first(0, size - rangeSize);
                int left = count;
                for (const auto& client : *clients)
                    client->request(target, first(*random), rangeSize);
                receiveFrom(*clients, [&](std::size_t i) {
                    if (!(*clients)[i]->receive())
                        return false;
                    if (--left < static_cast<int>(clients->size()))
                        return true;
                    (*clients)[i]->request(target, first(*random), rangeSize);
                    return false;
                });
            }),
        count);
}

/// Compares times and processor times.
class ServerRace
{
public:
    using MeasureOf = std::function<Measure(const WebServer&, std::size_t size)>;

    [[nodiscard]] static Race make(const Workshop& workshop, const MeasureOf& measureOf)
    {
        const auto race = std::make_shared<ServerRace>(workshop, measureOf);
        return {
            {{"nginx", [race] { return race->m_nginxTime = race->m_nginx(); }, Clock::Wall},
             {"tavo serve", [race] { return race->m_tavoTime = race->m_tavo(); }, Clock::Wall}},
            {{"tavo serve", "nginx", 1.11}},
            {{"tavo serve, processor time / nginx", [race] { return race->m_tavoTime.cpu / race->m_nginxTime.cpu; },
              1.0}}};
    }

    ServerRace(const Workshop& workshop, const MeasureOf& measureOf)
        : m_files(workshop), m_nginx(measureOf(m_files.nginx, m_files.size)),
          m_tavo(measureOf(m_files.tavo, m_files.size))
    {
    }

private:
    Files m_files;
    Measure m_nginx;
    Measure m_tavo;
    Timing m_nginxTime;
    Timing m_tavoTime;
};

// Rows over a WebSocket

constexpr int pageSize = 100;

/// All ask at once, and again as soon as they have their answer. Returns how long each answer took.
std::vector<Seconds> converse(const std::vector<Asker>& askers, int questions)
{
    std::vector<Seconds> latencies;
    std::vector<std::chrono::steady_clock::time_point> begins(askers.size());
    std::vector<int> left(askers.size(), questions);
    const auto ask = [&](std::size_t i) {
        begins[i] = std::chrono::steady_clock::now();
        askers[i].ask();
    };
    for (std::size_t i = 0; i < askers.size(); ++i)
        ask(i);
    receiveFrom(askers, [&](std::size_t i) {
        askers[i].receive();
        latencies.emplace_back(std::chrono::steady_clock::now() - begins[i]);
        if (--left[i] == 0)
            return true;
        ask(i);
        return false;
    });
    return latencies;
}

Seconds percentile(std::vector<Seconds> times, std::size_t percent)
{
    const auto value = times.begin() + static_cast<std::ptrdiff_t>(times.size() * percent / 100);
    std::nth_element(times.begin(), value, times.end());
    return *value;
}

/// Each client asks for a page of its own, so that none shares the listing of another.
QByteArray pageRequest(const QString& directory, int client)
{
    return rowsRequest(directory, client, client + pageSize - 1, {TavoRoles::Title()});
}

std::vector<Asker> sessionAskers(const Workshop& workshop, const QString& directory, int count)
{
    std::vector<Asker> askers;
    for (int i = 0; i < count; ++i) {
        const auto session = std::make_shared<HostSession>(workshop.root(), playablePatterns());
        askers.push_back(
            {[session, request = pageRequest(directory, i)] { session->ask(request); },
             [session] { session->answer(); }, session->descriptor()});
    }
    return askers;
}

/// They keep their server.
std::vector<Asker> socketAskers(const Workshop& workshop, const QString& directory, int count)
{
    const auto server = std::make_shared<TavoServer>(workshop.root(), playablePatterns());
    std::vector<Asker> askers;
    for (int i = 0; i < count; ++i) {
        const auto socket = std::make_shared<WebSocket>(server->port());
        askers.push_back(
            {[server, socket, request = pageRequest(directory, i).toStdString()] { socket->send(request); },
             [socket] { require(isResult(socket->next()), "the server refused a request"); }, socket->descriptor()});
    }
    return askers;
}

Race rows(const Workshop& workshop, int clients)
{
    const int questions = workshop.isSmoke() ? 2 : 1000 / clients;
    const QString directory = workshop.directoryOf(1000).mid(workshop.root().size() + 1);
    const auto latencies = std::make_shared<std::vector<Seconds>>();
    const auto conversation = [=](const std::vector<Asker>& askers) {
        return [=] { return timingOf([&] { *latencies = converse(askers, questions); }); };
    };
    const auto unevenness = [latencies] { return percentile(*latencies, 99) / percentile(*latencies, 50); };
    return {
        {{"session", conversation(sessionAskers(workshop, directory, clients)), Clock::Wall},
         {"WebSocket", conversation(socketAskers(workshop, directory, clients)), Clock::Wall}},
        {{"WebSocket", "session", 1.3}},
        clients > 1 ? std::vector<Fact>{{"WebSocket, p99 / median", unevenness, 5.0}} : std::vector<Fact>()};
}

// A directory that many clients have open

/// A server with clients that have the same directory open.
class Crowd
{
public:
    Crowd(const Workshop& workshop, int count)
        : m_directory(workshop.newDirectoryOf(workshop.isSmoke() ? 100 : 5000)),
          m_server(m_directory, playablePatterns(), m_listings.environment())
    {
        add(10);
        m_rest = kilobytes();
        add(count - static_cast<int>(m_clients.size()));
    }
    ~Crowd() { QDir(m_directory).removeRecursively(); }
    Q_DISABLE_COPY_MOVE(Crowd)

    void list() const { Floor::listNames(m_directory.toStdString()); }

    /// A file comes or goes. Returns when all clients have been notified. Each asks for rows as soon as it is.
    void change()
    {
        m_listings.reset();
        toggleFile();
        for (const auto& client : m_clients) {
            client->nextWith("rowsChanged");
            client->send(m_rowsRequest);
        }
    }

    /// Returns the number of listings since the change began.
    double readRows()
    {
        for (const auto& client : m_clients)
            client->nextWith("\"result\"");
        return m_listings.made();
    }

    [[nodiscard]] double kilobytesOfAClient() const
    {
        return (kilobytes() - m_rest) / static_cast<double>(m_clients.size() - 10);
    }

private:
    void add(int count)
    {
        for (auto& client : connect<WebSocket>(m_server.port(), count)) {
            client->send(R"({"jsonrpc":"2.0","id":1,"method":"open","params":["/file/"]})");
            require(isResult(client->next()), "the server does not open a directory");
            m_clients.push_back(std::move(client));
        }
    }

    void toggleFile() const
    {
        const std::string file = m_directory.toStdString() + "/One more.mp3";
        if (unlink(file.c_str()) != 0)
            require(close(open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)) == 0, "cannot create a file");
    }

    [[nodiscard]] double kilobytes() const { return kilobytesOf("VmRSS", static_cast<pid_t>(m_server.processId())); }

    const std::string m_rowsRequest = rowsRequest(QString(), 0, pageSize - 1, {TavoRoles::Title()}).toStdString();
    QString m_directory;
    ListingCounter m_listings;
    TavoServer m_server;
    Clients<WebSocket> m_clients;
    double m_rest = 0;
};

Race change(const Workshop& workshop, int clients)
{
    const auto crowd = std::make_shared<Crowd>(workshop, clients);
    const auto readRows = [crowd] { return crowd->readRows(); };
    return {
        {{"one listing", repeating([crowd] { crowd->list(); })},
         {"all notified", [crowd] { return timingOf([&] { crowd->change(); }); }, Clock::Wall}},
        {{"all notified", "one listing", 10.0}},
        {{"listings until all have read", readRows, 5.0}}};
}

Race idle(const Workshop& workshop, int clients)
{
    return {
        {},
        {},
        {{"idle WebSocket client, kB", [=, &workshop] { return Crowd(workshop, clients).kilobytesOfAClient(); },
          32.0}}};
}

// Covers

/// A picture that is costly to decode.
void writePicture(const std::string& directory, int width)
{
    QImage image(width, width, QImage::Format_RGB32);
    // NOLINTNEXTLINE(cert-msc51-cpp): all runs make the same picture.
    std::minstd_rand random(1);
    for (int y = 0; y < width; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x % 256, y % 256, static_cast<int>(random() % 64)));
    }
    require(
        image.save(QString::fromStdString(directory) + QStringLiteral("/cover.jpg"), "jpeg", 90),
        "cannot write a picture");
}

Race cover(const Workshop& workshop, int width)
{
    const QString root = workshop.filled(
        QStringLiteral("cover-%1").arg(width), [=](const std::string& directory) { writePicture(directory, width); });
    const QString picture = root + QStringLiteral("/cover.jpg");
    const auto server = std::make_shared<TavoServer>(root, playablePatterns());
    const auto client = std::make_shared<HttpClient>(server->port());
    const auto get = [server, client] {
        client->request("/cover/file/?width=400");
        client->receiveAll();
    };
    const auto getAnew = [=] {
        // Another time makes it another picture.
        require(utimensat(AT_FDCWD, QFile::encodeName(picture).constData(), nullptr, 0) == 0, "cannot touch a file");
        get();
    };
    const auto decode = [=] {
        require(!QImage(picture).scaledToWidth(400, Qt::SmoothTransformation).isNull(), "cannot read a picture");
    };
    return {
        {{"QImage", repeating(decode), Clock::Wall},
         {"first", repeating(getAnew), Clock::Wall},
         {"again", repeating(get), Clock::Wall}},
        {{"first", "QImage", 1.3}, {"again", "QImage", 0.02}}};
}

// Slow disks

/// Downloads files in a thread until it is destroyed.
class Streams
{
public:
    Streams(const WebServer& server, int count) : m_clients(connect<HttpClient>(server.port(), count))
    {
        for (std::size_t i = 0; i < m_clients.size(); ++i) {
            m_clients[i]->request(server.targetOf("slow-" + std::to_string(i) + ".wav"));
            // They are under way.
            static_cast<void>(m_clients[i]->receive());
            static_cast<void>(m_clients[i]->receive());
        }
        m_thread = std::thread([this] {
            receiveFrom(m_clients, [this](std::size_t i) { return m_clients[i]->receive() || m_hasEnded; });
        });
    }
    ~Streams()
    {
        m_hasEnded = true;
        m_thread.join();
    }
    Q_DISABLE_COPY_MOVE(Streams)

private:
    Clients<HttpClient> m_clients;
    std::atomic<bool> m_hasEnded = false;
    std::thread m_thread;
};

/// The time within which 99 % of the questions are answered.
Timing roundTrips(WebSocket& client, const std::string& question, int count)
{
    std::vector<Seconds> times;
    for (int i = 0; i < count; ++i) {
        times.push_back(timingOf([&] {
                            client.send(question);
                            require(isResult(client.next()), "the server refused a request");
                        }).wall);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return {{}, percentile(std::move(times), 99)};
}

/// Files of holes: only their size matters.
void makeLargeFiles(const std::string& directory, int count)
{
    for (int i = 0; i < count; ++i) {
        const std::filesystem::path file = directory + "/slow-" + std::to_string(i) + ".wav";
        std::ofstream(file).close();
        std::filesystem::resize_file(file, 256 * mebibyte);
    }
}

Race slowDisk(const Workshop& workshop, int streams)
{
    const int count = workshop.isSmoke() ? 50 : 500;
    const QString root = workshop.filled(
        QStringLiteral("slow"), [=](const std::string& directory) { makeLargeFiles(directory, streams); });
    const auto server = std::make_shared<TavoServer>(
        root, playablePatterns(), QStringList(QStringLiteral("LD_PRELOAD=" TAVO_SLOW_DISK)));
    const auto client = std::make_shared<WebSocket>(server->port());
    const std::string question = rowsRequest(QString(), 0, pageSize - 1, {TavoRoles::Title()}).toStdString();
    return {
        {{"alone", [=] { return roundTrips(*client, question, count); }, Clock::Wall},
         {"p99 beside streams",
          [=] {
              const Streams load(*server, streams);
              return roundTrips(*client, question, count);
          },
          Clock::Wall}},
        {{"p99 beside streams", "alone", 3.0}}};
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [](const Workshop& workshop) {
        allowManyDescriptors();
        for (const int streams : {1, 8}) {
            addRace("a file of 1 GB/" + std::to_string(streams), workshop.rounds(7), [=, &workshop] {
                return ServerRace::make(workshop, [=](const WebServer& server, std::size_t size) {
                    return download(server, size, streams);
                });
            });
        }
        for (const int connections : {1, 8}) {
            addRace("ranges of 64 KiB/" + std::to_string(connections), workshop.rounds(11), [=, &workshop] {
                return ServerRace::make(workshop, [=](const WebServer& server, std::size_t size) {
                    return ranges(server, size, connections);
                });
            });
        }
        for (const int clients : {1, 50})
            addRace("WebSocket, 100 rows/" + std::to_string(clients), workshop.rounds(11), [=, &workshop] {
                return rows(workshop, clients);
            });
        const int many = workshop.isSmoke() ? 100 : 1000;
        addRace("a change in an open directory/" + std::to_string(many), workshop.rounds(11), [=, &workshop] {
            return change(workshop, many);
        });
        addRace("memory of WebSocket clients/" + std::to_string(many), workshop.rounds(3), [=, &workshop] {
            return idle(workshop, many);
        });
        addRace("cover/2000", workshop.rounds(11), [&workshop] { return cover(workshop, 2000); });
        addRace("WebSocket beside streams from a slow disk/4", workshop.rounds(7), [&workshop] {
            return slowDisk(workshop, 4);
        });
    });
}
