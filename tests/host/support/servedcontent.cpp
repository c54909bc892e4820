#include "support/servedcontent.h"

#include "exec/workerthread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace {

/// Calls `request` with a completion and waits for the result.
template<typename Request>
Result<void> resultOf(const Request& request)
{
    auto result = std::make_shared<std::promise<Result<void>>>();
    request([result](const Result<void>& value) { result->set_value(value); });
    return result->get_future().get();
}

} // namespace

RootSettings rootFor(const QString& id, const QString& directory, const QString& title)
{
    return {id, directory, title, false, {QStringLiteral("*.mp3")}};
}

HostSettings settingsFor(const QString& directory)
{
    HostSettings settings;
    settings.moduleFile = QStringLiteral(TAVO_MODULE);
    settings.roots = {rootFor(QStringLiteral("file"), directory)};
    settings.sweepInterval = std::chrono::milliseconds::zero();
    return settings;
}

std::unique_ptr<ContentHost> startHost(const HostSettings& settings)
{
    Result<std::unique_ptr<ContentHost>> host = ContentHost::start(settings);
    EXPECT_TRUE(host) << host.failure().message.toString().toStdString();
    return host ? std::move(host.value()) : nullptr;
}

QStringList trackedBases(const ContentHost& host, const QString& prefix)
{
    QStringList bases;
    host.workerThread().run([&] {
        const CMSubscribe* const subscribe = host.subscribeOf(prefix);
        if (!subscribe)
            return;
        for (const CMPath& path : subscribe->rowsPathsStartingWith(CMPath(prefix, QString())))
            bases.append(path.base());
    });
    return bases;
}

Subscriber::Subscriber(ContentHost& host, Reach reach, int limit) : m_host(host)
{
    const auto remember = [this](const CMPath& path, const QStringList& changes, int version) {
        const std::lock_guard lock(m_mutex);
        m_heard.append(changes.join(u',') + u' ' + path.toEncoded());
        m_lastVersion = version;
        m_changed.notify_all();
    };
    m_subscriptions = std::make_unique<Subscriptions>(host, reach, limit, remember);
}

Subscriber::~Subscriber()
{
    m_subscriptions.reset();
    m_host.workerThread().run([] {});
}

Result<void> Subscriber::open(const CMPath& path)
{
    return resultOf([&](auto completion) { m_subscriptions->open(path, completion); });
}

Result<void> Subscriber::close(const CMPath& path)
{
    return resultOf([&](auto completion) { m_subscriptions->close(path, completion); });
}

bool Subscriber::hears(const QString& change)
{
    constexpr std::chrono::seconds patience{20};
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, [&] { return m_heard.contains(change); });
}

QStringList Subscriber::heard() const
{
    const std::lock_guard lock(m_mutex);
    return m_heard;
}

void Subscriber::forget()
{
    const std::lock_guard lock(m_mutex);
    m_heard.clear();
}

int Subscriber::lastVersion() const
{
    const std::lock_guard lock(m_mutex);
    return m_lastVersion;
}
