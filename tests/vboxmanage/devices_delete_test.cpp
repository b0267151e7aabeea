// SPDX-License-Identifier: Apache-2.0
#include "devices_fixture.h"

#include <vmtools/paths.h>

class DeleteTest : public DevicesTest
{
protected:
    void SetUp() override
    {
        DevicesTest::SetUp();
        ON_CALL(m_phone, getPath()).WillByDefault(Return(m_deployDir + "phone"));
        // Unregistering removes the settings file and leaves its backup.
        makeFile("deployed/phone/phone.vbox-prev");
        makeFile("deployed/phone/android_sdcard_disk.vmdk");
        makeFile("deployed/phone/android_system_disk.vmdk");
        makeFile("deployed/phone/sdcard.vdi");
        scriptMachineFolder();
        m_standIn.onPrefix({"closemedium"}, {Answer::ok()});
    }

    QString disk(const QString &file) const { return m_deployDir + "phone/" + file; }
};

TEST_F(DeleteTest, DeviceIsUnregisteredAndItsFolderRemovedWithItsMedia)
{
    m_standIn.onExact({"unregistervm", "phone", "--delete"}, {Answer::ok()});
    EXPECT_TRUE(m_core.deleteMachine(&m_phone));

    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{
                  readFolder(), switchToDeploy(), closeMedium(disk("android_sdcard_disk.vmdk")),
                  cmd("unregistervm phone --delete"), switchBack(),
                  closeMedium(disk("android_sdcard_disk.vmdk")),
                  closeMedium(disk("android_system_disk.vmdk")), closeMedium(disk("sdcard.vdi"))}));
    EXPECT_FALSE(QFileInfo::exists(m_deployDir + "phone"));
    EXPECT_TRUE(QFileInfo::exists(m_deployDir + "other/android_data_disk.vmdk"));
    const QStringList debug = m_log.texts(QtDebugMsg).filter("[VBox] [");
    EXPECT_EQ(debug, (QStringList{"[VBox] [deleteMachine] Deleting medium...",
                                  "[VBox] [deleteMachine] Unregistering VM...",
                                  "[VBox] [cleanDeployDir] Removing local folder... \"" +
                                      m_deployDir + "phone\"",
                                  "[VBox] [deleteMachine] Machine \"phone\" deleted."}));
}

TEST_F(DeleteTest, FailuresKeepTheFolder)
{
    const QStringList before = tree();
    m_standIn.onPrefix({"unregistervm"}, {Answer::fail(1, "VBOX_E_INVALID_OBJECT_STATE")});
    EXPECT_FALSE(m_core.deleteMachine(&m_phone));
    EXPECT_EQ(m_standIn.calls().last(), switchBack());
    EXPECT_EQ(tree(), before);

    // A machine folder that cannot be switched gives true, by design, and removes nothing.
    m_standIn.clearRules();
    m_standIn.clearCalls();
    m_standIn.onPrefix({"list"}, {Answer::ok("Default machine folder:          /vms\n")});
    m_standIn.onPrefix({"setproperty"}, {Answer::fail(1)});
    EXPECT_TRUE(m_core.deleteMachine(&m_phone));
    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{readFolder(), switchToDeploy(), readFolder()}));
    EXPECT_EQ(tree(), before);

    // VirtualBox still shows the user's folder: the switch never happened, and the next
    // operation has nothing to put back. A refused switch that went through all the same
    // (its client died) is put back first.
    for (const QString &after : {QStringLiteral("/vms"), m_deployDir}) {
        SCOPED_TRACE(after.toStdString());
        m_standIn.clearRules();
        m_standIn.onPrefix({"list"},
                           {Answer::ok("Default machine folder:          /vms\n"),
                            Answer::ok("Default machine folder:          " + after + "\n")});
        m_standIn.onPrefix({"setproperty"}, {Answer::fail(1)});
        EXPECT_TRUE(m_core.deleteMachine(&m_phone));
        m_standIn.clearRules();
        m_standIn.clearCalls();
        scriptMachineFolder();
        m_standIn.onPrefix({"unregistervm"}, {Answer::fail(1)});
        EXPECT_FALSE(m_core.deleteMachine(&m_phone));
        EXPECT_EQ(m_standIn.calls().first(),
                  after == "/vms" ? readFolder() : cmd("setproperty machinefolder /vms"));
    }
}

TEST_F(DeleteTest, DangerousNamesAndFoldersAreRefusedBeforeAnythingChanges)
{
    m_standIn.onPrefix({"unregistervm"}, {Answer::ok()});
    const QStringList before = tree();
    // The home, product and deploy folders themselves are refused in the clean-up test below.
    const QStringList dangerousFolders{"", m_root.path(), m_deployDir + "phone/..", UserFolder,
                                       "/home/u"};
    for (const QString &folder : dangerousFolders) {
        ON_CALL(m_phone, getPath()).WillByDefault(Return(folder));
        EXPECT_FALSE(m_core.deleteMachine(&m_phone)) << folder.toStdString();
    }
    for (const char *name : {"..", ".", "", "../deployed"}) {
        NiceMock<MockMachine> machine;
        ON_CALL(machine, getName()).WillByDefault(Return(name));
        EXPECT_CALL(machine, getPath()).Times(0);
        EXPECT_FALSE(m_core.deleteMachine(&machine));
    }
    // Only VirtualBox's machine folder is read, once per dangerous folder.
    const QList<QStringList> calls = m_standIn.calls();
    EXPECT_EQ(calls.size(), dangerousFolders.size());
    EXPECT_EQ(calls.count(readFolder()), calls.size());
    EXPECT_EQ(tree(), before);
    EXPECT_TRUE(
        m_log.contains(QtCriticalMsg, "[VBox] [deleteMachine] Refusing to delete folder \"" +
                                          m_root.path() + "\" of device \"phone\""));
    EXPECT_TRUE(
        m_log.contains(QtCriticalMsg, "[VBox] [deleteMachine] Refusing unsafe device name \"..\""));
}

