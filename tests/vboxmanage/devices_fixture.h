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

    QStringList tree() const { return fileTree(m_root.path()); }

    QTemporaryDir m_root;
    QString m_deployDir;
};
