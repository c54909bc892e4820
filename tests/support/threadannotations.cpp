// Qt's synchronisation as ThreadSanitizer has to see it. Qt itself is not instrumented, and its mutexes are no pthread
// mutexes: without this, all that they protect looks unprotected. The functions stand before Qt's own of the same names
// wherever this project's code calls them, tell the sanitizer, and call Qt's.

#include <QMetaObject>
#include <QMutex>
#include <QObject>
#include <QReadWriteLock>
#include <QSemaphore>
#include <QThread>
#include <QThreadPool>
#include <QWaitCondition>

#include <functional>
#include <future>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace {

/// Qt's own function of a mangled name.
template<typename Result, typename... Arguments>
class Original
{
public:
    explicit Original(const char* symbol)
        : m_function(reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, symbol)))
    {
    }

    Result operator()(Arguments... arguments) const { return m_function(std::forward<Arguments>(arguments)...); }

private:
    Result (*m_function)(Arguments...);
};

// What one thread hands to another through an event, a pool or the end of a thread is handed over in full. One mark
// stands for all of that: it is not told apart who hands over to whom.
char handover;

void handOver()
{
    __tsan_release(&handover);
}

void takeOver()
{
    __tsan_acquire(&handover);
}

template<typename Function>
auto handedOver(Function function)
{
    return [function = std::move(function)]() mutable {
        takeOver();
        function();
        handOver();
    };
}

/// A slot that is called with what was handed over.
class HandedOverSlot : public QtPrivate::QSlotObjectBase
{
public:
    explicit HandedOverSlot(QtPrivate::QSlotObjectBase* slot) : QSlotObjectBase(&act), m_slot(slot) {}

private:
    static void act(int which, QSlotObjectBase* base, QObject* receiver, void** arguments, bool* /*isEqual*/)
    {
        auto* const self = static_cast<HandedOverSlot*>(base);
        if (which == Destroy) {
            self->m_slot->destroyIfLastRef();
            delete self;
        } else if (which == Call) {
            takeOver();
            self->m_slot->call(receiver, arguments);
            handOver();
        }
    }

    QtPrivate::QSlotObjectBase* m_slot;
};

unsigned flagsOf(const QMutex& mutex)
{
    return mutex.isRecursive() ? __tsan_mutex_write_reentrant : 0;
}

/// Waiting gives the mutex up and takes it again.
template<typename Wait>
bool waitWith(QMutex* mutex, const Wait& wait)
{
    const unsigned flags = flagsOf(*mutex);
    __tsan_mutex_pre_unlock(mutex, flags);
    __tsan_mutex_post_unlock(mutex, flags);
    const bool woken = wait();
    __tsan_mutex_pre_lock(mutex, flags);
    __tsan_mutex_post_lock(mutex, flags, 0);
    return woken;
}

template<typename Acquire>
bool acquireFrom(void* object, const Acquire& acquire)
{
    const bool acquired = acquire();
    if (acquired)
        __tsan_acquire(object);
    return acquired;
}

} // namespace

QMutex::~QMutex()
{
    static const Original<void, QMutex*> original("_ZN6QMutexD1Ev");
    __tsan_mutex_destroy(this, 0);
    original(this);
}

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const Original<void, QMutex*> original("_ZN6QMutex4lockEv");
    const unsigned flags = flagsOf(*this);
    __tsan_mutex_pre_lock(this, flags);
    original(this);
    __tsan_mutex_post_lock(this, flags, 0);
}

bool QMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT
{
    static const Original<bool, QMutex*, int> original("_ZN6QMutex7tryLockEi");
    const unsigned flags = flagsOf(*this) | __tsan_mutex_try_lock;
    __tsan_mutex_pre_lock(this, flags);
    const bool locked = original(this, timeout);
    __tsan_mutex_post_lock(this, locked ? flags : flags | __tsan_mutex_try_lock_failed, 0);
    return locked;
}

void QMutex::unlock() noexcept
{
    static const Original<void, QMutex*> original("_ZN6QMutex6unlockEv");
    const unsigned flags = flagsOf(*this);
    __tsan_mutex_pre_unlock(this, flags);
    original(this);
    __tsan_mutex_post_unlock(this, flags);
}

