// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <vmtools/settings.h>

#include <QCoreApplication>
#include <QFile>

#include <cstdio>
#include <utility>

const QString Key = QStringLiteral("host.only.interface");

// The desktop application and vmtools share the settings: an interface that another
// process saved since this one last read them is the one the next start-up reads.
TEST(CoreStartupTest, AnInterfaceSavedByAnotherProcessMeanwhileIsRead)
{
    const QStringList files{Settings::getApplicationSettings()->fileName(),
                            QCoreApplication::applicationDirPath() + "/quillomate.ini"};
    // Written over in place with a name of another length, which shows in the files' sizes
    // even when both writes fall in the same millisecond; or replaced by a new file, as
    // QSettings saves, with a name of the same length.
    const QList<std::pair<QString, bool>> cases{{"vboxnet0", false}, {"vboxnet13", true}};
    for (const auto &[saved, replaced] : cases) {
        SCOPED_TRACE(saved.toStdString());
        Settings::set(Key, QStringLiteral("vboxnet12"));
        ASSERT_EQ(Settings::get(Key).toString(), "vboxnet12");
        for (const QString &path : files) {
            const QString written = replaced ? path + ".new" : path;
            QFile file(written);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write("[General]\nhost.only.interface=" + saved.toUtf8() + "\n");
            file.close();
            if (replaced) {
                ASSERT_EQ(::rename(QFile::encodeName(written), QFile::encodeName(path)), 0);
            }
        }
        EXPECT_EQ(Settings::get(Key).toString(), saved);
    }
    Settings::remove(Key);
}
