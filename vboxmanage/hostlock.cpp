// SPDX-License-Identifier: Apache-2.0
#include "hostlock.h"

#include <vmtools/paths.h>
#include <vmtools/vboxlog.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <QThread>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Another holder is looked for again this often while waiting.
constexpr int PollMs = 20;

const char *lockError(int error)
{
    switch (error) {
    case 0:
        return "another process holds it";
    case EACCES:
    case EPERM:
    case EROFS:
        return "it cannot be written";
    default:
        return "it cannot be used";
    }
}

// What QLockFile writes, so that it can tell a live holder from one that died. The
// program, machine and boot do not change while the process runs: they are read once.
QByteArray holderLines()
{
    static const QByteArray program =
        QFileInfo(QCoreApplication::applicationFilePath()).fileName().toUtf8();
    static const QByteArray machine = QSysInfo::machineUniqueId();
    static const QByteArray boot = QSysInfo::bootUniqueId();
    return QByteArray::number(QCoreApplication::applicationPid()) + '\n' + program + '\n' +
           QSysInfo::machineHostName().toUtf8() + '\n' + machine + '\n' + boot + '\n';
}

bool sameFile(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

} // namespace

HostLock::HostLock(const QString &name)
    : m_path(folder() + QLatin1Char('/') + name + QStringLiteral(".lock"))
{}

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
    if (take(waitMs))
        return true;
    VBoxLog::critical() << operation << "Can't take the lock" << m_path << "because"
                        << lockError(m_errno);
    return false;
}

bool HostLock::tryAcquire()
{
    return take(0);
}

bool HostLock::take(int waitMs)
{
    if (isHeld())
        return true;
    const QDeadlineTimer deadline(waitMs);
    for (;;) {
        switch (attempt()) {
        case Attempt::Held:
            return true;
        case Attempt::Failed:
            return false;
        case Attempt::Moved:
            continue;
        case Attempt::Busy:
            break;
        }
        const qint64 left = deadline.remainingTime();
        if (left == 0)
            return false;
        QThread::msleep(static_cast<unsigned long>(qMin<qint64>(left, PollMs)));
    }
}

HostLock::Attempt HostLock::attempt()
{
    const QByteArray path = QFile::encodeName(m_path);
    int fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0 && errno == ENOENT && QDir().mkpath(folder()))
        fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) {
        m_errno = errno;
        return Attempt::Failed;
    }
    m_errno = 0;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return Attempt::Busy;
    }
    // A holder removes the file as it lets go: the lock is the file at the path now.
    struct stat opened;
    struct stat named;
    if (::fstat(fd, &opened) != 0 || ::stat(path.constData(), &named) != 0 ||
        !sameFile(opened, named)) {
        ::close(fd);
        return Attempt::Moved;
    }
    // Written over what a dead holder left, then cut to length if that was longer:
    // truncating to zero first makes ext4 push the file to disk when it is closed, which
    // costs more than the rest of the lock together.
    const QByteArray lines = holderLines();
    if (::pwrite(fd, lines.constData(), lines.size(), 0) != lines.size() ||
        (opened.st_size > lines.size() && ::ftruncate(fd, lines.size()) != 0)) {
        m_errno = errno;
        ::unlink(path.constData());
        ::close(fd);
        return Attempt::Failed;
    }
    m_fd = fd;
    return Attempt::Held;
}

void HostLock::release()
{
    if (!isHeld())
        return;
    // Removed while still held, so that nobody takes the lock on a file that is going away.
    ::unlink(QFile::encodeName(m_path).constData());
    ::close(m_fd);
    m_fd = -1;
}