bool QWaitCondition::wait(QMutex* mutex, QDeadlineTimer deadline)
{
    static const Original<bool, QWaitCondition*, QMutex*, QDeadlineTimer> original(
        "_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer");
    return waitWith(mutex, [&] { return original(this, mutex, deadline); });
}

bool QWaitCondition::wait(QMutex* mutex, unsigned long time)
{
    static const Original<bool, QWaitCondition*, QMutex*, unsigned long> original("_ZN14QWaitCondition4waitEP6QMutexm");
    return waitWith(mutex, [&] { return original(this, mutex, time); });
}

void QSemaphore::acquire(int count)
{
    static const Original<void, QSemaphore*, int> original("_ZN10QSemaphore7acquireEi");
    original(this, count);
    __tsan_acquire(this);
}

bool QSemaphore::tryAcquire(int count)
{
    static const Original<bool, QSemaphore*, int> original("_ZN10QSemaphore10tryAcquireEi");
    return acquireFrom(this, [&] { return original(this, count); });
}

bool QSemaphore::tryAcquire(int count, int timeout)
{
    static const Original<bool, QSemaphore*, int, int> original("_ZN10QSemaphore10tryAcquireEii");
    return acquireFrom(this, [&] { return original(this, count, timeout); });
}

void QSemaphore::release(int count)
{
    static const Original<void, QSemaphore*, int> original("_ZN10QSemaphore7releaseEi");
    __tsan_release(this);
    original(this, count);
}

void QReadWriteLock::lockForRead()
{
    static const Original<void, QReadWriteLock*> original("_ZN14QReadWriteLock11lockForReadEv");
    original(this);
    __tsan_acquire(this);
}

void QReadWriteLock::lockForWrite()
{
    static const Original<void, QReadWriteLock*> original("_ZN14QReadWriteLock12lockForWriteEv");
    original(this);
    __tsan_acquire(this);
}

void QReadWriteLock::unlock()
{
    static const Original<void, QReadWriteLock*> original("_ZN14QReadWriteLock6unlockEv");
    __tsan_release(this);
    original(this);
}

void QMetaObject::activate(QObject* sender, const QMetaObject* metaObject, int signal, void** arguments)
{
    static const Original<void, QObject*, const QMetaObject*, int, void**> original(
        "_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    handOver();
    original(sender, metaObject, signal, arguments);
}

bool QMetaObject::invokeMethodImpl(
    QObject* object, QtPrivate::QSlotObjectBase* slot, Qt::ConnectionType type, void* result)
{
    static const Original<bool, QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*> original(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    auto* const call = new HandedOverSlot(slot);
    handOver();
    const bool invoked = original(object, call, type, result);
    if (type == Qt::BlockingQueuedConnection)
        takeOver();
    return invoked;
}

bool QObject::event(QEvent* event)
{
    static const Original<bool, QObject*, QEvent*> original("_ZN7QObject5eventEP6QEvent");
    takeOver();
    const bool known = original(this, event);
    handOver();
    return known;
}

QThread* QThread::createThreadImpl(std::future<void>&& future)
{
    static const Original<QThread*, std::future<void>&&> original("_ZN7QThread16createThreadImplEOSt6futureIvE");
    auto get = [future = std::move(future)]() mutable { future.get(); };
    return original(std::async(std::launch::deferred, handedOver(std::move(get))));
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const Original<bool, QThread*, QDeadlineTimer> original("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = original(this, deadline);
    takeOver();
    return ended;
}

bool QThread::wait(unsigned long time)
{
    static const Original<bool, QThread*, unsigned long> original("_ZN7QThread4waitEm");
    const bool ended = original(this, time);
    takeOver();
    return ended;
}

void QThreadPool::start(std::function<void()> function, int priority)
{
    static const Original<void, QThreadPool*, std::function<void()>, int> original(
        "_ZN11QThreadPool5startESt8functionIFvvEEi");
    std::function<void()> call = handedOver(std::move(function));
    handOver();
    original(this, std::move(call), priority);
}

void QThreadPool::clear()
{
    static const Original<void, QThreadPool*> original("_ZN11QThreadPool5clearEv");
    takeOver();
    original(this);
}

bool QThreadPool::waitForDone(int milliseconds)
{
    static const Original<bool, QThreadPool*, int> original("_ZN11QThreadPool11waitForDoneEi");
    const bool done = original(this, milliseconds);
    takeOver();
    return done;
}
