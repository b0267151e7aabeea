// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vmtoolsobserver.h>

#include <QMutexLocker>
#include <QProcess>

#include <csignal>

#if defined(__SANITIZE_THREAD__)
#define VMTOOLS_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VMTOOLS_TSAN 1
#endif
#endif

#ifdef VMTOOLS_TSAN
extern "C" void __tsan_acquire(void *address);
extern "C" void __tsan_release(void *address);
#endif

namespace {

// The observer's lock. Qt is not built with ThreadSanitizer, so the sanitizer cannot see
// the order that a QMutex gives; under it, the lock says so itself.
class ObserverLock
{
public:
    explicit ObserverLock(QMutex *mutex)
        : m_locker(mutex)
    {
#ifdef VMTOOLS_TSAN
        __tsan_acquire(mutex);
#endif
    }
    ~ObserverLock()
    {
#ifdef VMTOOLS_TSAN
        __tsan_release(m_locker.mutex());
#endif
    }
    ObserverLock(const ObserverLock &) = delete;
    ObserverLock &operator=(const ObserverLock &) = delete;

private:
    QMutexLocker m_locker;
};

} // namespace

VMToolsObserver::VMToolsObserver(QObject *parent)
    : QObject(parent)
{}

VMToolsObserver::~VMToolsObserver() = default;

void VMToolsObserver::setProcess(QProcess *process)
{
    const ObserverLock locker(&m_mutex);
    m_process = process;
}

bool VMToolsObserver::isCanceled() const
{
    const ObserverLock locker(&m_mutex);
    return m_canceled;
}

void VMToolsObserver::reset()
{
    const ObserverLock locker(&m_mutex);
    m_canceled = false;
}

// SIGINT, never a forced kill: VBoxManage cleans up after itself on an interrupt.
// The lock is held while signalling so that setProcess cannot swap the process.
// Before its child starts and once it has ended, a process object reports id 0, and
// kill(0, ...) would interrupt the caller's whole process group: then nothing is sent.
bool VMToolsObserver::cancel()
{
    const ObserverLock locker(&m_mutex);
    m_canceled = true;
    const QProcess *process = m_process.data();
    if (!process)
        return false;
    const qint64 pid = process->processId();
    if (pid > 0)
        ::kill(static_cast<pid_t>(pid), SIGINT);
    return true;
}
