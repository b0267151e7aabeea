// SPDX-License-Identifier: Apache-2.0
#include "vboxtest.h"

using CoreLifecycleTest = CoreTest;

// Off to headless, off to gui and paused to resume are driven by the host-style test.
TEST_F(CoreLifecycleTest, FailedStartExplainsProcessorProblems)
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
        m_standIn.clearRules();
        m_standIn.onPrefix({"startvm"}, {c.first});
        m_log.clear();
        EXPECT_FALSE(m_core.startMachine(&m_phone, VMToolsMachine::GuiLaunch));
        const QStringList critical = m_log.texts(QtCriticalMsg);
        EXPECT_EQ(critical.mid(critical.size() - 2),
                  (QStringList{"[VBox] Unable to start virtual device: \"phone\"", c.second}));
    }
}

// The probe's start is headless, also for an aborted device (only a paused one resumes).
TEST_F(CoreLifecycleTest, StopAndStartStopProbe)
{
    m_standIn.onExact({"startvm", "phone", "--type", "headless"},
                      {Answer::ok(), Answer::ok(), Answer::fail(1)});
    m_standIn.onExact({"controlvm", "phone", "poweroff"}, {Answer::ok(), Answer::fail(1)});
    EXPECT_CALL(m_phone, getStatus())
        .WillOnce(Return(VMToolsMachine::Aborted))
        .WillOnce(Return(VMToolsMachine::On))
        .WillOnce(Return(VMToolsMachine::Off))
        .WillOnce(Return(VMToolsMachine::On))
        .WillRepeatedly(Return(VMToolsMachine::Off));

    EXPECT_TRUE(m_core.startStopDevice(&m_phone));
    EXPECT_TRUE(m_log.contains(QtDebugMsg, "[VBox] Device started correctly, stopping it now..."));
    EXPECT_TRUE(m_log.contains(QtDebugMsg, "[VBox] Device stopped"));

    EXPECT_FALSE(m_core.startStopDevice(&m_phone));
    EXPECT_TRUE(m_log.contains(QtCriticalMsg, "[VBox] Device failed to stop"));

    EXPECT_FALSE(m_core.startStopDevice(&m_phone));
    EXPECT_EQ(m_log.texts(QtCriticalMsg).last(), "[VBox] Device failed to start. Error code:  0");
    EXPECT_EQ(m_standIn.calls(), cmds({"startvm phone --type headless", "controlvm phone poweroff",
                                       "startvm phone --type headless", "controlvm phone poweroff",
                                       "startvm phone --type headless"}));
}
