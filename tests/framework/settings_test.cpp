// SPDX-License-Identifier: Apache-2.0
#include "printers.h"
#include "probehost.h"

#include <gtest/gtest.h>

#include <QSettings>

#include <tuple>

namespace {

const QString Interface = QStringLiteral("host.only.interface");

class SettingsTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_host.isValid()); }

    // Writes a store as the user or an installer would have left it; null removes it.
    static void writeStore(const QString &path, const QByteArray &lines)
    {
        QFile::remove(path);
        if (lines.isNull())
            return;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[General]\n" + lines);
    }

    static QVariant read(const QString &path, const QString &key)
    {
        return QSettings(path, QSettings::IniFormat).value(key);
    }

    static bool has(const QString &path, const QString &key)
    {
        return QSettings(path, QSettings::IniFormat).contains(key);
    }

    // One fresh process per read: the stores are read once, when first used.
    ProbeRun get(const QString &key, const QString &defaultValue = "fallback")
    {
        return m_host.run({"get", key, defaultValue});
    }

    ProbeHost m_host;
};

} // namespace

TEST_F(SettingsTest, InstallStoreWinsForTheInterfaceKeyAndTheWinnerIsWrittenBack)
{
    const QString user = m_host.userStore();
    const QString install = m_host.installStore();

    // The user's value, the install store (null: no file) and the value that wins.
    const QList<std::tuple<QByteArray, QByteArray, QString>> cases{
        {"vboxnet0", "host.only.interface=vboxnet3\n", "vboxnet3"},
        // An empty value, or a value whose text is empty (a list of two), does not win.
        {"vboxnet1", "host.only.interface=\n", "vboxnet1"},
        {"vboxnet1", "host.only.interface=a, b\n", "vboxnet1"},
        {"vboxnet1", "host.only.interface=@ByteArray()\n", "vboxnet1"},
        // A missing install file is an empty store, and the write-back creates it.
        {"vboxnet5", QByteArray(), "vboxnet5"},
    };
    for (const auto &[userValue, installLines, winner] : cases) {
        SCOPED_TRACE(installLines.toStdString());
        writeStore(user, "host.only.interface=" + userValue + "\n");
        writeStore(install, installLines);
        EXPECT_EQ(get(Interface).lines, QStringList{"value " + winner});
        EXPECT_EQ(read(user, Interface), winner);
        EXPECT_EQ(read(install, Interface), winner);
    }
}

TEST_F(SettingsTest, InterfaceKeyFoundNowhereGivesTheDefaultAndWritesAnEmptyValueEverywhere)
{
    writeStore(m_host.userStore(), "vms.path=/data/vms\n");
    writeStore(m_host.installStore(), "other=1\n");

    EXPECT_EQ(get(Interface, "").lines, QStringList{"value "});
    EXPECT_EQ(get(Interface, "vboxnet9").lines, QStringList{"value vboxnet9"});

    for (const QString &store : {m_host.userStore(), m_host.installStore()}) {
        SCOPED_TRACE(store.toStdString());
        EXPECT_TRUE(has(store, Interface));
        EXPECT_FALSE(read(store, Interface).isValid());
    }
    EXPECT_EQ(read(m_host.userStore(), "vms.path"), "/data/vms");
    EXPECT_EQ(read(m_host.installStore(), "other"), "1");
}

TEST_F(SettingsTest, SetAndRemoveReachBothStoresOnlyForTheInterfaceKey)
{
    const QString user = m_host.userStore();
    const QString install = m_host.installStore();
    writeStore(install, "vms.path=/preset/by/installer\n");

    EXPECT_TRUE(m_host.run({"set", Interface, "vboxnet7"}).lines.isEmpty());
    EXPECT_EQ(read(user, Interface), "vboxnet7");
    EXPECT_EQ(read(install, Interface), "vboxnet7");

    EXPECT_TRUE(m_host.run({"set", "vms.path", "/home/me/devices/"}).lines.isEmpty());
    EXPECT_EQ(read(user, "vms.path"), "/home/me/devices/");
    EXPECT_EQ(read(install, "vms.path"), "/preset/by/installer");

    // Ordinary keys live in the user store alone: the install store is neither read
    // nor written for them.
    EXPECT_EQ(get("vms.path").lines, QStringList{"value /home/me/devices/"});
    EXPECT_TRUE(m_host.run({"remove", "vms.path"}).lines.isEmpty());
    EXPECT_FALSE(has(user, "vms.path"));
    EXPECT_EQ(get("vms.path").lines, QStringList{"value fallback"});
    EXPECT_FALSE(has(user, "vms.path"));
    EXPECT_EQ(read(install, "vms.path"), "/preset/by/installer");

    EXPECT_TRUE(m_host.run({"remove", Interface}).lines.isEmpty());
    EXPECT_FALSE(has(user, Interface));
    EXPECT_FALSE(has(install, Interface));
}

TEST_F(SettingsTest, UnreadableInstallStoreIsReportedAndNeverWritten)
{
    // Root reads any file whatever its permissions; a folder in the file's place is
    // unreadable for everyone.
    const QString install = m_host.installStore();
    ASSERT_TRUE(QDir().mkpath(install));
    const QString warning =
        "log warning Cannot init install path settings (status=1) \"" + install + "\"";
    const QString user = m_host.userStore();

    EXPECT_EQ(m_host.run({"set", Interface, "vboxnet4"}).lines, QStringList{warning});
    EXPECT_EQ(read(user, Interface), "vboxnet4");
    EXPECT_EQ(get(Interface).lines, (QStringList{warning, "value vboxnet4"}));

    // An ordinary key now: no write-back of an empty value after a miss.
    EXPECT_EQ(m_host.run({"remove", Interface}).lines, QStringList{warning});
    EXPECT_EQ(get(Interface).lines, (QStringList{warning, "value fallback"}));
    EXPECT_FALSE(has(user, Interface));

    EXPECT_TRUE(QFileInfo(install).isDir());
    EXPECT_EQ(QDir(m_host.appDir())
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
              QStringList({"frameworkprobe", "quillomate.ini"}));
    EXPECT_TRUE(QDir(install).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System |
                                      QDir::NoDotAndDotDot));
}
