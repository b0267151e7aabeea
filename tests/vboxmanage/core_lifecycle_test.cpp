#include "vboxmanagecore.h"

#include "mockmachine.h"
#include "vboxtest.h"

using ::testing::NiceMock;
using ::testing::Return;

// Off to headless, off to gui and paused to resume are driven by the host-style test.
TEST(CoreLifecycleTest, FailedStartExplainsProcessorProblems)
{
    const QString cpu = QStringLiteral(
        "[VBox] There's a compatibility issue with your processor VMX/SVM capabilitiy");
    const QString advice =
        QStringLiteral("[VBox] Try to launch virtual device from VirtualBox to check the issue.");
    const QList<QPair<Answer, QString>> cases = {
        {Answer::fail(1, "VBoxManage: error: VT-x is not available (VERR_VMX_NO_VMX)"), cpu},
        {Answer::fail(1, "VBoxManage: error: AMD-V is disabled in the BIOS (VERR_SVM_DISABLED)"),
         cpu},
        {Answer::fail(1, "VBoxManage: error: The machine 'phone' is already locked"), advice},
        {Answer::fail(1, "error: verr_vmx_no_vmx"), advice},
        // Exit code 0 with a machine that is not running is a failure as well.
        {Answer{0, QString(), "VERR_SVM_IN_USE"}, cpu},
        {Answer::ok(), advice},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.first.err.toStdString());
        StandIn standIn;
        standIn.onPrefix({"startvm"}, {c.first});
        NiceMock<MockMachine> machine;
        ON_CALL(machine, getName()).WillByDefault(Return(QString("phone")));
        ON_CALL(machine, getStatus()).WillByDefault(Return(VMToolsMachine::Off));
        EXPECT_CALL(machine, setAdapterType(1u, VMToolsMachine::HostOnlyAdapter, QString()))
            .WillOnce(Return(true));
        EXPECT_CALL(machine, setPlayerVersion(1));
        EXPECT_CALL(machine, setQuillomateVmName(QString("phone")));
        VBoxManageCore core;
        LogCapture log;
        EXPECT_FALSE(core.startMachine(&machine, VMToolsMachine::GuiLaunch));
        const QStringList critical = log.texts(QtCriticalMsg);
        EXPECT_EQ(critical.mid(critical.size() - 2),
                  (QStringList{"[VBox] Unable to start virtual device: \"phone\"", c.second}));
    }
}

// The probe's start is headless, also for an aborted device (only a paused one resumes).
TEST(CoreLifecycleTest, StopAndStartStopProbe)
{
    StandIn standIn;
    standIn.onExact({"startvm", "phone", "--type", "headless"},
                    {Answer::ok(), Answer::ok(), Answer::fail(1)});
    standIn.onExact({"controlvm", "phone", "poweroff"}, {Answer::ok(), Answer::fail(1)});
    NiceMock<MockMachine> machine;
    ON_CALL(machine, getName()).WillByDefault(Return(QString("phone")));
    EXPECT_CALL(machine, getStatus())
        .WillOnce(Return(VMToolsMachine::Aborted))
        .WillOnce(Return(VMToolsMachine::On))
        .WillOnce(Return(VMToolsMachine::Off))
        .WillOnce(Return(VMToolsMachine::On))
        .WillRepeatedly(Return(VMToolsMachine::Off));
    VBoxManageCore core;
    LogCapture log;

    EXPECT_TRUE(core.startStopDevice(&machine));
    EXPECT_TRUE(log.contains(QtDebugMsg, "[VBox] Device started correctly, stopping it now..."));
    EXPECT_TRUE(log.contains(QtDebugMsg, "[VBox] Device stopped"));

    EXPECT_FALSE(core.startStopDevice(&machine));
    EXPECT_TRUE(log.contains(QtCriticalMsg, "[VBox] Device failed to stop"));

    EXPECT_FALSE(core.startStopDevice(&machine));
    EXPECT_EQ(log.texts(QtCriticalMsg).last(), "[VBox] Device failed to start. Error code:  0");
    EXPECT_EQ(standIn.calls(), cmds({"startvm phone --type headless", "controlvm phone poweroff",
                                     "startvm phone --type headless", "controlvm phone poweroff",
                                     "startvm phone --type headless"}));
}
