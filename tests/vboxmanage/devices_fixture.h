// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "vboxmanagemachine.h"
#include "vboxtest.h"

#include <vmtools/settings.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

// Whole-device operations against the stand-in, with a deploy directory of the test's own
// ("vms.path") inside a temporary root that also holds a folder of unrelated files.
class DevicesTest : public CoreTest
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_root.isValid());
        m_deployDir = m_root.path() + QStringLiteral("/deployed/");
        Settings::set(QStringLiteral("vms.path"), m_deployDir);
        makeFile(QStringLiteral("outside/keep.vmdk"));
        makeFile(QStringLiteral("deployed/other/android_data_disk.vmdk"));
    }

    void TearDown() override { Settings::remove(QStringLiteral("vms.path")); }

    QString makeFile(const QString &relative, const QByteArray &content = "disk")
    {
        const QString path = m_root.path() + QLatin1Char('/') + relative;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return path;
    }

    // Every entry under the temporary root with its size, to prove that nothing changed.
    QStringList tree() const
    {
        QStringList entries;
        QDirIterator it(m_root.path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            it.next();
            entries << it.filePath().mid(m_root.path().size()) + QLatin1Char(' ') +
                           QString::number(it.fileInfo().isDir() ? -1 : it.fileInfo().size());
        }
        entries.sort();
        return entries;
    }

    QTemporaryDir m_root;
    QString m_deployDir;
};
