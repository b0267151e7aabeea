// SPDX-License-Identifier: Apache-2.0
#include "procstats.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <unistd.h>

namespace {

// The fourth field of /proc/<pid>/stat; the second, the name, may hold spaces and ')'.
qint64 parentOf(const QString &pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return 0; // gone meanwhile
    const QByteArray text = stat.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return fields.size() > 1 ? fields.at(1).toLongLong() : 0;
}

} // namespace

namespace ProcStats {

int openDescriptors()
{
    const QDir::Filters all = QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot;
    return QDir(QStringLiteral("/proc/self/fd")).entryList(all).size();
}

QList<qint64> children()
{
    QList<qint64> found;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        bool numeric = false;
        const qint64 pid = entry.toLongLong(&numeric);
        if (numeric && parentOf(entry) == ::getpid())
            found.append(pid);
    }
    return found;
}

qint64 residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QRegularExpression vmRss(QStringLiteral("^VmRSS:\\s+(\\d+) kB$"),
                                   QRegularExpression::MultilineOption);
    return vmRss.match(QString::fromLatin1(status.readAll())).captured(1).toLongLong();
}

} // namespace ProcStats
