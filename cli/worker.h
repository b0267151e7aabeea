// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>

#include <functional>

class Interruption;
class Progress;

// Runs a command's work on a worker thread. Meanwhile the main thread keeps the status
// line ticking and answers Ctrl-C: it cancels an export through its observer, drops
// work that only reads, and otherwise lets the current VirtualBox call finish and has
// the command stop there. A second Ctrl-C stops at once.
class TaskRunner final : public QObject
{
    Q_OBJECT

public:
    TaskRunner(Progress &progress, Interruption &interruption);

    int run(const std::function<int()> &work);

private:
    void onInterrupt(int signalNumber);
    void retryCancel();
    void tick();

    Progress &m_progress;
    Interruption &m_interruption;
    int m_interrupts = 0;
    bool m_cancelSent = false;
    qint64 m_lastCancelMs = 0;
};