TEST_F(DeleteTest, CleanDeployDirRemovesOnlyOrdinaryFolders)
{
    // A missing folder is already clean.
    EXPECT_TRUE(m_core.cleanDeployDir(m_deployDir + "absent"));
    EXPECT_TRUE(m_standIn.calls().isEmpty());
    EXPECT_TRUE(m_log.lines().isEmpty());

    QDir::root().mkpath(m_root.path() + "/cwd");
    const QString previousCurrent = QDir::currentPath();
    QDir::setCurrent(m_root.path() + "/cwd");
    QFile::link(QDir::homePath(), m_deployDir + "home-link");
    const QStringList before = tree();
    for (const QString &folder :
         {QString(), QString(" "), QDir::homePath(), Paths::getQuillomatePath(), m_deployDir,
          m_deployDir + "/.", m_root.path(), m_deployDir + "home-link"}) {
        EXPECT_FALSE(m_core.cleanDeployDir(folder)) << folder.toStdString();
        EXPECT_TRUE(m_log.contains(
            QtCriticalMsg,
            "[VBox] [cleanDeployDir] Refusing to remove protected folder \"" + folder + "\""));
    }
    QDir::setCurrent(previousCurrent);
    EXPECT_EQ(tree(), before);
    EXPECT_TRUE(m_standIn.calls().isEmpty());

    // VirtualBox puts the settings of "x+y" in "x_y": a folder holding the settings of a
    // machine VirtualBox knows, or cannot rule out, is another device's.
    const QString uuid = QStringLiteral("0b8a5f3e-6c1d-4e2f-9a7b-3c4d5e6f7a8b");
    const QString machine = QStringLiteral("<?xml version=\"1.0\"?>\n<!-- DO NOT EDIT -->\n"
                                           "<VirtualBox>\n  <Machine uuid=\"{%1}\" name=\"x+y\">");
    struct Row
    {
        QString settings;
        Answer lookup;
        bool removed;
    };
    const QList<Row> rows{{machine.arg(uuid), Answer::ok(description("x+y")), false},
                          {machine.arg(uuid), Answer::fail(1, "VBoxSVC is busy"), false},
                          {"<VirtualBox>", Answer::ok(), false},
                          {machine.arg(uuid), notFound(uuid), true}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.settings.toStdString());
        m_standIn.clearRules();
        m_standIn.clearCalls();
        m_log.clear();
        const QString settings = makeFile("deployed/x_y/x_y.vbox", row.settings.toUtf8());
        m_standIn.onExact({"showvminfo", uuid}, {row.lookup});
        EXPECT_EQ(m_core.cleanDeployDir(m_deployDir + "x_y"), row.removed);
        EXPECT_EQ(QFileInfo::exists(settings), !row.removed);
        EXPECT_EQ(m_log.texts(QtCriticalMsg).size(), row.removed ? 0 : 1);
        if (!row.removed) {
            EXPECT_EQ(m_log.texts(QtCriticalMsg).constFirst(),
                      "[VBox] [cleanDeployDir] Refusing to remove folder \"" + m_deployDir +
                          "x_y\" holding the settings of a registered machine: \"" + settings +
                          '"');
        }
    }
}

TEST_F(DeleteTest, RenameChangesTheObjectOnlyOnSuccess)
{
    m_standIn.onExact({"modifyvm", "phone", "--name", "tablet"},
                      {Answer::ok(), Answer::fail(1, "locked")});
    m_standIn.onExact({"showvminfo", "tablet"}, {notFound("tablet")});
    // VirtualBox would move the device's folder: never onto a registered device's name.
    m_standIn.onExact({"showvminfo", "Pixel (2)"}, {Answer::ok(description("Pixel (2)"))});
    EXPECT_CALL(m_phone, setName(QString("tablet"))).Times(1);
    EXPECT_TRUE(m_core.renameMachine(&m_phone, "tablet"));
    EXPECT_FALSE(m_core.renameMachine(&m_phone, "tablet"));
    EXPECT_FALSE(m_core.renameMachine(&m_phone, "../tablet"));
    EXPECT_FALSE(m_core.renameMachine(&m_phone, "Pixel (2)"));

    const QStringList rename = cmd("modifyvm phone --name tablet");
    EXPECT_EQ(m_standIn.calls(), (QList<QStringList>{cmd("showvminfo tablet"),
                                                     rename,
                                                     cmd("showvminfo tablet"),
                                                     rename,
                                                     {"showvminfo", "Pixel (2)"}}));
    const QStringList lines = m_log.texts().filter("[renameMachine]");
    EXPECT_EQ(lines, (QStringList{"[VBox] [renameMachine] Machine \"phone\" as \"tablet\"",
                                  "[VBox] [renameMachine] Machine \"phone\" renamed as \"tablet\"",
                                  "[VBox] [renameMachine] Machine \"phone\" as \"tablet\"",
                                  "[VBox] [renameMachine] Failed to rename device",
                                  "[VBox] [renameMachine] Refusing unsafe device name "
                                  "\"../tablet\"",
                                  "[VBox] [renameMachine] Machine \"phone\" as \"Pixel (2)\"",
                                  "[VBox] [renameMachine] A machine named \"Pixel (2)\" already "
                                  "exists"}));
}
