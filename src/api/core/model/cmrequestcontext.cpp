#include "model/cmrequestcontext.h"

#include <utility>

namespace {

thread_local CMRequestContext* currentContext = nullptr;

} // namespace

void CMRequestContext::cancel() noexcept
{
    m_isCancelled.store(true);
}

bool CMRequestContext::isCancelled() const noexcept
{
    return m_isCancelled.load();
}

bool CMRequestContext::take(qint64 bytes) noexcept
{
    Q_ASSERT(bytes >= 0);
    constexpr qint64 exhausted = -1;
    qint64 left = m_left.load();
    while (!m_left.compare_exchange_weak(left, bytes <= left ? left - bytes : exhausted)) {
    }
    return bytes <= left;
}

bool CMRequestContext::isExhausted() const noexcept
{
    return m_left.load() < 0;
}

CMRequestContext* CMRequestContext::current() noexcept
{
    return currentContext;
}

CMRequestContext::Scope::Scope(CMRequestContext& context) noexcept : m_outer(std::exchange(currentContext, &context)) {}

CMRequestContext::Scope::~Scope()
{
    currentContext = m_outer;
}
