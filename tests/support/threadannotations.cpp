// Reports Qt's synchronisation to ThreadSanitizer. Qt is not instrumented and its mutexes are not pthread mutexes, so
// what they protect would look unprotected. This project's code calls these functions instead of Qt's functions of the
// same names. Each reports what it orders, by a mark of the one object, and calls Qt's.

#include <QMetaObject>
#include <QMutex>
#include <QObject>
#include <QReadWriteLock>
#include <QRunnable>
#include <QSemaphore>
#include <QThread>
#include <QThreadPool>
#include <QWaitCondition>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace {

/// Qt's own function of a mangled name. Finding it must not order the threads, as a guarded initialisation would.
template<typename Result, typename... Arguments>
class Original
{
public:
    constexpr explicit Original(const char* symbol) : m_symbol(symbol) {}

    Result operator()(Arguments... arguments)
    {
        void* function = m_function.load(std::memory_order_relaxed);
        if (!function) {
            function = dlsym(RTLD_NEXT, m_symbol);
            m_function.store(function, std::memory_order_relaxed);
        }
        return reinterpret_cast<Result (*)(Arguments...)>(function)(std::forward<Arguments>(arguments)...);
    }

private:
    const char* m_symbol;
    std::atomic<void*> m_function{nullptr};
};

/// The arguments of the signal that this thread is emitting. A slot that is called with them runs within the emission.
thread_local void** emittedArguments = nullptr;

/// Orders what the current thread has done before the return of QThread::wait() for it.
void releaseToEndOfThread()
{
    __tsan_release(QThread::currentThread());
}

/// A slot that runs after its sender's emissions so far, unless it runs within one.
class ConnectedSlot : public QtPrivate::QSlotObjectBase
{
public:
    ConnectedSlot(const QObject* sender, QtPrivate::QSlotObjectBase* slot)
        : QSlotObjectBase(&act), m_sender(sender), m_slot(slot)
    {
        __tsan_release(this);
    }

private:
    static void act(int which, QSlotObjectBase* base, QObject* receiver, void** arguments, bool* isEqual)
    {
        auto* const self = static_cast<ConnectedSlot*>(base);
        __tsan_acquire(self);
        if (which == Destroy) {
            self->m_slot->destroyIfLastRef();
            delete self;
        } else if (which == Compare) {
            *isEqual = self->m_slot->compare(arguments);
        } else if (which == Call) {
            self->call(receiver, arguments);
        }
    }

    void call(QObject* receiver, void** arguments)
    {
        if (arguments == emittedArguments)
            return m_slot->call(receiver, arguments);
        __tsan_acquire(const_cast<QObject*>(m_sender));
        m_slot->call(receiver, arguments);
        releaseToEndOfThread();
    }

    const QObject* m_sender;
    QtPrivate::QSlotObjectBase* m_slot;
};

/// An invoked function: it runs after its invocation. A blocking invocation returns after it.
class InvokedFunction : public QtPrivate::QSlotObjectBase
{
public:
    InvokedFunction(QtPrivate::QSlotObjectBase* slot, char* done) : QSlotObjectBase(&act), m_slot(slot), m_done(done)
    {
        __tsan_release(this);
    }

private:
    static void act(int which, QSlotObjectBase* base, QObject* receiver, void** arguments, bool* /*isEqual*/)
    {
        auto* const self = static_cast<InvokedFunction*>(base);
        __tsan_acquire(self);
        if (which == Destroy) {
            self->m_slot->destroyIfLastRef();
            delete self;
        } else if (which == Call) {
            self->call(receiver, arguments);
        }
    }

    void call(QObject* receiver, void** arguments)
    {
        m_slot->call(receiver, arguments);
        // The invoking thread may drop the last reference, which Qt's counter orders after the call.
        __tsan_release(this);
        if (m_done)
            __tsan_release(m_done);
        releaseToEndOfThread();
    }

    QtPrivate::QSlotObjectBase* m_slot;
    char* m_done;
};

