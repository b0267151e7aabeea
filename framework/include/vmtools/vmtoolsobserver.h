#pragma once

#include <vmtools/vmtools_export.h>

#include <QMutex>
#include <QObject>
#include <QPointer>

class QProcess;

// Lets another thread interrupt the child process of a running engine call.
// The command runner registers its process here; cancel() sends its child SIGINT.
class VMTOOLS_EXPORT VMToolsObserver : public QObject
{
    Q_OBJECT

public:
    explicit VMToolsObserver(QObject *parent = nullptr);
    ~VMToolsObserver() override;

    void setProcess(QProcess *process);
    bool isCanceled() const;
    void reset();

    // For the runner, on the thread that owns the process: its child has the given id
    // (from just after the start, while nothing can have reaped it yet) / is done with.
    // Only between the two does cancel() signal anything.
    void childStarted(qint64 pid);
    void childEnded();

public slots:
    bool cancel();

private:
    void interruptChild();
    void forgetChild();

    QPointer<QProcess> m_process;
    mutable QMutex m_mutex;
    bool m_canceled = false;
    bool m_interruptPending = false; // cancelled after setProcess, before childStarted
    int m_childFd = -1;              // pidfd of the child: immune to pid reuse
    qint64 m_childPid = 0;           // only where no pidfd could be had
};
