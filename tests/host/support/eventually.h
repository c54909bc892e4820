#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

/// Runs the event loop until the condition holds; false if it does not within the time a test has patience for.
template<typename Condition>
[[nodiscard]] bool eventually(const Condition& condition)
{
    constexpr int patience = 30000;
    constexpr int turn = 20;
    const QDeadlineTimer deadline(patience);
    // Lets the loop turn also where nothing but another thread makes the condition come true.
    QTimer ticks;
    ticks.start(turn);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}
