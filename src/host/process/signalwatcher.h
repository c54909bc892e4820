#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>
#include <vector>

class QSocketNotifier;

/// Reports SIGINT and SIGTERM from the event loop. A second signal of the same kind ends the process as usual. Reports
/// other signals each time.
/// One at a time; lives in a thread with an event loop.
class SignalWatcher
{
public:
    using Handler = std::function<void(int signalNumber)>;

    /// `others`: signals to watch beside SIGINT and SIGTERM.
    explicit SignalWatcher(Handler handler, std::vector<int> others = {});
    ~SignalWatcher();
    Q_DISABLE_COPY_MOVE(SignalWatcher)

private:
    void read() const;

    const Handler m_handler;
    const std::vector<int> m_others;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
