#include "model/cmreply.h"

#include <QDeadlineTimer>

CMReplyWatcher::~CMReplyWatcher() = default;

CMReplyAbstractData::~CMReplyAbstractData() = default;

void CMReplyAbstractData::setError(const CMError& error)
{
    finish([this, &error] {
        m_isError = true;
        m_error = error;
    });
}

bool CMReplyAbstractData::isFinished() const
{
    const QMutexLocker lock(&m_mutex);
    return m_finished;
}

bool CMReplyAbstractData::isError() const
{
    const QMutexLocker lock(&m_mutex);
    return m_isError;
}

CMError CMReplyAbstractData::error() const
{
    const QMutexLocker lock(&m_mutex);
    return m_error;
}

bool CMReplyAbstractData::waitForFinished(int milliseconds) const
{
    const QDeadlineTimer deadline =
        milliseconds < 0 ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(milliseconds);
    const QMutexLocker lock(&m_mutex);
    while (!m_finished && m_condition.wait(&m_mutex, deadline)) {
    }
    return m_finished;
}

void CMReplyAbstractData::addWatcher(CMReplyWatcher* watcher)
{
    {
        const QMutexLocker lock(&m_mutex);
        if (!m_finished) {
            m_watchers.append(watcher);
            return;
        }
    }
    callWatchers({watcher});
}

bool CMReplyAbstractData::removeWatcher(CMReplyWatcher* watcher)
{
    const QMutexLocker lock(&m_mutex);
    return m_watchers.removeOne(watcher);
}

void CMReplyAbstractData::callWatchers(const QList<CMReplyWatcher*>& watchers)
{
    const CMVoidReply handle(this);
    for (CMReplyWatcher* watcher : watchers)
        watcher->replyFinished(handle);
}

void CMVoidReply::setError(const CMError& error)
{
    if (m_d)
        m_d->setError(error);
}

void CMVoidReply::addWatcher(CMReplyWatcher* watcher)
{
    Q_ASSERT(m_d);
    m_d->addWatcher(watcher);
}

bool CMVoidReply::removeWatcher(CMReplyWatcher* watcher)
{
    Q_ASSERT(m_d);
    return m_d->removeWatcher(watcher);
}
