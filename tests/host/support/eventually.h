#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

/// Runs the event loop until the condition holds; false if it does not within the limit.
template<typename Condition>
[[nodiscard]] bool eventually(const Condition& condition)
{
    constexpr int patience = 30000;
    constexpr int turn = 20;
    const QDeadlineTimer deadline(patience);
    // Wakes the loop, since another thread may make the condition true without an event.
    QTimer ticks;
    ticks.start(turn);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}
