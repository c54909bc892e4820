#pragma once

#include "model/cmerror.h"
#include "tavo/tavoexport.h"

#include <QExplicitlySharedDataPointer>
#include <QList>
#include <QMutex>
#include <QSharedData>
#include <QWaitCondition>

class CMVoidReply;

/// Is told when a reply is finished.
class TAVO_API_EXPORT CMReplyWatcher
{
public:
    virtual ~CMReplyWatcher();

    /// Runs once, in the thread that finishes the reply (or that adds the watcher to a finished one), no lock held.
    virtual void replyFinished(const CMVoidReply& reply) = 0;

protected:
    CMReplyWatcher() = default;
    Q_DISABLE_COPY_MOVE(CMReplyWatcher)
};

/// What a reply's handles share. It is finished once, by a value or by an error, whichever comes first; anything set
/// later is ignored. Thread-safe.
class TAVO_API_EXPORT CMReplyAbstractData : public QSharedData
{
public:
    virtual ~CMReplyAbstractData();

    void setError(const CMError& error);

    [[nodiscard]] bool isFinished() const;
    [[nodiscard]] bool isError() const;
    /// Empty unless the reply was finished by an error.
    [[nodiscard]] CMError error() const;

    /// Waits at most `milliseconds` (below 0: without limit) and tells whether the reply is finished.
    [[nodiscard]] bool waitForFinished(int milliseconds) const;

    /// The watcher stays the caller's and must live until it was called or removed.
    void addWatcher(CMReplyWatcher* watcher);
    /// False if the watcher was called already, or is being called.
    bool removeWatcher(CMReplyWatcher* watcher);

protected:
    CMReplyAbstractData() = default;
    Q_DISABLE_COPY_MOVE(CMReplyAbstractData)

    /// Runs `store` under the lock if this call is the one that finishes the reply.
    template<typename Store>
    void finish(const Store& store)
    {
        QList<CMReplyWatcher*> watchers;
        {
            const QMutexLocker lock(&m_mutex);
            if (m_finished)
                return;
            m_finished = true;
            store();
            watchers.swap(m_watchers);
            m_condition.wakeAll();
        }
        callWatchers(watchers);
    }

    mutable QMutex m_mutex;

private:
    void callWatchers(const QList<CMReplyWatcher*>& watchers);

    mutable QWaitCondition m_condition;
    bool m_finished = false;
    bool m_isError = false;
    CMError m_error;
    QList<CMReplyWatcher*> m_watchers;
};

/// Reply data that is finished with a value of type T: QVariantList for get-data requests, QVariant for set-data
/// requests, TavoRowsRoles for rows requests.
template<typename T>
class Q_DECL_EXPORT CMReplyData : public CMReplyAbstractData
{
public:
    explicit CMReplyData(T value = T()) : m_value(std::move(value)) {}

    void setValue(const T& value)
    {
        finish([this, &value] { m_value = value; });
    }

    /// What the reply was made with, until it is finished by a value.
    [[nodiscard]] T value() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_value;
    }

private:
    T m_value;
};

/// A counted handle on reply data, whatever the type of its value. A value; thread-safe as the data are.
///
/// The default-constructed handle has no data behind it: it takes an error and forgets it, and is never finished.
class TAVO_API_EXPORT CMVoidReply
{
public:
    CMVoidReply() = default;
    explicit CMVoidReply(CMReplyAbstractData* data) : m_d(data) {}

    void setError(const CMError& error);

    [[nodiscard]] bool isFinished() const { return m_d && m_d->isFinished(); }
    [[nodiscard]] bool isError() const { return m_d && m_d->isError(); }
    [[nodiscard]] CMError error() const { return m_d ? m_d->error() : CMError(); }
    /// False at once if there is no data, since nobody will finish it.
    [[nodiscard]] bool waitForFinished(int milliseconds = -1) const
    {
        return m_d && m_d->waitForFinished(milliseconds);
    }

    /// Valid only with data.
    void addWatcher(CMReplyWatcher* watcher);
    bool removeWatcher(CMReplyWatcher* watcher);

protected:
    QExplicitlySharedDataPointer<CMReplyAbstractData> m_d;
};

/// A handle on the reply of one type of request.
template<typename T>
class CMReply : public CMVoidReply
{
public:
    CMReply() = default;
    explicit CMReply(CMReplyData<T>* data) : CMVoidReply(data) {}

    void setValue(const T& value)
    {
        if (m_d)
            data()->setValue(value);
    }

    [[nodiscard]] T value() const { return m_d ? data()->value() : T(); }

private:
    [[nodiscard]] CMReplyData<T>* data() const { return static_cast<CMReplyData<T>*>(m_d.data()); }
};
