#pragma once

#include <QtGlobal>

#include <atomic>
#include <memory>

/// Limits the bytes that wait for all clients together. When more wait, clients with more than an equal part must be
/// disconnected. Thread-safe.
class PendingBudget
{
    struct State;

public:
    /// The bytes that wait for one client. May outlive the budget. For one thread at a time.
    class Part
    {
    public:
        explicit Part(const PendingBudget& budget);
        ~Part();
        Q_DISABLE_COPY_MOVE(Part)

        void set(qint64 bytes);
        /// True if more than the limit waits for all clients, and more than an equal part of it for this one.
        [[nodiscard]] bool isTooLarge() const;

    private:
        std::shared_ptr<State> m_state;
        qint64 m_bytes = 0;
    };

    /// `limit`: bytes; a text that several clients share counts once for each.
    explicit PendingBudget(qint64 limit) : m_state(std::make_shared<State>(limit)) {}

private:
    struct State
    {
        explicit State(qint64 most) : limit(most) {}

        const qint64 limit;
        std::atomic<qint64> bytes = 0;
        std::atomic<int> parts = 0;
    };

    std::shared_ptr<State> m_state;
};
