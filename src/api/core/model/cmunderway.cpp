#include "model/cmunderway_p.h"

#include "model/cmversion.h"

#include <QDir>
#include <QThread>

namespace {

/// A matching request asks for rows on its way.
bool readsRows(const CMRequest* request)
{
    return request && (request->kind() == CMRequest::Kind::GetRows || request->kind() == CMRequest::Kind::MatchRow);
}

/// A base that may be another spelling of any path.
bool namesAnyPath(const QString& base)
{
    return base.startsWith(QLatin1Char('/')) || base.startsWith(QLatin1String(".."));
}

/// 0: none.
int answeredVersion(const CMRequest& request)
{
    const bool isAnswered = request.kind() == CMRequest::Kind::GetRows && request.voidReply().isFinished();
    return isAnswered ? CMGetRowsRequest(request).reply().value().rowsVersion() : 0;
}

} // namespace

CMUnderWay::Call::Call(std::shared_ptr<CMUnderWay> underWay, const CMRequest* request)
    : m_underWay(std::move(underWay)), m_request(request), m_readsRows(readsRows(request)),
      m_isAdmitted(
          m_readsRows ? m_underWay->begin(QDir::cleanPath(request->path().base()), m_rowsRequest) : m_underWay->begin())
{
}

CMUnderWay::Call::~Call()
{
    if (!m_isAdmitted)
        return;
    if (m_request)
        m_underWay->noteVersion(answeredVersion(*m_request));
    // Unmounting has raised it already, but without this answer.
    if (!m_underWay->isMounted())
        m_underWay->raiseLastVersion();
    if (m_readsRows)
        m_underWay->end(m_rowsRequest);
    else
        m_underWay->end();
}

CMUnderWay::CMUnderWay(QObject* context, std::function<void()> settle) : m_context(context), m_settle(std::move(settle))
{
}

void CMUnderWay::detach()
{
    const QMutexLocker lock(&m_mutex);
    m_context = nullptr;
}

void CMUnderWay::mount()
{
    const QMutexLocker lock(&m_mutex);
    m_isMounted = true;
}

void CMUnderWay::unmount(std::function<void()> whenUnused)
{
    const QMutexLocker lock(&m_mutex);
    m_isMounted = false;
    m_whenUnused = std::move(whenUnused);
    postUnusedLocked();
}

bool CMUnderWay::begin()
{
    const QMutexLocker lock(&m_mutex);
    if (!m_isMounted)
        return false;
    ++m_nextNumber;
    ++m_otherCalls;
    return true;
}

bool CMUnderWay::begin(const QString& base, RowsRequests::iterator& request)
{
    const QMutexLocker lock(&m_mutex);
    while (isSeizedLocked(base))
        m_released.wait(&m_mutex);
    if (!m_isMounted)
        return false;
    request = m_rowsRequests.insert(m_rowsRequests.end(), {m_nextNumber++, base});
    return true;
}

bool CMUnderWay::isSeizedLocked(const QString& base) const
{
    if (m_seized.isEmpty() || !(m_seized.contains(base) || namesAnyPath(base)))
        return false;
    return m_context && m_context->thread() != QThread::currentThread();
}

void CMUnderWay::end()
{
    const QMutexLocker lock(&m_mutex);
    --m_otherCalls;
    postUnusedLocked();
}

void CMUnderWay::end(RowsRequests::iterator request)
{
    const QMutexLocker lock(&m_mutex);
    m_rowsRequests.erase(request);
    if (m_holdsUp) {
        m_holdsUp = false;
        m_ended.wakeAll();
        if (m_context)
            QMetaObject::invokeMethod(m_context, m_settle, Qt::QueuedConnection);
    }
    // Last, since the worker may be deleted then, and with it the functions that wait for removals.
    postUnusedLocked();
}

void CMUnderWay::postUnusedLocked()
{
    if (m_isMounted || !m_whenUnused || m_otherCalls > 0 || !m_rowsRequests.empty())
        return;
    if (m_context)
        QMetaObject::invokeMethod(m_context, m_whenUnused, Qt::QueuedConnection);
    m_whenUnused = nullptr;
}

QSet<CMPath> CMUnderWay::seize(const CMRemovalsByPath& removals)
{
    const QMutexLocker lock(&m_mutex);
    const quint64 oldest = m_rowsRequests.empty() ? m_nextNumber.load() : m_rowsRequests.front().number;
    bool holdAny = false;
    QSet<QString> requested;
    for (const RowsRequest& request : m_rowsRequests) {
        requested.insert(request.base);
        holdAny = holdAny || namesAnyPath(request.base);
    }
    QSet<CMPath> heldUp;
    for (auto removal = removals.cbegin(); removal != removals.cend(); ++removal) {
        const QString base = QDir::cleanPath(removal.key().base());
        if (holdAny || oldest < removal->firstLater || requested.contains(base))
            heldUp.insert(removal.key());
        else
            m_seized.insert(base);
    }
    m_holdsUp = !heldUp.isEmpty();
    return heldUp;
}

void CMUnderWay::release()
{
    const QMutexLocker lock(&m_mutex);
    m_seized.clear();
    m_released.wakeAll();
}

void CMUnderWay::waitForEnd()
{
    const QMutexLocker lock(&m_mutex);
    while (m_holdsUp)
        m_ended.wait(&m_mutex);
}

void CMUnderWay::noteVersion(int version)
{
    int highest = m_highestVersion;
    while (highest < version && !m_highestVersion.compare_exchange_weak(highest, version)) {
    }
}

void CMUnderWay::raiseLastVersion() const
{
    CMVersion::raise(m_highestVersion);
}
