// SPDX-License-Identifier: Apache-2.0
#include "hostlock.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSysInfo>

// The lock file names its holder as QLockFile's do, whatever a dead holder left in it, and
// a QLockFile on the same path (vmtools' doctor, an older host) is kept out while it is held.
TEST(HostLockTest, TheFileNamesItsHolderWhateverWasLeftAndKeepsAQLockFileOut)
{
    const QString path = HostLock::folder() + QStringLiteral("/test.lock");
    const QByteArray holder =
        QByteArray::number(QCoreApplication::applicationPid()) + '\n' +
        QFileInfo(QCoreApplication::applicationFilePath()).fileName().toUtf8() + '\n' +
        QSysInfo::machineHostName().toUtf8() + '\n';
    // What a holder that died left: nothing, more than the new holder writes, less.
    const QList<QByteArray> leftovers{QByteArray(), QByteArray(300, 'x'), "1\n"};
    for (const QByteArray &leftover : leftovers) {
        SCOPED_TRACE(leftover.size());
        QFile::remove(path);
        if (!leftover.isNull()) {
            ASSERT_TRUE(QDir().mkpath(HostLock::folder()));
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(leftover);
        }
        {
            HostLock lock(QStringLiteral("test"));
            ASSERT_TRUE(lock.tryAcquire());
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            const QList<QByteArray> lines = file.readAll().split('\n');
            // Process, program, host, machine and boot, and nothing after the last line.
            ASSERT_EQ(lines.size(), 6);
            EXPECT_TRUE(lines.join('\n').startsWith(holder));
            EXPECT_TRUE(lines.last().isEmpty());

            QLockFile other(path);
            EXPECT_FALSE(other.tryLock(0));
            EXPECT_FALSE(HostLock(QStringLiteral("test")).tryAcquire());
        }
        EXPECT_FALSE(QFile::exists(path));
        QLockFile other(path);
        EXPECT_TRUE(other.tryLock(0));
    }
}
