#include "process/signalwatcher.h"

#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::array<int, 2> endingSignals = {SIGINT, SIGTERM};

/// A handler may do little more than write to a pipe: its reading and its writing end.
std::array<int, 2> signalPipe = {-1, -1};

extern "C" void noteSignal(int signalNumber)
{
    const int savedError = errno;
    const auto note = static_cast<char>(signalNumber);
    static_cast<void>(!write(signalPipe[1], &note, 1));
    errno = savedError;
}

void install(int signalNumber, unsigned flags = 0)
{
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = static_cast<int>(SA_RESTART | flags);
    sigaction(signalNumber, &action, nullptr);
}

} // namespace

SignalWatcher::SignalWatcher(Handler handler, std::vector<int> others)
    : m_handler(std::move(handler)), m_others(std::move(others))
{
    const int piped = pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK);
    Q_ASSERT(piped == 0);
    m_notifier = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { read(); });
    for (const int signalNumber : endingSignals)
        install(signalNumber, SA_RESETHAND);
    for (const int signalNumber : m_others)
        install(signalNumber);
}

SignalWatcher::~SignalWatcher()
{
    for (const int signalNumber : endingSignals)
        static_cast<void>(std::signal(signalNumber, SIG_DFL));
    for (const int signalNumber : m_others)
        static_cast<void>(std::signal(signalNumber, SIG_DFL));
    m_notifier.reset();
    for (const int end : signalPipe)
        close(end);
}

void SignalWatcher::read() const
{
    char note = 0;
    if (::read(signalPipe[0], &note, 1) == 1)
        m_handler(note);
}
