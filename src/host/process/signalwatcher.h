#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

/// Reports SIGINT and SIGTERM from the event loop. A second signal of the same kind ends the process as usual.
/// One at a time; lives in a thread with an event loop.
class SignalWatcher : public QObject
{
    Q_OBJECT
public:
    SignalWatcher();
    ~SignalWatcher() override;

Q_SIGNALS:
    void signalled(int signalNumber);

private:
    void read();

    std::unique_ptr<QSocketNotifier> m_notifier;
};
