// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtools_export.h>

#include <QMutex>
#include <QObject>
#include <QPointer>

class QProcess;

// Lets another thread interrupt the child process of a running engine call.
// The command runner registers its process here; cancel() sends it SIGINT.
class VMTOOLS_EXPORT VMToolsObserver : public QObject
{
    Q_OBJECT

public:
    explicit VMToolsObserver(QObject *parent = nullptr);
    ~VMToolsObserver() override;

    void setProcess(QProcess *process);
    bool isCanceled() const;
    void reset();

public slots:
    bool cancel();

private:
    QPointer<QProcess> m_process;
    mutable QMutex m_mutex;
    bool m_canceled = false;
};
