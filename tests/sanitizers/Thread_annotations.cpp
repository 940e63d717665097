// Tells ThreadSanitizer what Qt's locks do. The distribution's Qt is not instrumented and its
// locks are futexes of its own, so that their correct use looks like a race. Linked into the
// programs of a ThreadSanitizer build only; together with ignore_noninstrumented_modules=1.
//
// Each function takes the place of the one in QtCore, calls that, and announces the order it makes.

#include <QMutex>
#include <QObject>
#include <QSemaphore>
#include <QWaitCondition>

#include <atomic>
#include <cstdarg>

#include <dlfcn.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

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

namespace {

/// What a thread asks another to call: in order behind the asking, and before the asking one goes
/// on when it waits.
class Ordered_call : public QtPrivate::QSlotObjectBase {
public:
    explicit Ordered_call(QSlotObjectBase* call) : QSlotObjectBase(run), call_(call) {}

    static char order; ///< its address stands for that of Qt's queue of events

private:
    static void run(int which, QSlotObjectBase* base, QObject* receiver, void** arguments, bool*)
    {
        auto* const self = static_cast<Ordered_call*>(base);
        __tsan_acquire(&order);
        if (which == Call)
            self->call_->call(receiver, arguments);
        if (which == Destroy) {
            self->call_->destroyIfLastRef();
            delete self;
        }
        __tsan_release(&order);
    }

    QSlotObjectBase* call_;
};

char Ordered_call::order;

} // namespace

bool QMetaObject::invokeMethodImpl(QObject* object, QtPrivate::QSlotObjectBase* slot,
                                   Qt::ConnectionType type, void* result)
{
    static const auto qt_invoke =
        real<bool (*)(QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*)>(
            "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14Connec"
            "tionTypeEPv");
    auto* const call = new Ordered_call(slot);
    __tsan_release(&Ordered_call::order);
    const bool invoked = qt_invoke(object, call, type, result);
    __tsan_acquire(&Ordered_call::order);
    return invoked;
}

/// QProcess clones its children past the C library, by this function. The sanitizer learns nothing
/// of that: what other threads have locked inside of it at that moment stays locked in the child,
/// which can stand still then between fork and exec, and with it the parent. It knows fork().
extern "C" long syscall(long number, ...) noexcept
{
    va_list list;
    va_start(list, number);
    long values[6];
    for (long& value : values)
        value = va_arg(list, long);
    va_end(list);
    // Without a guard, which would lock by this very function.
    static std::atomic<long (*)(long, ...)> known{nullptr};
    auto* c_syscall = known.load();
    if (c_syscall == nullptr)
        known = c_syscall = real<long (*)(long, ...)>("syscall");
    if (number != SYS_clone || (values[0] & CLONE_PIDFD) == 0)
        return c_syscall(number, values[0], values[1], values[2], values[3], values[4], values[5]);
    const pid_t child = fork();
    if (child > 0)
        *reinterpret_cast<int*>(values[2]) = static_cast<int>(c_syscall(SYS_pidfd_open, child, 0));
    return child;
}
