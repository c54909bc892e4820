#include "stdio/stdioserver.h"

#include <thread>
#include <utility>

StdioServer::StdioServer(const Services& services, int input, int output, OutputQueue::FailureHandler handler)
    : m_reader(input, services.limits.message), m_output(std::make_shared<OutputQueue>(output, std::move(handler))),
      m_dispatcher(services, {Reach::Local, services.limits}, m_output, [this] {
          const std::lock_guard lock(m_mutex);
          m_changed.notify_all();
      })
{
}

StdioServer::~StdioServer() = default;

bool StdioServer::serve()
{
    std::thread follower([this] { takeTurns(); });
    takeTurns();
    follower.join();
    return waitForAnswers() && m_output->drain();
}

void StdioServer::takeTurns()
{
    std::unique_lock turn(m_turn);
    while (takeTurn(turn)) {
    }
}

bool StdioServer::takeTurn(std::unique_lock<std::mutex>& turn)
{
    waitForRoom();
    const LineReader::Line line = m_reader.next();
    if (line.kind == LineReader::Line::Kind::End)
        return false;
    if (line.kind == LineReader::Line::Kind::TooLong) {
        m_dispatcher.refuseTooLong();
    } else if (m_isServing) {
        m_dispatcher.accept(line.text);
    } else if (const Dispatcher::Task task = m_dispatcher.acceptOrTake(line.text)) {
        m_isServing = true;
        turn.unlock();
        task();
        m_isServing = false;
        turn.lock();
    }
    return true;
}

void StdioServer::waitForRoom()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_isStopped || m_dispatcher.isReady(); });
}

bool StdioServer::waitForAnswers()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_isStopped || m_dispatcher.isIdle(); });
    return !m_isStopped;
}

void StdioServer::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopped = true;
        m_changed.notify_all();
    }
    // Afterwards, so that serve() does not take it for the end of the input.
    m_reader.cancel();
}

void StdioServer::finish(std::chrono::milliseconds patience)
{
    static_cast<void>(m_output->drain(static_cast<int>(patience.count())));
    m_output->close();
}
