#pragma once

#include <QtGlobal>

#include <atomic>
#include <memory>

/// What may wait for all clients together. When more waits, a client that has more than its fair part must go.
/// Thread-safe.
class PendingBudget
{
    struct State;

public:
    /// What waits for one client; it may outlive the budget. For one thread at a time.
    class Part
    {
    public:
        explicit Part(const PendingBudget& budget);
        ~Part();
        Q_DISABLE_COPY_MOVE(Part)

        void set(qint64 bytes);
        /// More waits for all clients than is allowed, and more for this one than its equal part of that.
        [[nodiscard]] bool isTooLarge() const;

    private:
        std::shared_ptr<State> m_state;
        qint64 m_bytes = 0;
    };

    /// `limit`: bytes; texts that several clients share count for each.
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
