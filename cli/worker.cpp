// SPDX-License-Identifier: Apache-2.0
#include "worker.h"

#include "command.h"
#include "console.h"
#include "interrupt.h"
#include "progress.h"

#include <QDateTime>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>
#include <thread>
#include <unistd.h>

namespace {

constexpr int TickMs = 250;
// A cancel that finds no child yet must not become a storm of retries: repeat it only
// this often.
constexpr qint64 CancelSpacingMs = 500;

[[noreturn]] void stopAtOnce(const QString &message, int exitCode)
{
    Console::instance().err(QStringLiteral("vmtools: ") + message);
    std::fflush(nullptr);
    ::_exit(exitCode);
}

} // namespace

TaskRunner::TaskRunner(Progress &progress, Interruption &interruption)
    : m_progress(progress)
    , m_interruption(interruption)
{}

int TaskRunner::run(const std::function<int()> &work)
{
    QEventLoop loop;
    InterruptWatcher watcher;
    connect(&watcher, &InterruptWatcher::interrupted, this, &TaskRunner::onInterrupt);
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, this, &TaskRunner::tick);
    ticker.start(TickMs);

    int result = ExitCode::Failure;
    std::thread worker([&] {
        result = work();
        QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
    });
    loop.exec();
    worker.join();
    Console::instance().clearStatus();
    return result;
}

void TaskRunner::onInterrupt(int signalNumber)
{
    ++m_interrupts;
    m_interruption.request(signalNumber);
    if (m_interruption.hasCancelTarget()) {
        if (m_interrupts == 1)
            Console::instance().err(QStringLiteral("vmtools: cancelling..."));
        retryCancel();
        return;
    }
    const int exitCode = m_interruption.exitCode();
    if (m_interruption.abortable())
        stopAtOnce(QStringLiteral("interrupted"), exitCode);
    if (m_interrupts > 1 && m_interruption.isProtected()) {
        Console::instance().err(QStringLiteral("vmtools: still finishing: VirtualBox's machine "
                                               "folder must be put back first"));
        return;
    }
    if (m_interrupts > 1)
        stopAtOnce(QStringLiteral("stopped at once; VirtualBox may be left half-way"), exitCode);
    Console::instance().err(QStringLiteral("vmtools: interrupted; finishing the current "
                                           "VirtualBox call (Ctrl-C again stops at once)"));
}

// A cancel before the export's child has started only marks the observer; keep
// trying until a child is there to receive the interrupt.
void TaskRunner::retryCancel()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (now - m_lastCancelMs < CancelSpacingMs)
        return;
    m_lastCancelMs = now;
    m_cancelSent = m_interruption.cancelTarget();
}

void TaskRunner::tick()
{
    if (m_interrupts > 0 && !m_cancelSent && m_interruption.hasCancelTarget())
        retryCancel();
    const QString line = m_progress.statusLine();
    if (line.isEmpty())
        Console::instance().clearStatus();
    else
        Console::instance().setStatus(line);
}
