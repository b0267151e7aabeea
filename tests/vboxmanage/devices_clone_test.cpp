// SPDX-License-Identifier: Apache-2.0
#include "devices_fixture.h"

#include <vmtools/engineresult.h>

class CloneTest : public DevicesTest
{
protected:
    void SetUp() override
    {
        DevicesTest::SetUp();
        scriptMachineFolder();
    }

    QStringList cloneCall(const QString &name) const
    {
        return cmd("clonevm phone --mode all --name " + name + " --register --basefolder " +
                   m_deployDir);
    }
    QStringList showVmInfo(const QString &name) const { return cmd("showvminfo " + name); }
};

TEST_F(CloneTest, CloneStartsFromTheFactorySnapshotAfterClearingLeftovers)
{
    const QString leftover = makeFile("deployed/copy/android_system_disk.vmdk");
    makeFile("deployed/copy/notes.txt");
    // Unknown to VirtualBox, then found once cloned.
    m_standIn.onExact(showVmInfo("copy"), {notFound("copy"), Answer::ok(description("copy"))});
    m_standIn.onPrefix({"closemedium"}, {Answer::ok()});
    m_standIn.onPrefix({"clonevm"},
                       {Answer::ok("Machine has been successfully cloned as \"copy\"\n")});
    m_standIn.onPrefix({"guestproperty", "enumerate"}, {Answer::ok("No properties found.\n")});
    EXPECT_CALL(m_phone, canResetToFactory()).WillOnce(Return(true));

    EXPECT_EQ(m_core.cloneMachine(&m_phone, "copy", true), EngineResult::Success);

    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{
                  showVmInfo("copy"), readFolder(), switchToDeploy(), closeMedium(leftover),
                  cloneCall("copy") + QStringList{"--snapshot", "factory-backup"}, switchBack(),
                  showVmInfo("copy"), cmd("guestproperty enumerate copy"), showVmInfo("copy")}));
    EXPECT_FALSE(QFileInfo::exists(m_deployDir + "copy"));
    EXPECT_TRUE(m_log.contains(
        QtDebugMsg, "[VBox] [Clone device] Device clone with success: \"phone\" to \"copy\""));
}

TEST_F(CloneTest, FactoryBackupIsAskedForOnlyWhenWantedAndUsedOnlyWhenPresent)
{
    m_standIn.onExact(showVmInfo("copy"), {notFound("copy")});
    m_standIn.onPrefix({"clonevm"}, {Answer::ok()});
    EXPECT_CALL(m_phone, canResetToFactory()).WillOnce(Return(false));
    EXPECT_EQ(m_core.cloneMachine(&m_phone, "copy", true), EngineResult::Success);
    EXPECT_EQ(m_core.cloneMachine(&m_phone, "copy", false), EngineResult::Success);

    // Neither asks for the snapshot.
    EXPECT_EQ(m_standIn.calls().count(cloneCall("copy")), 2);
    // The clone could not be found afterwards: still a success, with a critical line.
    EXPECT_TRUE(m_log.contains(
        QtCriticalMsg,
        "[VBox] [Clone device] can't retrieve new virtual device after its creation! \"copy\""));
}

