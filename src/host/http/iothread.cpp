#include "http/iothread.h"

#include "process/hostlog.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <exception>
#include <utility>

IoThread::IoThread() : m_context(std::make_unique<boost::asio::io_context>(1)), m_thread([this] { run(); }) {}

IoThread::~IoThread()
{
    stop();
}

void IoThread::post(Function function)
{
    boost::asio::post(*m_context, std::move(function));
}

void IoThread::after(std::chrono::milliseconds time, Function function)
{
    const auto timer = std::make_shared<boost::asio::steady_timer>(*m_context, time);
    timer->async_wait([timer, function = std::move(function)](const boost::system::error_code& error) {
        if (!error)
            function();
    });
}

void IoThread::stop()
{
    m_context->stop();
    if (m_thread.joinable())
        m_thread.join();
}

void IoThread::run()
{
    const auto work = boost::asio::make_work_guard(*m_context);
    while (!m_context->stopped()) {
        try {
            m_context->run();
        } catch (const std::exception& exception) {
            // Memory may have run out. The connection ends with the handler that has thrown.
            HOST_LOG(httpLogger(), ERROR, "src/host/http/iothread", "a connection was dropped: " << exception.what());
        }
    }
}
