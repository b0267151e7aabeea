#include "vboxmanagecore.h"

#include "logcapture.h"
#include "mockmachine.h"
#include "printers.h"
#include "standin.h"
#include "vboxtest.h"

#include <gtest/gtest.h>

using ::testing::NiceMock;
using ::testing::Return;

namespace {

const QString Unable = QStringLiteral("[VBox] Unable to start virtual device: \"phone\"");
const QString Cpu =
    QStringLiteral("[VBox] There's a compatibility issue with your processor VMX/SVM capabilitiy");
const QString Advice =
    QStringLiteral("[VBox] Try to launch virtual device from VirtualBox to check the issue.");

void expectPreparation(MockMachine &machine)
{
    EXPECT_CALL(machine, setAdapterType(1u, VMToolsMachine::HostOnlyAdapter, QString()))
        .WillOnce(Return(true));
    EXPECT_CALL(machine, setPlayerVersion(1));
    EXPECT_CALL(machine, setQuillomateVmName(QString("phone")));
}

} // namespace

// Off to headless, off to gui and paused to resume are driven by the host-style test; an
// aborted device and a launch type out of range give a headless start.
TEST(CoreLifecycleTest, AbortedDeviceStartsHeadless)
{
    StandIn standIn;
    standIn.onPrefix({}, {Answer::ok("Waiting for VM \"phone\" to power on...\n")});
    NiceMock<MockMachine> machine;
    ON_CALL(machine, getName()).WillByDefault(Return(QString("phone")));
    expectPreparation(machine);
    EXPECT_CALL(machine, getStatus())
        .WillOnce(Return(VMToolsMachine::Aborted))
        .WillOnce(Return(VMToolsMachine::On));
    VBoxManageCore core;
    EXPECT_TRUE(core.startMachine(&machine, VMToolsMachine::LaunchType(2)));
    EXPECT_EQ(standIn.calls(), cmds({"startvm phone --type headless"}));
}

TEST(CoreLifecycleTest, FailedStartExplainsProcessorProblems)
{
    struct Case
    {
        Answer answer;
        QString advice;
    };
    const QString details =
        QStringLiteral("\nVBoxManage: error: Details: code NS_ERROR_FAILURE "
                       "(0x80004005), component ConsoleWrap, interface IConsole\n");
    const QList<Case> cases = {
        {Answer::fail(1, "VBoxManage: error: VT-x is not available (VERR_VMX_NO_VMX)" + details),
         Cpu},
        {Answer::fail(1, "VBoxManage: error: AMD-V is disabled in the BIOS (VERR_SVM_DISABLED)" +
                             details),
         Cpu},
        {Answer::fail(1, "VBoxManage: error: The machine 'phone' is already locked for a session"),
         Advice},
        {Answer::fail(1, "error: verr_vmx_no_vmx"), Advice},
        {Answer{0, QString(), "VERR_SVM_IN_USE"}, Cpu},
        {Answer::ok(), Advice},
    };
    for (const Case &c : cases) {
        StandIn standIn;
        standIn.onPrefix({"startvm"}, {c.answer});
        NiceMock<MockMachine> machine;
        ON_CALL(machine, getName()).WillByDefault(Return(QString("phone")));
        ON_CALL(machine, getStatus()).WillByDefault(Return(VMToolsMachine::Off));
        expectPreparation(machine);
        VBoxManageCore core;
        LogCapture log;
        EXPECT_FALSE(core.startMachine(&machine, VMToolsMachine::GuiLaunch));
        const QStringList critical = log.texts(QtCriticalMsg);
        EXPECT_EQ(critical.mid(critical.size() - 2), (QStringList{Unable, c.advice}))
            << c.answer.err.toStdString();
    }
}

TEST(CoreLifecycleTest, StopAndStartStopProbe)
{
    StandIn standIn;
    standIn.onExact({"startvm", "phone", "--type", "headless"},
                    {Answer::ok(), Answer::ok(), Answer::fail(1)});
    standIn.onExact({"controlvm", "phone", "poweroff"}, {Answer::ok(), Answer::fail(1)});
    NiceMock<MockMachine> machine;
    ON_CALL(machine, getName()).WillByDefault(Return(QString("phone")));
    EXPECT_CALL(machine, getStatus())
        .WillOnce(Return(VMToolsMachine::Off))
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
