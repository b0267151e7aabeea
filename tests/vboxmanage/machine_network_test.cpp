// SPDX-License-Identifier: Apache-2.0
#include "vboxtest.h"

namespace {

QString nic2(const QString &attachment)
{
    return "NIC 2:           MAC: 0800274D5E6F, Attachment: " + attachment +
           ", Cable connected: on, Trace: off (file: none)\n";
}

QStringList modify(const QString &option, const QString &value)
{
    return cmd("modifyvm phone " + option + ' ' + value);
}

const QStringList Bridgedifs = cmd("list bridgedifs");
const QStringList IPGet = cmd("guestproperty get phone tovalyn_ip_management");

// Built from the recorded description: NIC 1 host-only, NIC 2 NAT.
class MachineNetworkTest : public MachineTest
{
protected:
    void SetUp() override { build(); }
};

} // namespace

TEST_F(MachineNetworkTest, AdapterSetUpRunsItsStepsAndStopsAtTheFirstFailure)
{
    m_standIn.onExact(modify("--hostonlyadapter1", "vboxnet9"), {Answer::fail(1)});
    m_standIn.onExact(modify("--nic3", "unknown"), {Answer::fail(2)});
    m_standIn.onPrefix({"modifyvm", "phone"}, {Answer::ok()});

    EXPECT_TRUE(m_machine->setAdapterType(2, VMToolsMachine::HostOnlyAdapter, "vboxnet0"));
    EXPECT_TRUE(m_machine->setAdapterType(1, VMToolsMachine::NoAdapter, "vboxnet0"));
    EXPECT_FALSE(m_machine->setAdapterType(1, VMToolsMachine::HostOnlyAdapter, "vboxnet9"));
    EXPECT_FALSE(m_machine->setAdapterType(3, VMToolsMachine::OtherAdapter, "vboxnet0"));

    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{
                  modify("--nic2", "hostonly"), modify("--hostonlyadapter2", "vboxnet0"),
                  modify("--nictype2", "virtio"), modify("--cableconnected2", "on"),
                  modify("--nic1", "null"), modify("--nic1", "hostonly"),
                  modify("--hostonlyadapter1", "vboxnet9"), modify("--nic3", "unknown")}));
    EXPECT_EQ(m_log.texts(QtCriticalMsg).filter("Failed"),
              (QStringList{"[VBox] Failed to select the host only interface on adapter 1",
                           "[VBox] Failed to set adapter type on adapter 3"}));
    // The adapter map describes the machine as it was loaded.
    EXPECT_EQ(m_machine->getAdapterType(2), VMToolsMachine::OtherAdapter);
}

TEST_F(MachineNetworkTest, ConnectionInfoLooksAtAdapterTwo)
{
    m_standIn.onExact(ShowVmInfo,
                      {Answer::ok(recorded("machine-showvminfo.txt")),
                       Answer::ok(nic2("Bridged Interface 'enp3s0'")),
                       Answer::ok(nic2("Host-only Interface 'vboxnet1'")), Answer::fail(1)});

    const QList<QPair<VMToolsMachine::ConnectionType, QString>> expected{
        {VMToolsMachine::NatConnection, ""},
        {VMToolsMachine::BridgedConnection, "enp3s0"},
        {VMToolsMachine::UnknownConnection, ""},
        {VMToolsMachine::UnknownConnection, ""}};
    for (const auto &[type, name] : expected) {
        const VMToolsMachine::ConnectionInfo info = m_machine->getConnectionInfo();
        EXPECT_EQ(info.type(), type);
        EXPECT_EQ(info.name(), name);
    }
    EXPECT_EQ(m_log.texts(QtWarningMsg),
              (QStringList{"[VBox] error will parsing interface status",
                           "[VBox] vboxmanage command failed (\"showvminfo\", \"phone\")"}));
}

TEST_F(MachineNetworkTest, SetConnectionInfoNatOrBridgeNamedOrFirstHostInterface)
{
    m_standIn.onPrefix({"modifyvm", "phone"}, {Answer::ok()});
    m_standIn.onExact(ShowVmInfo, {Answer::ok(nic2("Bridged Interface 'eth0'"))});

    EXPECT_TRUE(m_machine->setConnectionInfo(
        VMToolsMachine::ConnectionInfo::createUnknownConnectionInfo()));
    EXPECT_TRUE(m_machine->setConnectionInfo(
        VMToolsMachine::ConnectionInfo::createBridgedConnectionInfo("eth0")));

    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{modify("--nic2", "nat"),
                                  modify("--nic2", "bridged --bridgeadapter2 eth0"), ShowVmInfo}));

    // A bridge without a name falls back to the first host interface, if there is one.
    m_standIn.clearRules();
    m_standIn.clearCalls();
    m_standIn.onPrefix({"modifyvm", "phone"}, {Answer::ok()});
    m_standIn.onExact(ShowVmInfo, {Answer::ok(nic2("Bridged Interface ''"))});
    m_standIn.onExact(Bridgedifs, {Answer::ok(recorded("machine-bridgedifs.txt")), Answer::ok()});
    const auto unnamed = VMToolsMachine::ConnectionInfo::createBridgedConnectionInfo("");
    const QList<QStringList> lookUp{modify("--nic2", "bridged"), ShowVmInfo, Bridgedifs};
    const QStringList fallback = modify("--nic2", "bridged --bridgeadapter2 enp3s0");

    EXPECT_TRUE(m_machine->setConnectionInfo(unnamed));
    EXPECT_EQ(m_standIn.calls(), lookUp + QList<QStringList>{fallback});

    m_standIn.clearCalls();
    EXPECT_FALSE(m_machine->setConnectionInfo(unnamed));
    EXPECT_EQ(m_standIn.calls(), lookUp);
    EXPECT_EQ(m_log.texts(QtWarningMsg), QStringList{"[VBox] no interface available for bridge"});
}

TEST_F(MachineNetworkTest, WaitForIPPollsUntilPublishedAndResetForgets)
{
    m_standIn.onExact(IPGet,
                      {Answer::ok("No value set!\n"), Answer::fail(1),
                       Answer::ok("Value: 192.168.56.101/24\n"), Answer::ok("No value set!\n")});
    const QStringList reset = cmd("guestproperty set phone tovalyn_ip_management");
    m_standIn.onExact(reset, {Answer::fail(1), Answer::ok()});

    EXPECT_EQ(m_machine->waitForIP(), "192.168.56.101");
    EXPECT_EQ(m_standIn.calls(), (QList<QStringList>{IPGet, IPGet, IPGet}));

    EXPECT_FALSE(m_machine->resetIP());
    EXPECT_EQ(m_machine->getIPAddress(), "192.168.56.101");
    EXPECT_TRUE(m_machine->resetIP());
    EXPECT_EQ(m_machine->getAdbSerial(), "0.0.0.0:5555");
    EXPECT_EQ(m_standIn.calls().mid(3), (QList<QStringList>{reset, reset, IPGet}));
}
