// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMutex>
#include <QObject>

#include <atomic>
#include <csignal>

class QSocketNotifier;
class VMToolsObserver;

// Turns SIGINT and SIGTERM into a Qt signal on the main thread: the handler only writes
// a byte to a pipe, which a socket notifier reads.
class InterruptWatcher final : public QObject
{
    Q_OBJECT

public:
    explicit InterruptWatcher(QObject *parent = nullptr);
    ~InterruptWatcher() override;

signals:
    void interrupted(int signalNumber);

private:
    void drain();

    QSocketNotifier *m_notifier = nullptr;
};

// What Ctrl-C means for the command that runs now, shared by the worker thread (which
// sets it up and checks it) and the main thread (which reacts to the signal).
class Interruption final
{
public:
    bool requested() const { return m_requested.load(); }
    void request(int signalNumber = SIGINT)
    {
        m_signal.store(signalNumber);
        m_requested.store(true);
    }
    // What a shell reports for the signal: 130 for Ctrl-C, 143 for SIGTERM.
    int exitCode() const { return 128 + m_signal.load(); }

    // While set, the work switches VirtualBox's machine folder: even a second Ctrl-C
    // waits until the operation has put it back.
    void setProtected(bool isProtected) { m_protected.store(isProtected); }
    bool isProtected() const { return m_protected.load(); }

    // While set, Ctrl-C cancels this observer's running call (an export).
    void setCancelTarget(VMToolsObserver *observer);
    bool hasCancelTarget() const;
    // Cancels the target's call under the lock, so that the worker cannot drop the
    // observer meanwhile. True when a running child was signalled.
    bool cancelTarget();

    // While set, the work only reads from VirtualBox and may be dropped at once.
    void setAbortable(bool abortable) { m_abortable.store(abortable); }
    bool abortable() const { return m_abortable.load(); }

private:
    std::atomic<bool> m_requested{false};
    std::atomic<int> m_signal{SIGINT};
    std::atomic<bool> m_protected{false};
    std::atomic<bool> m_abortable{false};
    mutable QMutex m_mutex;
    VMToolsObserver *m_cancelTarget = nullptr;
};

// Marks the engine call in its scope as one that switches VirtualBox's machine folder.
class ProtectedSection final
{
public:
    explicit ProtectedSection(Interruption &interruption)
        : m_interruption(interruption)
    {
        m_interruption.setProtected(true);
    }
    ~ProtectedSection() { m_interruption.setProtected(false); }
    ProtectedSection(const ProtectedSection &) = delete;
    ProtectedSection &operator=(const ProtectedSection &) = delete;

private:
    Interruption &m_interruption;
};