/// Runs, or is dropped, after QThreadPool::start(). QThreadPool::waitForDone() returns after it.
class PoolTask : public QRunnable
{
public:
    PoolTask(QThreadPool* pool, std::function<void()> function) : m_pool(pool), m_function(std::move(function))
    {
        __tsan_release(this);
    }
    ~PoolTask() override { __tsan_acquire(this); }

    void run() override
    {
        __tsan_acquire(this);
        m_function();
        m_function = nullptr;
        __tsan_release(m_pool);
    }

private:
    QThreadPool* m_pool;
    std::function<void()> m_function;
};

/// What this thread has locked for reading, since unlock() does not say which kind of lock it releases.
thread_local std::vector<const QReadWriteLock*> lockedForReading;

unsigned takeUnlockFlags(const QReadWriteLock* lock)
{
    const auto held = std::find(lockedForReading.begin(), lockedForReading.end(), lock);
    if (held == lockedForReading.end())
        return 0;
    lockedForReading.erase(held);
    return __tsan_mutex_read_lock;
}

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
    static Original<void, QMutex*> original("_ZN6QMutexD1Ev");
    __tsan_mutex_destroy(this, 0);
    original(this);
}

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static Original<void, QMutex*> original("_ZN6QMutex4lockEv");
    const unsigned flags = flagsOf(*this);
    __tsan_mutex_pre_lock(this, flags);
    original(this);
    __tsan_mutex_post_lock(this, flags, 0);
}

bool QMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT
{
    static Original<bool, QMutex*, int> original("_ZN6QMutex7tryLockEi");
    const unsigned flags = flagsOf(*this) | __tsan_mutex_try_lock;
    __tsan_mutex_pre_lock(this, flags);
    const bool locked = original(this, timeout);
    __tsan_mutex_post_lock(this, locked ? flags : flags | __tsan_mutex_try_lock_failed, 0);
    return locked;
}

void QMutex::unlock() noexcept
{
    static Original<void, QMutex*> original("_ZN6QMutex6unlockEv");
    const unsigned flags = flagsOf(*this);
    __tsan_mutex_pre_unlock(this, flags);
    original(this);
    __tsan_mutex_post_unlock(this, flags);
}

bool QWaitCondition::wait(QMutex* mutex, QDeadlineTimer deadline)
{
    static Original<bool, QWaitCondition*, QMutex*, QDeadlineTimer> original(
        "_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer");
    return waitWith(mutex, [&] { return original(this, mutex, deadline); });
}

bool QWaitCondition::wait(QMutex* mutex, unsigned long time)
{
    static Original<bool, QWaitCondition*, QMutex*, unsigned long> original("_ZN14QWaitCondition4waitEP6QMutexm");
    return waitWith(mutex, [&] { return original(this, mutex, time); });
}

void QSemaphore::acquire(int count)
{
    static Original<void, QSemaphore*, int> original("_ZN10QSemaphore7acquireEi");
    original(this, count);
    __tsan_acquire(this);
}

bool QSemaphore::tryAcquire(int count)
{
    static Original<bool, QSemaphore*, int> original("_ZN10QSemaphore10tryAcquireEi");
    return acquireFrom(this, [&] { return original(this, count); });
}

bool QSemaphore::tryAcquire(int count, int timeout)
{
    static Original<bool, QSemaphore*, int, int> original("_ZN10QSemaphore10tryAcquireEii");
    return acquireFrom(this, [&] { return original(this, count, timeout); });
}

void QSemaphore::release(int count)
{
    static Original<void, QSemaphore*, int> original("_ZN10QSemaphore7releaseEi");
    __tsan_release(this);
    original(this, count);
}

QReadWriteLock::~QReadWriteLock()
{
    static Original<void, QReadWriteLock*> original("_ZN14QReadWriteLockD1Ev");
    __tsan_mutex_destroy(this, 0);
    original(this);
}

