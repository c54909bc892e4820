#pragma once

#include "model/cmerror.h"
#include "tavo/tavoexport.h"

#include <QExplicitlySharedDataPointer>
#include <QList>
#include <QMutex>
#include <QSharedData>
#include <QWaitCondition>

#include <utility>

class CMVoidReply;

/// Called when a reply is finished: derive from it and pass the watcher to addWatcher().
class TAVO_API_EXPORT CMReplyWatcher
{
public:
    virtual ~CMReplyWatcher();

    /// Called once, in the thread that finishes the reply, or in the one that adds the watcher to a finished reply.
    ///
    /// No lock is held. It may set, read and copy any reply, but must not throw.
    virtual void replyFinished(const CMVoidReply& reply) = 0;

protected:
    /// Only derived classes are constructed.
    CMReplyWatcher() = default;
    Q_DISABLE_COPY_MOVE(CMReplyWatcher)
};

/// The part of a reply that its handles share and own together.
///
/// A value or an error finishes it, whichever is set first; all that is set later is ignored. Thread-safe.
class TAVO_API_EXPORT CMReplyAbstractData : public QSharedData
{
public:
    virtual ~CMReplyAbstractData();

    /// Finishes the reply with an error; ignored if it is finished. Calls the watchers before it returns.
    void setError(const CMError& error);

    /// True once a value or an error is set.
    [[nodiscard]] bool isFinished() const;
    /// True once an error is set that finished the reply.
    [[nodiscard]] bool isError() const;
    /// Empty unless isError().
    [[nodiscard]] CMError error() const;

    /// Blocks until the reply is finished, but at most `milliseconds`; below 0 there is no limit. Returns isFinished().
    [[nodiscard]] bool waitForFinished(int milliseconds) const;

    /// Has the watcher called when the reply is finished; if it is finished already, calls the watcher at once.
    ///
    /// The caller keeps the watcher and may destroy it after the call to it has returned, or after removeWatcher().
    void addWatcher(CMReplyWatcher* watcher);
    /// True if the watcher will not be called any more; false if it was called or is being called.
    bool removeWatcher(CMReplyWatcher* watcher);

protected:
    /// Not finished.
    CMReplyAbstractData() = default;
    Q_DISABLE_COPY_MOVE(CMReplyAbstractData)

    /// Finishes the reply if it is not finished: calls `store`, which must not throw, with m_mutex held, then the
    /// watchers without it.
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

    /// Guards all members, those of derived classes too. A leaf: no other lock is taken while it is held.
    mutable QMutex m_mutex;

private:
    void callWatchers(const QList<CMReplyWatcher*>& watchers);

    mutable QWaitCondition m_condition;
    bool m_finished = false;
    bool m_isError = false;
    CMError m_error;
    QList<CMReplyWatcher*> m_watchers;
};

/// Reply data with a value of type T: TavoRowsRoles for CMGetRowsRequest, QVariantList for CMGetDataRequest, QVariant
/// for all others.
template<typename T>
class Q_DECL_EXPORT CMReplyData : public CMReplyAbstractData
{
public:
    /// Not finished. value() returns `value` until a value is set.
    explicit CMReplyData(T value = T()) : m_value(std::move(value)) {}

    /// Finishes the reply with a value; ignored if it is finished. Calls the watchers before it returns.
    void setValue(const T& value)
    {
        finish([this, &value] { m_value = value; });
    }

    /// The value that finished the reply; otherwise the one given to the constructor.
    [[nodiscard]] T value() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_value;
    }

private:
    T m_value;
};

/// A handle of a reply with a value of any type. Copies share the reply data, and the last one destroys it.
///
/// Several threads may use copies, each its own. A default-constructed handle has no data: it ignores an error and is
/// never finished.
class TAVO_API_EXPORT CMVoidReply
{
public:
    /// A handle without data.
    CMVoidReply() = default;
    /// A handle of `data`, which all its handles own together; null gives a handle without data.
    explicit CMVoidReply(CMReplyAbstractData* data) : m_d(data) {}

    /// As CMReplyAbstractData::setError(); ignored without data.
    void setError(const CMError& error);

    /// False without data.
    [[nodiscard]] bool isFinished() const { return m_d && m_d->isFinished(); }
    /// False without data.
    [[nodiscard]] bool isError() const { return m_d && m_d->isError(); }
    /// Empty unless isError().
    [[nodiscard]] CMError error() const { return m_d ? m_d->error() : CMError(); }
    /// As CMReplyAbstractData::waitForFinished(); returns false at once without data.
    [[nodiscard]] bool waitForFinished(int milliseconds = -1) const
    {
        return m_d && m_d->waitForFinished(milliseconds);
    }

    /// As CMReplyAbstractData::addWatcher(). Requires data.
    void addWatcher(CMReplyWatcher* watcher);
    /// As CMReplyAbstractData::removeWatcher(). Requires data.
    bool removeWatcher(CMReplyWatcher* watcher);

protected:
    /// Null without data.
    QExplicitlySharedDataPointer<CMReplyAbstractData> m_d;
};

/// A handle of a reply with a value of type T, which only the same type of CMReplyData provides.
template<typename T>
class CMReply : public CMVoidReply
{
public:
    /// A handle without data.
    CMReply() = default;
    /// A handle of `data`, which all its handles own together; null gives a handle without data.
    explicit CMReply(CMReplyData<T>* data) : CMVoidReply(data) {}

    /// As CMReplyData::setValue(); ignored without data.
    void setValue(const T& value)
    {
        if (m_d)
            data()->setValue(value);
    }

    /// As CMReplyData::value(); a default-constructed T without data.
    [[nodiscard]] T value() const { return m_d ? data()->value() : T(); }

private:
    [[nodiscard]] CMReplyData<T>* data() const { return static_cast<CMReplyData<T>*>(m_d.data()); }
};
