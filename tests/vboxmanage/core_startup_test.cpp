// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <vmtools/settings.h>

#include <QCoreApplication>
#include <QFile>

const QString Key = QStringLiteral("host.only.interface");

// The desktop application and vmtools share the settings: an interface that another
// process saved since this one last read them is the one the next start-up reads.
TEST(CoreStartupTest, AnInterfaceSavedByAnotherProcessMeanwhileIsRead)
{
    Settings::set(Key, QStringLiteral("vboxnet12"));
    ASSERT_EQ(Settings::get(Key).toString(), "vboxnet12");
    // Written from outside, as another process does; a name of another length shows in the
    // files' sizes even when both writes fall in the same millisecond.
    const QStringList files{Settings::getApplicationSettings()->fileName(),
                            QCoreApplication::applicationDirPath() + "/quillomate.ini"};
    for (const QString &path : files) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("[General]\nhost.only.interface=vboxnet0\n");
    }
    EXPECT_EQ(Settings::get(Key).toString(), "vboxnet0");
    Settings::remove(Key);
}
