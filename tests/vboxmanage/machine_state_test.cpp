// SPDX-License-Identifier: Apache-2.0
#include "vboxtest.h"

using MachineStateTest = MachineTest;

// The order of the construction's calls, VirtualBox's own properties and the adapters are
// read by the host-style and network tests.
TEST_F(MachineStateTest, ConstructionReadsPropertiesAndTheDescription)
{
    build(recorded("machine-guestproperty-enumerate.txt"));
    EXPECT_EQ(m_machine->getCPUCount(), 2u);
    EXPECT_EQ(m_machine->getRAM(), 2048u);
    EXPECT_EQ(m_machine->getOnLoadStatus(), VMToolsMachine::On);
    EXPECT_EQ(m_machine->getData("android_version", "none"), "8.0");
}

TEST_F(MachineStateTest, UnknownMachineKeepsOnlyItsIdentity)
{
    m_standIn.onPrefix({}, {Answer::fail(1, "VBoxManage: error: Could not find a registered "
                                            "machine named 'ghost'\n")});

    VBoxManageMachine machine("uuid-1", "ghost", "VBoxManage");

    EXPECT_EQ(machine.getCPUCount(), 0u);
    EXPECT_EQ(machine.getOnLoadStatus(), VMToolsMachine::Unknown);
    EXPECT_EQ(machine.getData("android_version", "absent"), "absent");
    EXPECT_EQ(machine.getAdapterType(1), VMToolsMachine::NoAdapter);
    EXPECT_EQ(machine.getStatus(), VMToolsMachine::Off);
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
    // Each state word is compared with the former pattern in the parser tests. The path needs the
    // line feed after the config file.
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
