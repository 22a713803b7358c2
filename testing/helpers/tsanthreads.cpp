// Only where the tests are built for ThreadSanitizer. A thread that has ended and one that waits for it meet
// in a lock of Qt, which the sanitizer doesn't see because Qt isn't built for it: what the thread did seems
// to run on into whatever comes after the wait. Here that meeting is told to it. These two stand before Qt's
// own and call them.

#include <QThread>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace
{

template <typename Signature>
Signature *ofQt(const char *mangledName)
{
    return reinterpret_cast<Signature *>(dlsym(RTLD_NEXT, mangledName));
}

} // namespace

void QThread::start(Priority priority)
{
    static const auto start = ofQt<void(QThread *, Priority)>("_ZN7QThread5startENS_8PriorityE");
    connect(
        this, &QThread::finished, this, [this] { __tsan_release(this); },
        Qt::ConnectionType(Qt::DirectConnection | Qt::SingleShotConnection));
    start(this, priority);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto wait = ofQt<bool(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool hasEnded = wait(this, deadline);
    if (hasEnded)
        __tsan_acquire(this);
    return hasEnded;
}
