// SPDX-License-Identifier: Apache-2.0
#include "machinefolderswitch.h"

#include "vboxmanagecore.h"

#include <vmtools/vboxlog.h>

#include <QFile>

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

MachineFolderSwitch::MachineFolderSwitch(const VBoxManageCore &core)
    : m_core(core)
    , m_lock(QStringLiteral("machine-folder"))
{}

QString MachineFolderSwitch::notePath()
{
    return HostLock::folder() + QStringLiteral("/machine-folder.user");
}

bool MachineFolderSwitch::lock(const char *operation)
{
    if (!m_lock.acquire(operation))
        return false;
    putBackNoted(m_core);
    return true;
}

void MachineFolderSwitch::remember(const QString &userFolder)
{
    m_userFolder = userFolder;
}

bool MachineFolderSwitch::note() const
{
    // Written aside and renamed into place, so that nobody reads half a note. It is not
    // synced to disk: it is for a process that ends half-way, whose written files stay.
    const QByteArray path = QFile::encodeName(notePath());
    const QByteArray pending = path + ".new";
    const QByteArray folder = m_userFolder.toUtf8();
    const int fd = ::open(pending.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd >= 0) {
        const bool written = ::write(fd, folder.constData(), folder.size()) == folder.size();
        if (::close(fd) == 0 && written && std::rename(pending.constData(), path.constData()) == 0)
            return true;
    }
    ::unlink(pending.constData());
    VBoxLog::warning() << "[machineFolder]"
                       << "Can't note the user's machine folder in" << notePath();
    return false;
}

bool MachineFolderSwitch::switchTo(const QString &folder)
{
    const bool noted = note();
    if (m_core.setVBoxMachineFolderValue(folder))
        return true;
    // A refused switch normally changed nothing. One whose client died may have gone through,
    // and then the note stays, for the next switch to put the user's folder back.
    if (noted && m_core.getCurrentVBoxMachineFolderValue() == m_userFolder)
        QFile::remove(notePath());
    return false;
}

bool MachineFolderSwitch::restore()
{
    const bool restored = m_core.setVBoxMachineFolderValue(m_userFolder);
    // A folder that VirtualBox did not take back stays noted for the next switch to retry.
    if (restored)
        QFile::remove(notePath());
    m_lock.release();
    return restored;
}

void MachineFolderSwitch::recoverLeftover(const VBoxManageCore &core)
{
    if (!QFile::exists(notePath()))
        return;
    HostLock lock(QStringLiteral("machine-folder"));
    if (lock.tryAcquire())
        putBackNoted(core);
}

bool MachineFolderSwitch::putBackNoted(const VBoxManageCore &core)
{
    QFile note(notePath());
    if (!note.open(QIODevice::ReadOnly))
        return true;
    const QString folder = QString::fromUtf8(note.readAll());
    note.close();
    VBoxLog::warning() << "[machineFolder]"
                       << "Putting back the machine folder" << folder
                       << "that an interrupted operation left switched";
    if (!core.setVBoxMachineFolderValue(folder))
        return false;
    note.remove();
    return true;
}
