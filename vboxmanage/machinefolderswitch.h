// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hostlock.h"

#include <QString>

class VBoxManageCore;

// VirtualBox's default machine folder, pointed at the deploy directory for one import,
// clone or deletion and then put back. The processes of one user share that setting, so
// switches are made under a lock that they share; while switched, the user's folder is
// noted beside the lock, and whoever takes the lock next puts it back if the process that
// switched it ended half-way.
class MachineFolderSwitch final
{
public:
    explicit MachineFolderSwitch(const VBoxManageCore &core);

    // Takes the lock, waiting for another process's switch to end, and puts back a folder
    // that an ended process left switched. `operation` names the caller in log lines.
    bool lock(const char *operation);
    // The user's folder, which restore() puts back.
    void remember(const QString &userFolder);
    // Points VirtualBox at `folder`. The user's folder is noted first, so that an
    // interruption during the switch still finds it, and the note goes again when VirtualBox
    // refused and still shows the user's folder: a folder that never changed must not be
    // "put back" by the next operation.
    bool switchTo(const QString &folder);
    // Puts the user's folder back and lets the lock go.
    bool restore();

    // For start-up: puts back a folder that an ended process left switched, unless another
    // process is switching it now.
    static void recoverLeftover(const VBoxManageCore &core);

private:
    static QString notePath();
    static bool putBackNoted(const VBoxManageCore &core);
    bool note() const;

    const VBoxManageCore &m_core;
    HostLock m_lock;
    QString m_userFolder;
};
