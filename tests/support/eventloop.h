#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <chrono>

/// Runs the event loop until `isDone()` holds; false if that takes longer than any machine should need.
template<typename Predicate>
[[nodiscard]] bool processEventsUntil(const Predicate& isDone)
{
    using namespace std::chrono_literals;
    const QDeadlineTimer deadline(20s);
    // What another thread does may come without an event.
    QTimer ticks;
    ticks.start(2ms);
    while (!isDone()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}
