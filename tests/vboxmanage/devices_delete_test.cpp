#include "devices_fixture.h"

#include <vmtools/paths.h>

class DeleteTest : public DevicesTest
{
protected:
    void SetUp() override
    {
        DevicesTest::SetUp();
        ON_CALL(m_phone, getPath()).WillByDefault(Return(m_deployDir + "phone"));
        makeFile("deployed/phone/phone.vbox");
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
    EXPECT_EQ(m_standIn.calls(), (QList<QStringList>{readFolder(), switchToDeploy()}));
    EXPECT_EQ(tree(), before);
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
}

TEST_F(DeleteTest, RenameChangesTheObjectOnlyOnSuccess)
{
    m_standIn.onExact({"modifyvm", "phone", "--name", "tablet"},
                      {Answer::ok(), Answer::fail(1, "locked")});
    EXPECT_CALL(m_phone, setName(QString("tablet"))).Times(1);
    EXPECT_TRUE(m_core.renameMachine(&m_phone, "tablet"));
    EXPECT_FALSE(m_core.renameMachine(&m_phone, "tablet"));
    EXPECT_FALSE(m_core.renameMachine(&m_phone, "../tablet"));

    EXPECT_EQ(m_standIn.calls().size(), 2);
    const QStringList lines = m_log.texts().filter("[renameMachine]");
    EXPECT_EQ(lines, (QStringList{"[VBox] [renameMachine] Machine \"phone\" as \"tablet\"",
                                  "[VBox] [renameMachine] Machine \"phone\" renamed as \"tablet\"",
                                  "[VBox] [renameMachine] Machine \"phone\" as \"tablet\"",
                                  "[VBox] [renameMachine] Failed to rename device",
                                  "[VBox] [renameMachine] Refusing unsafe device name "
                                  "\"../tablet\""}));
}
