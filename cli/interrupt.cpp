// SPDX-License-Identifier: Apache-2.0
#include "interrupt.h"

#include <vmtools/vmtoolsobserver.h>

#include <QMutexLocker>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int g_pipe[2] = {-1, -1};

void onSignal(int signalNumber)
{
    const int savedErrno = errno;
    const char byte = static_cast<char>(signalNumber);
    // Async-signal-safe; a full pipe already holds a pending wake-up.
    [[maybe_unused]] const ssize_t written = ::write(g_pipe[1], &byte, 1);
    errno = savedErrno;
}

void setHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

} // namespace

InterruptWatcher::InterruptWatcher(QObject *parent)
    : QObject(parent)
{
    if (g_pipe[0] < 0 && ::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &InterruptWatcher::drain);
    setHandler(onSignal);
}

// The handler stays: a signal that comes once the command's result is out only writes its
// byte to the pipe, and the process ends with the result it printed. Put back to its default,
// it would end the process with the signal's status after a complete, reported export.
InterruptWatcher::~InterruptWatcher() = default;

void InterruptWatcher::drain()
{
    char buffer[16];
    ssize_t n = 0;
    while ((n = ::read(g_pipe[0], buffer, sizeof buffer)) > 0) {
        for (ssize_t i = 0; i < n; ++i)
            emit interrupted(static_cast<unsigned char>(buffer[i]));
    }
}

void Interruption::setCancelTarget(VMToolsObserver *observer)
{
    QMutexLocker locker(&m_mutex);
    m_cancelTarget = observer;
}

bool Interruption::hasCancelTarget() const
{
    QMutexLocker locker(&m_mutex);
    return m_cancelTarget != nullptr;
}

bool Interruption::cancelTarget()
{
    QMutexLocker locker(&m_mutex);
    return m_cancelTarget && m_cancelTarget->cancel();
}
