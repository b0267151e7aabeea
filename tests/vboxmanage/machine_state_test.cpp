#include "vboxtest.h"

using MachineStateTest = MachineTest;

namespace {

const QStringList ShowVmInfo = cmd("showvminfo phone");

} // namespace

TEST_F(MachineStateTest, ConstructionReadsPropertiesThenTheDescription)
{
    build(recorded("machine-guestproperty-enumerate.txt"));

    EXPECT_EQ(m_buildCalls, (QList<QStringList>{cmd("guestproperty enumerate phone"), ShowVmInfo}));
    EXPECT_EQ(m_machine->getCPUCount(), 2u);
    EXPECT_EQ(m_machine->getRAM(), 2048u);
    EXPECT_EQ(m_machine->getOnLoadStatus(), VMToolsMachine::On);
    EXPECT_EQ(m_machine->getData("android_version", "none"), "8.0");
    EXPECT_EQ(m_machine->getData("/VirtualBox/HostInfo/VBoxVer", "none"), "none");
    EXPECT_EQ(m_machine->getAdapterType(1), VMToolsMachine::HostOnlyAdapter);
    EXPECT_EQ(m_machine->getAdapterType(2), VMToolsMachine::OtherAdapter);
    EXPECT_EQ(m_machine->getAdapterType(3), VMToolsMachine::NoAdapter);
}

TEST_F(MachineStateTest, UnknownMachineKeepsOnlyItsIdentity)
{
    m_standIn.onPrefix({}, {Answer::fail(1, "VBoxManage: error: Could not find a registered "
                                            "machine named 'ghost'\n")});

    VBoxManageMachine machine("uuid-1", "ghost", "VBoxManage");

    EXPECT_EQ(machine.getName(), "ghost");
    EXPECT_EQ(machine.getUuid(), "uuid-1");
    EXPECT_EQ(machine.getCPUCount(), 0u);
    EXPECT_EQ(machine.getOnLoadStatus(), VMToolsMachine::Unknown);
    EXPECT_EQ(machine.getData("android_version", "absent"), "absent");
    EXPECT_EQ(machine.getAdapterType(1), VMToolsMachine::NoAdapter);
    EXPECT_EQ(machine.getStatus(), VMToolsMachine::Off);
    EXPECT_EQ(machine.getPath(), "");
}

TEST_F(MachineStateTest, PropertyCacheKeepsLastAndEmptyValuesUntilReloaded)
{
    build(guestProperty("vbox_dpi", "160") + guestProperty("product_brand", "") +
          guestProperty("vbox_dpi", "240") + guestProperty("build_tags", "a, timestamp: b"));
    m_standIn.onExact(cmd("guestproperty enumerate phone"),
                      {Answer::ok(guestProperty("android_version", "9"))});

    EXPECT_EQ(m_machine->getDensity(), "240");
    EXPECT_EQ(m_machine->getData("product_brand", "default"), "");
    EXPECT_EQ(m_machine->getProductTags(), "a, timestamp: b");
    m_machine->reloadProperties();
    EXPECT_EQ(m_machine->getAndroidVersion(), "9");
    EXPECT_EQ(m_machine->getDensity(), "120");
}

TEST_F(MachineStateTest, StatusAndPathAreReadAgainFromTheDescription)
{
    build(QString(), QString());
    // Running, saved and a state without its date are compared with the former pattern in the
    // parser tests.
    const QString since = " (since 2024-06-03T09:14:07.512000000)\n";
    EXPECT_EQ(m_machine->parseStatus("State:           powered off" + since), VMToolsMachine::Off);
    EXPECT_EQ(m_machine->parseStatus("State:           aborted" + since), VMToolsMachine::Aborted);
    EXPECT_EQ(m_machine->parseStatus("STATE:  Running " + since), VMToolsMachine::On);

    // The path needs the line feed after the config file.
    const Answer paused =
        Answer::ok("State:   paused (since 2024)\nConfig file:     /home/u/VMs/dev/dev.vbox\nx\n");
    m_standIn.onExact(ShowVmInfo,
                      {paused, paused, Answer::ok("Config file:     /home/u/VMs/dev/dev.vbox")});
    EXPECT_EQ(m_machine->getStatus(), VMToolsMachine::Paused);
    EXPECT_EQ(m_machine->getPath(), "/home/u/VMs/dev");
    EXPECT_EQ(m_machine->getPath(), "");
    // The load status stays what the empty description gave.
    EXPECT_EQ(m_machine->getOnLoadStatus(), VMToolsMachine::Process);
}

TEST_F(MachineStateTest, MemoryAndCPUChangesRetryWhileTheMachineIsLocked)
{
    build();
    const Answer locked = Answer::fail(1, "VBoxManage: error: The machine 'phone' is already "
                                          "locked for a session (or being unlocked)\n");
    const QStringList memory = cmd("modifyvm phone --memory 3072");
    const QStringList cpus = cmd("modifyvm phone --cpus 4");
    m_standIn.onExact(memory, {locked, locked, Answer::ok()});
    m_standIn.onExact(cpus, {locked});

    EXPECT_TRUE(m_machine->setRAM(3072));
    EXPECT_EQ(m_machine->getRAM(), 3072u);
    EXPECT_FALSE(m_machine->setCPUCount(4));
    EXPECT_EQ(m_machine->getCPUCount(), 2u);
    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{memory, memory, memory, cpus, cpus, cpus, cpus, cpus, cpus}));
}
