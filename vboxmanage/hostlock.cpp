// SPDX-License-Identifier: Apache-2.0
#include "hostlock.h"

#include <vmtools/paths.h>
#include <vmtools/vboxlog.h>

#include <QDir>

namespace {

const char *lockError(QLockFile::LockError error)
{
    switch (error) {
    case QLockFile::LockFailedError:
        return "another process holds it";
    case QLockFile::PermissionError:
        return "it cannot be written";
    default:
        return "it cannot be used";
    }
}

} // namespace

HostLock::HostLock(const QString &name)
    : m_path(folder() + QLatin1Char('/') + name + QStringLiteral(".lock"))
    , m_file(m_path)
{
    // Only a dead holder makes a lock stale: a live one may rightly hold it for minutes.
    m_file.setStaleLockTime(0);
}

HostLock::~HostLock()
{
    release();
}

QString HostLock::folder()
{
    return Paths::getQuillomatePath() + QStringLiteral("/locks");
}

bool HostLock::acquire(const char *operation, int waitMs)
{
    QDir().mkpath(folder());
    m_held = m_file.tryLock(waitMs);
    if (!m_held) {
        VBoxLog::critical() << operation << "Can't take the lock" << m_path << "because"
                            << lockError(m_file.error());
    }
    return m_held;
}

bool HostLock::tryAcquire()
{
    QDir().mkpath(folder());
    m_held = m_file.tryLock(0);
    return m_held;
}

void HostLock::release()
{
    if (m_held)
        m_file.unlock();
    m_held = false;
}
