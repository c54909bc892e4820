#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>

class QSocketNotifier;

/// Reports SIGINT and SIGTERM from the event loop. A second signal of the same kind ends the process as usual.
/// One at a time; lives in a thread with an event loop.
class SignalWatcher
{
public:
    using Handler = std::function<void(int signalNumber)>;

    explicit SignalWatcher(Handler handler);
    ~SignalWatcher();
    Q_DISABLE_COPY_MOVE(SignalWatcher)

private:
    void read() const;

    const Handler m_handler;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
