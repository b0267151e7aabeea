// SPDX-License-Identifier: Apache-2.0
#include "devices_fixture.h"

using DumpTest = DevicesTest;

// The support file: the host's part, the engine's blocks, then each device's blocks.
TEST_F(DumpTest, EngineAndDeviceDumpsAppendABlockPerCommandEvenForFailingCommands)
{
    m_standIn.onExact({"--version"}, {Answer::ok("5.2.44r139111\n")});
    m_standIn.onExact({"list", "hostonlyifs"}, {Answer::fail(1, "VBoxManage: error: x\n")});
    m_standIn.onExact({"list", "hostinfo"},
                      {Answer::ok("Host Information:\n\nProcessor count: 4")});
    m_standIn.onExact({"guestproperty", "enumerate", "phone"}, {Answer::ok("No properties.\n")});
    m_standIn.onExact({"showvminfo", "phone", "--details"}, {Answer::ok("Name:  phone\n")});
    // Everything else is unscripted: it fails and prints nothing on standard output.
    VBoxManageMachine machine("u", "phone", "VBoxManage");
    m_standIn.clearCalls();
    m_log.clear();
    QFile file(m_root.path() + "/info.txt");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("host part\n");

    m_core.dumpInfos(&file);
    machine.dumpInfos(&file);
    file.close();

    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(file.readAll()),
              "host part\n"
              "VBoxManage --version\n5.2.44r139111\n\n\n\n"
              "VBoxManage list intnets\n\n\n\n"
              "VBoxManage list natnets\n\n\n\n"
              "VBoxManage list bridgedifs\n\n\n\n"
              "VBoxManage list dhcpservers\n\n\n\n"
              "VBoxManage list hostonlyifs\n\n\n\n"
              "VBoxManage list hostinfo\nHost Information:\n\nProcessor count: 4\n\n\n"
              "VBoxManage guestproperty enumerate phone\nNo properties.\n\n\n\n"
              "VBoxManage getextradata phone enumerate\n\n\n\n"
              "VBoxManage showvminfo phone --details\nName:  phone\n\n\n\n");
    EXPECT_EQ(m_standIn.calls().size(), 10);
    EXPECT_EQ(m_log.lines().first(), (LogLine{QtDebugMsg, "[VBox] Generate info file"}));
}
