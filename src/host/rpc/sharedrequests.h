#pragma once

#include "content/result.h"

#include <QByteArray>
#include <QHash>

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

/// Lets equal requests share one answer: those that arrive while one of them is computed wait for it and share the
/// next one. None gets an answer that was begun before it was asked. Thread-safe.
class SharedRequests
{
public:
    using Compute = std::function<Result<QByteArray>()>;
    using Receive = std::function<void(const Result<QByteArray>&)>;

    /// Computes the answer in the calling thread, also for those that join meanwhile; or returns at once if an equal
    /// request is being computed, and has it answered by that thread. `compute` depends on nothing but the key.
    void run(const QByteArray& key, const Compute& compute, Receive receive);

    /// How many answers have been computed so far.
    [[nodiscard]] qint64 computed() const { return m_computed; }

private:
    using Receivers = std::vector<Receive>;

    /// False if the receiver joins the request that is being computed.
    [[nodiscard]] bool begin(const QByteArray& key, Receive& receive);
    /// Those that have joined; empty if there are none, and then the request has ended.
    [[nodiscard]] Receivers takeJoined(const QByteArray& key);

    std::atomic<qint64> m_computed = 0;
    std::mutex m_mutex;
    /// Of the requests that are being computed: who waits for the next answer.
    QHash<QByteArray, Receivers> m_joined;
};
