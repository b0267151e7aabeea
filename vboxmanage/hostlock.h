// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QLockFile>
#include <QString>

#include <memory>

// A lock that the processes of one user hold while they change what their VirtualBox
// shares between them (its default machine folder, the host-only interface), so that two
// hosts of the plug-in, such as the desktop application and vmtools, never interleave
// such changes. The lock files live in the per-user data folder; a process that dies
// holding one releases it.
class HostLock final
{
public:
    // Longer than any operation that holds a lock: an import or a clone may take five
    // minutes.
    static constexpr int DefaultWaitMs = 600000;

    // `name` names what the lock guards, such as "machine-folder".
    explicit HostLock(const QString &name);
    ~HostLock();
    HostLock(const HostLock &) = delete;
    HostLock &operator=(const HostLock &) = delete;

    // Waits up to `waitMs` for another process to let go. On failure a critical line names
    // `operation` and the reason.
    bool acquire(const char *operation, int waitMs = DefaultWaitMs);
    // Takes the lock only if nobody holds it.
    bool tryAcquire();
    void release();
    bool isHeld() const { return m_held; }

    // The folder of the lock files, and of what a lock's holder notes beside its lock.
    static QString folder();

private:
    QString m_path;
    QLockFile m_file;
    bool m_held = false;
};
