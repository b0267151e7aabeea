// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// A lock that the processes of one user hold while they change what their VirtualBox
// shares between them (its default machine folder, the host-only interface), so that two
// hosts of the plug-in, such as the desktop application and vmtools, never interleave
// such changes. The lock files live in the per-user data folder; a process that dies
// holding one releases it.
//
// The lock is the kernel's lock on the file, which ends with its holder. The file reads as
// `QLockFile`'s do (process id, program, host, machine and boot), and its holder removes it
// on release, so that a `QLockFile` on the same path (an older host, vmtools' doctor) and
// this lock exclude each other. Unlike `QLockFile`, taking the lock does not wait for the
// disk: the file tells nothing that a crash of the machine could leave to be trusted.
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
    bool isHeld() const { return m_fd >= 0; }

    // The folder of the lock files, and of what a lock's holder notes beside its lock.
    static QString folder();

private:
    enum class Attempt { Held, Busy, Moved, Failed };

    bool take(int waitMs);
    Attempt attempt();

    QString m_path;
    int m_fd = -1;
    int m_errno = 0;
};