void QReadWriteLock::lockForRead()
{
    static Original<void, QReadWriteLock*> original("_ZN14QReadWriteLock11lockForReadEv");
    __tsan_mutex_pre_lock(this, __tsan_mutex_read_lock);
    original(this);
    __tsan_mutex_post_lock(this, __tsan_mutex_read_lock, 0);
    lockedForReading.push_back(this);
}

void QReadWriteLock::lockForWrite()
{
    static Original<void, QReadWriteLock*> original("_ZN14QReadWriteLock12lockForWriteEv");
    __tsan_mutex_pre_lock(this, 0);
    original(this);
    __tsan_mutex_post_lock(this, 0, 0);
}

void QReadWriteLock::unlock()
{
    static Original<void, QReadWriteLock*> original("_ZN14QReadWriteLock6unlockEv");
    const unsigned flags = takeUnlockFlags(this);
    __tsan_mutex_pre_unlock(this, flags);
    original(this);
    __tsan_mutex_post_unlock(this, flags);
}

QMetaObject::Connection QObject::connectImpl(
    const QObject* sender, void** signal, const QObject* receiver, void** slotAddress, QtPrivate::QSlotObjectBase* slot,
    Qt::ConnectionType type, const int* types, const QMetaObject* senderMetaObject)
{
    static Original<
        QMetaObject::Connection, const QObject*, void**, const QObject*, void**, QtPrivate::QSlotObjectBase*,
        Qt::ConnectionType, const int*, const QMetaObject*>
        original("_ZN7QObject11connectImplEPKS_PPvS1_S3_PN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPKi"
                 "PK11QMetaObject");
    auto* const connected = new ConnectedSlot(sender, slot);
    return original(sender, signal, receiver, slotAddress, connected, type, types, senderMetaObject);
}

void QMetaObject::activate(QObject* sender, const QMetaObject* metaObject, int signal, void** arguments)
{
    static Original<void, QObject*, const QMetaObject*, int, void**> original(
        "_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    __tsan_release(sender);
    void* none[] = {nullptr};
    void** const emitted = arguments ? arguments : none;
    void** const outer = std::exchange(emittedArguments, emitted);
    original(sender, metaObject, signal, emitted);
    emittedArguments = outer;
}

bool QMetaObject::invokeMethodImpl(
    QObject* object, QtPrivate::QSlotObjectBase* slot, Qt::ConnectionType type, void* result)
{
    static Original<bool, QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*> original(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    char done = 0;
    const bool waits = type == Qt::BlockingQueuedConnection;
    const bool invoked = original(object, new InvokedFunction(slot, waits ? &done : nullptr), type, result);
    if (waits)
        __tsan_acquire(&done);
    return invoked;
}

QThread* QThread::createThreadImpl(std::future<void>&& future)
{
    static Original<QThread*, std::future<void>&&> original("_ZN7QThread16createThreadImplEOSt6futureIvE");
    auto run = [future = std::move(future)]() mutable {
        future.get();
        releaseToEndOfThread();
    };
    return original(std::async(std::launch::deferred, std::move(run)));
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static Original<bool, QThread*, QDeadlineTimer> original("_ZN7QThread4waitE14QDeadlineTimer");
    return acquireFrom(this, [&] { return original(this, deadline); });
}

bool QThread::wait(unsigned long time)
{
    static Original<bool, QThread*, unsigned long> original("_ZN7QThread4waitEm");
    return acquireFrom(this, [&] { return original(this, time); });
}

void QThreadPool::start(std::function<void()> function, int priority)
{
    static Original<void, QThreadPool*, QRunnable*, int> original("_ZN11QThreadPool5startEP9QRunnablei");
    original(this, new PoolTask(this, std::move(function)), priority);
}

bool QThreadPool::waitForDone(int milliseconds)
{
    static Original<bool, QThreadPool*, int> original("_ZN11QThreadPool11waitForDoneEi");
    return acquireFrom(this, [&] { return original(this, milliseconds); });
}
