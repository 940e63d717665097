// Tells ThreadSanitizer what Qt's locks do. The distribution's Qt is not instrumented and its
// locks are futexes of its own, so that their correct use looks like a race. Linked into the
// programs of a ThreadSanitizer build only; together with ignore_noninstrumented_modules=1.
//
// Each function takes the place of the one in QtCore, calls that, and announces the order it makes.

#include <QMutex>
#include <QSemaphore>
#include <QWaitCondition>

#include <dlfcn.h>

extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
}

namespace {

template <class Function>
Function real(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto qt_lock = real<void (*)(QMutex*)>("_ZN6QMutex4lockEv");
    qt_lock(this);
    __tsan_acquire(this);
}

void QMutex::unlock() Q_DECL_NOTHROW
{
    static const auto qt_unlock = real<void (*)(QMutex*)>("_ZN6QMutex6unlockEv");
    __tsan_release(this);
    qt_unlock(this);
}

void QSemaphore::acquire(int count)
{
    static const auto qt_acquire = real<void (*)(QSemaphore*, int)>("_ZN10QSemaphore7acquireEi");
    qt_acquire(this, count);
    __tsan_acquire(this);
}

void QSemaphore::release(int count)
{
    static const auto qt_release = real<void (*)(QSemaphore*, int)>("_ZN10QSemaphore7releaseEi");
    __tsan_release(this);
    qt_release(this, count);
}

bool QWaitCondition::wait(QMutex* mutex, unsigned long msecs)
{
    static const auto qt_wait = real<bool (*)(QWaitCondition*, QMutex*, unsigned long)>(
        "_ZN14QWaitCondition4waitEP6QMutexm");
    __tsan_release(mutex);
    const bool woken = qt_wait(this, mutex, msecs);
    __tsan_acquire(mutex);
    return woken;
}

bool QWaitCondition::wait(QMutex* mutex, QDeadlineTimer deadline)
{
    static const auto qt_wait = real<bool (*)(QWaitCondition*, QMutex*, QDeadlineTimer)>(
        "_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer");
    __tsan_release(mutex);
    const bool woken = qt_wait(this, mutex, deadline);
    __tsan_acquire(mutex);
    return woken;
}