TEST_F(CloneTest, FailuresAreToldApartAndTheFolderIsRestored)
{
    struct Case
    {
        QString error;
        unsigned int code;
    };
    const QList<Case> cases{
        {"VBoxManage: error: Machine settings file '/d/copy/copy.vbox' already exists\n",
         EngineResult::CloneNameExists},
        {"VBoxManage: error: VMDK: cannot write (VERR_DISK_FULL)\n", EngineResult::CloneDiskFull},
        {"VBoxManage: error: Clone VM failed\n", EngineResult::CloneFailed},
        // Both texts: the name clash wins.
        {"already exists (VERR_DISK_FULL)", EngineResult::CloneNameExists}};
    for (const Case &c : cases) {
        m_standIn.clearCalls();
        m_standIn.clearRules();
        scriptMachineFolder("default");
        m_standIn.onExact(showVmInfo("copy"), {notFound("copy")});
        m_standIn.onPrefix({"clonevm"}, {Answer::fail(1, c.error)});
        EXPECT_EQ(m_core.cloneMachine(&m_phone, "copy", false), c.code) << c.error.toStdString();
        EXPECT_EQ(m_standIn.calls(),
                  (QList<QStringList>{showVmInfo("copy"), readFolder(), switchToDeploy(),
                                      cloneCall("copy"), switchBack("default")}));
    }

    // A folder that cannot be switched stops the clone before the backup is looked for.
    m_standIn.clearRules();
    m_standIn.clearCalls();
    m_standIn.onExact(readFolder(), {Answer::ok("Default machine folder:          /x\n")});
    m_standIn.onExact(showVmInfo("copy"), {notFound("copy")});
    m_standIn.onPrefix({"setproperty"}, {Answer::fail(1)});
    EXPECT_CALL(m_phone, canResetToFactory()).Times(0);
    EXPECT_EQ(m_core.cloneMachine(&m_phone, "copy", true), EngineResult::CloneFailed);
    EXPECT_EQ(m_standIn.calls(), (QList<QStringList>{showVmInfo("copy"), readFolder(),
                                                     switchToDeploy(), readFolder()}));
}

// A name that a registered machine has, the source's own included, is a name clash before
// anything runs; one that VirtualBox cannot rule out is a failure. Never a pattern.
TEST_F(CloneTest, FolderOfARegisteredDeviceIsNeverCleaned)
{
    const QString odd = QStringLiteral("x+y [1] *?{}|^$\\ Ω");
    const QList<QPair<QString, Answer>> cases{
        {"phone", Answer::ok(description("phone"))},
        {"Pixel (2)", Answer::ok(description("Pixel (2)"))},
        {odd, Answer::ok(description(odd))},
        {"tablet", Answer::fail(1, "VBoxManage: error: Failed to create the VirtualBox object!")}};
    for (const auto &c : cases) {
        makeFile("deployed/" + c.first + "/android_system_disk.vmdk");
        m_standIn.onExact({"showvminfo", c.first}, {c.second});
    }
    const QStringList before = tree();

    EXPECT_EQ(m_core.cloneMachine(&m_phone, "phone", false), EngineResult::CloneNameExists);
    EXPECT_EQ(m_core.cloneMachine(&m_phone, "Pixel (2)", true), EngineResult::CloneNameExists);
    EXPECT_EQ(m_core.cloneMachine(&m_phone, odd, false), EngineResult::CloneNameExists);
    EXPECT_EQ(m_core.cloneMachine(&m_phone, "tablet", false), EngineResult::CloneFailed);

    EXPECT_EQ(tree(), before);
    EXPECT_EQ(m_standIn.calls(), (QList<QStringList>{{"showvminfo", "phone"},
                                                     {"showvminfo", "Pixel (2)"},
                                                     {"showvminfo", odd},
                                                     {"showvminfo", "tablet"}}));
    EXPECT_TRUE(m_log.contains(QtCriticalMsg, "[VBox] [Clone device] A machine named \"Pixel "
                                              "(2)\" already exists"));
}

TEST_F(CloneTest, UnsafeNamesAreRefusedBeforeAnyCommand)
{
    makeFile("deployed/phone/android_system_disk.vmdk");
    const QStringList before = tree();
    const QStringList unsafe{"", ".", "..", "../outside", "a/b", QString("a") + QChar(0)};
    for (const QString &name : unsafe) {
        EXPECT_EQ(m_core.cloneMachine(&m_phone, name, false), EngineResult::CloneFailed);
    }
    NiceMock<MockMachine> badSource;
    ON_CALL(badSource, getName()).WillByDefault(Return(".."));
    EXPECT_EQ(m_core.cloneMachine(&badSource, "copy", false), EngineResult::CloneFailed);

    EXPECT_TRUE(m_standIn.calls().isEmpty());
    EXPECT_EQ(tree(), before);
    EXPECT_EQ(m_log.texts(QtCriticalMsg).size(), unsafe.size() + 1);
    EXPECT_TRUE(m_log.contains(QtCriticalMsg,
                               "[VBox] [Clone device] Refusing unsafe device name \"../outside\""));
    EXPECT_TRUE(
        m_log.contains(QtCriticalMsg, "[VBox] [Clone device] Refusing unsafe device name \"..\""));
}
