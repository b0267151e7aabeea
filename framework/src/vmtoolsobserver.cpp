#include <vmtools/vmtoolsobserver.h>

#include <QProcess>

#include <csignal>
#include <sys/syscall.h>
#include <unistd.h>

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

// QMutex locks inside Qt, which is not built with ThreadSanitizer; the annotations show the
// sanitizer the ordering that the lock gives, so that it still checks the guarded fields.
class Lock
{
public:
    explicit Lock(QMutex &mutex)
        : m_mutex(mutex)
    {
        m_mutex.lock();
#ifdef VMTOOLS_TSAN
        __tsan_acquire(&m_mutex);
#endif
    }
    ~Lock()
    {
#ifdef VMTOOLS_TSAN
        __tsan_release(&m_mutex);
#endif
        m_mutex.unlock();
    }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

private:
    QMutex &m_mutex;
};

int openPidFd(qint64 pid)
{
#ifdef SYS_pidfd_open
    return static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(pid), 0));
#else
    return -1;
#endif
}

} // namespace

VMToolsObserver::VMToolsObserver(QObject *parent)
    : QObject(parent)
{}

VMToolsObserver::~VMToolsObserver()
{
    forgetChild();
}

void VMToolsObserver::setProcess(QProcess *process)
{
    const Lock lock(m_mutex);
    m_process = process;
    m_interruptPending = false;
    forgetChild();
}

bool VMToolsObserver::isCanceled() const
{
    const Lock lock(m_mutex);
    return m_canceled;
}

void VMToolsObserver::reset()
{
    const Lock lock(m_mutex);
    m_canceled = false;
}

// The runner calls this once exec has succeeded, so a forked copy of the host that has not
// yet become the child is never signalled, and before it waits for the end, so nothing can
// have reaped the child: Qt reaps it through its own process descriptor, inside the wait on
// this thread. Where Qt reaps from a SIGCHLD handler instead (kernels before 5.4), a child
// ending in this instant could be reaped and its id reused before the descriptor is opened;
// that takes the whole id space to wrap around meanwhile.
void VMToolsObserver::childStarted(qint64 pid)
{
    if (pid <= 0)
        return;
    const int fd = openPidFd(pid);
    const Lock lock(m_mutex);
    forgetChild();
    m_childFd = fd;
    m_childPid = fd < 0 ? pid : 0;
    if (m_interruptPending) {
        m_interruptPending = false;
        interruptChild();
    }
}

void VMToolsObserver::childEnded()
{
    const Lock lock(m_mutex);
    forgetChild();
}

// SIGINT, never a forced kill: VBoxManage cleans up after itself on an interrupt.
// The lock is held while signalling so that the runner cannot end the child's hand-over
// under it. A cancel that comes after setProcess but before the child has started is held
// until it has; one that comes before setProcess lets the next child run to its end.
bool VMToolsObserver::cancel()
{
    const Lock lock(m_mutex);
    m_canceled = true;
    if (m_process.isNull())
        return false;
    if (m_childFd < 0 && m_childPid <= 0)
        m_interruptPending = true;
    else
        interruptChild();
    return true;
}

// A process descriptor names this very child, even once it has been reaped (the signal then
// fails), so no other process can be hit. The bare id, kept only where the kernel has no
// such descriptors (before 5.3), is reaped inside the runner's wait just before childEnded
// drops it; a cancel in between could reach a process that got the id after a wrap-around.
void VMToolsObserver::interruptChild()
{
#ifdef SYS_pidfd_send_signal
    if (m_childFd >= 0) {
        ::syscall(SYS_pidfd_send_signal, m_childFd, SIGINT, nullptr, 0);
        return;
    }
#endif
    if (m_childPid > 0)
        ::kill(static_cast<pid_t>(m_childPid), SIGINT);
}

void VMToolsObserver::forgetChild()
{
    if (m_childFd >= 0)
        ::close(m_childFd);
    m_childFd = -1;
    m_childPid = 0;
}
