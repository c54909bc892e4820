#pragma once

#include "content/contenthost.h"
#include "content/subscriptions.h"

#include <QStringList>

#include <condition_variable>
#include <memory>
#include <mutex>

/// *.mp3 is playable in it.
[[nodiscard]] RootSettings rootFor(const QString& id, const QString& directory, const QString& title = {});

/// One root with the id "file" where *.mp3 is playable; nothing looks at it in sweeps.
[[nodiscard]] HostSettings settingsFor(const QString& directory);

/// Null, with a failed expectation, if it does not start.
[[nodiscard]] std::unique_ptr<ContentHost> startHost(const HostSettings& settings);

/// The bases of the paths that the worker with the prefix tracks.
[[nodiscard]] QStringList trackedBases(const ContentHost& host, const QString& prefix = QStringLiteral("file"));

/// A client that opens and closes paths and remembers the changes that it hears of.
class Subscriber
{
public:
    explicit Subscriber(ContentHost& host, Reach reach = Reach::Local, int limit = Limits().openPaths);
    /// When it returns, everything is closed.
    ~Subscriber();
    Q_DISABLE_COPY_MOVE(Subscriber)

    /// Wait for the completion.
    [[nodiscard]] Result<void> open(const CMPath& path);
    [[nodiscard]] Result<void> close(const CMPath& path);

    /// Waits until it has heard of the change, as "code /encoded/path"; false if it does not.
    [[nodiscard]] bool hears(const QString& change);
    /// Everything that it has heard of.
    [[nodiscard]] QStringList heard() const;
    void forget();
    /// Of the last change.
    [[nodiscard]] int lastVersion() const;

    [[nodiscard]] Subscriptions& subscriptions() { return *m_subscriptions; }

private:
    ContentHost& m_host;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    QStringList m_heard;
    int m_lastVersion = 0;
    std::unique_ptr<Subscriptions> m_subscriptions;
};
