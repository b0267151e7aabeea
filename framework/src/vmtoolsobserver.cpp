#include <vmtools/vmtoolsobserver.h>

#include <QMutexLocker>
#include <QProcess>

#include <csignal>

VMToolsObserver::VMToolsObserver(QObject *parent)
    : QObject(parent)
{}

VMToolsObserver::~VMToolsObserver() = default;

void VMToolsObserver::setProcess(QProcess *process)
{
    QMutexLocker locker(&m_mutex);
    m_process = process;
}

bool VMToolsObserver::isCanceled() const
{
    QMutexLocker locker(&m_mutex);
    return m_canceled;
}

void VMToolsObserver::reset()
{
    QMutexLocker locker(&m_mutex);
    m_canceled = false;
}

// SIGINT, never a forced kill: VBoxManage cleans up after itself on an interrupt.
// The lock is held while signalling so that setProcess cannot swap the process.
bool VMToolsObserver::cancel()
{
    QMutexLocker locker(&m_mutex);
    m_canceled = true;
    if (m_process.isNull())
        return false;
    ::kill(static_cast<pid_t>(m_process->processId()), SIGINT);
    return true;
}
