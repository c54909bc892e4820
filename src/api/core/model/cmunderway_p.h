#pragma once

#include "model/cmremovals_p.h"
#include "model/cmrequest.h"

#include <QMutex>
#include <QSet>
#include <QString>
#include <QWaitCondition>

#include <atomic>
#include <functional>
#include <list>
#include <memory>

/// The calls that the root worker has under way at one worker: requests, openings and closings. Thread-safe.
///
/// Its mutex is a leaf: events are posted under it, but nothing is called. The worker's CMSubscribe owns it together
/// with the calls, which may outlive the worker by a moment.
class CMUnderWay
{
    struct RowsRequest
    {
        quint64 number;
        /// Cleaned.
        QString base;
    };
    using RowsRequests = std::list<RowsRequest>;

public:
    /// One call, from construction to destruction.
    class Call
    {
    public:
        /// `request`: null for an opening or closing; else it must outlive the call. Waits while the removal of the
        /// path whose rows are requested runs, unless in the worker's thread.
        explicit Call(std::shared_ptr<CMUnderWay> underWay, const CMRequest* request = nullptr);
        ~Call();
        Q_DISABLE_COPY_MOVE(Call)

        /// False if the worker was not mounted any more: it must not be called.
        [[nodiscard]] bool isAdmitted() const { return m_isAdmitted; }

    private:
        const std::shared_ptr<CMUnderWay> m_underWay;
        const CMRequest* const m_request;
        RowsRequests::iterator m_rowsRequest;
        bool m_readsRows;
        bool m_isAdmitted;
    };

    /// `settle` runs from the event loop of the context's thread when a call has ended that held up a removal.
    CMUnderWay(QObject* context, std::function<void()> settle);
    Q_DISABLE_COPY_MOVE(CMUnderWay)
    ~CMUnderWay() = default;
    /// The context is about to go: nothing is posted to it any more.
    void detach();

    void mount();
    /// No further call is admitted. `whenUnused`, unless it is empty, runs from the event loop of the context's thread
    /// when the calls under way have ended.
    void unmount(std::function<void()> whenUnused);
    [[nodiscard]] bool isMounted() const { return m_isMounted; }

    /// Of the call that begins next.
    [[nodiscard]] quint64 nextNumber() const { return m_nextNumber; }
    /// The paths whose removals a call holds up: a rows request that began before, or one for that very path. Rows
    /// requests for the others do not begin until release().
    [[nodiscard]] QSet<CMPath> seize(const CMRemovalsByPath& removals);
    void release();
    /// Returns when a call has ended that held up a removal at the last seize(); at once if none did.
    void waitForEnd();

    /// Clients were given rows, or a change, of this version.
    void noteVersion(int version);
    /// Raises CMVersion::s_last to the highest version noted. Takes CMVersion::mutex().
    void raiseLastVersion() const;

private:
    [[nodiscard]] bool begin();
    [[nodiscard]] bool begin(const QString& base, RowsRequests::iterator& request);
    void end();
    void end(RowsRequests::iterator request);
    void postUnusedLocked();
    [[nodiscard]] bool isSeizedLocked(const QString& base) const;

    QMutex m_mutex;
    QObject* m_context;
    const std::function<void()> m_settle;
    std::function<void()> m_whenUnused;
    std::atomic<bool> m_isMounted = false;
    std::atomic<quint64> m_nextNumber = 1;
    std::atomic<int> m_highestVersion = 0;
    /// In the order in which they began.
    RowsRequests m_rowsRequests;
    int m_otherCalls = 0;
    /// The cleaned bases of the removals that run.
    QSet<QString> m_seized;
    QWaitCondition m_released;
    bool m_holdsUp = false;
    QWaitCondition m_ended;
};
