#include "vboxmanagemachine.h"

#include "printers.h"
#include "standin.h"
#include "vboxtest.h"

#include <gtest/gtest.h>

namespace {

QString property(const QString &key, const QString &value)
{
    return QStringLiteral("Name: %1, value: %2, timestamp: 1717406031000000000, flags: \n")
        .arg(key, value);
}

const QStringList Enumerate = cmd("guestproperty enumerate phone");
const QStringList ShowVmInfo = cmd("showvminfo phone");

} // namespace

TEST(MachineStateTest, ConstructionReadsPropertiesThenTheDescription)
{
    StandIn standIn;
    standIn.onExact(Enumerate, {Answer::ok(recorded("machine-guestproperty-enumerate.txt"))});
    standIn.onExact(ShowVmInfo, {Answer::ok(recorded("machine-showvminfo.txt"))});

    VBoxManageMachine machine("5f0d3c2a", "phone", "VBoxManage");

    EXPECT_EQ(standIn.calls(), (QList<QStringList>{Enumerate, ShowVmInfo}));
    EXPECT_EQ(machine.getCPUCount(), 2u);
    EXPECT_EQ(machine.getRAM(), 2048u);
    EXPECT_EQ(machine.getOnLoadStatus(), VMToolsMachine::On);
    EXPECT_EQ(machine.getData("android_version", "none"), "8.0");
    EXPECT_EQ(machine.getData("/VirtualBox/HostInfo/VBoxVer", "none"), "none");
    EXPECT_EQ(machine.getAdapterType(1), VMToolsMachine::HostOnlyAdapter);
    EXPECT_EQ(machine.getAdapterType(2), VMToolsMachine::OtherAdapter);
    EXPECT_EQ(machine.getAdapterType(3), VMToolsMachine::NoAdapter);
    EXPECT_EQ(machine.getPath(), "/home/alice/.Brellstock/Quillomate/deployed/phone");
}

TEST(MachineStateTest, UnknownMachineKeepsOnlyItsIdentity)
{
    StandIn standIn;
    standIn.onPrefix({}, {Answer::fail(1, "VBoxManage: error: Could not find a registered "
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

TEST(MachineStateTest, PropertyCacheKeepsLastAndEmptyValuesUntilReloaded)
{
    StandIn standIn;
    standIn.onExact(
        Enumerate,
        {Answer::ok(property("vbox_dpi", "160") + property("product_brand", "") +
                    property("vbox_dpi", "240") + property("build_tags", "a, timestamp: b")),
         Answer::ok(property("android_version", "9"))});
    VBoxManageMachine machine("u", "phone", "VBoxManage");

    EXPECT_EQ(machine.getDensity(), "240");
    EXPECT_EQ(machine.getData("product_brand", "default"), "");
    EXPECT_EQ(machine.getProductTags(), "a, timestamp: b");
    machine.reloadProperties();
    EXPECT_EQ(machine.getAndroidVersion(), "9");
    EXPECT_EQ(machine.getDensity(), "120");
}

TEST(MachineStateTest, StatusComesFromTheStateLine)
{
    StandIn standIn;
    standIn.onExact(ShowVmInfo, {Answer::ok(), Answer::ok("State:   paused (since 2024)\n")});
    VBoxManageMachine machine("u", "phone", "VBoxManage");
    const QString since = " (since 2024-06-03T09:14:07.512000000)\n";
    EXPECT_EQ(machine.parseStatus("State:           running" + since), VMToolsMachine::On);
    EXPECT_EQ(machine.parseStatus("State:           powered off" + since), VMToolsMachine::Off);
    EXPECT_EQ(machine.parseStatus("State:           aborted" + since), VMToolsMachine::Aborted);
    EXPECT_EQ(machine.parseStatus("STATE:  Running " + since), VMToolsMachine::On);
    EXPECT_EQ(machine.parseStatus("State:           saved" + since), VMToolsMachine::Process);
    EXPECT_EQ(machine.parseStatus("State:           running\n"), VMToolsMachine::Process);
    // getStatus asks again each time; the load status stays.
    EXPECT_EQ(machine.getStatus(), VMToolsMachine::Paused);
    EXPECT_EQ(machine.getOnLoadStatus(), VMToolsMachine::Process);
}

TEST(MachineStateTest, PathNeedsTheLineFeedAfterTheConfigFile)
{
    StandIn standIn;
    standIn.onExact(ShowVmInfo,
                    {Answer::fail(1), Answer::ok("Config file:     /home/u/VMs/dev/dev.vbox\nx\n"),
                     Answer::ok("Config file:     /home/u/VMs/dev/dev.vbox")});
    VBoxManageMachine machine("u", "phone", "VBoxManage");
    EXPECT_EQ(machine.getPath(), "/home/u/VMs/dev");
    EXPECT_EQ(machine.getPath(), "");
}

TEST(MachineStateTest, MemoryAndCPUChangesRetryWhileTheMachineIsLocked)
{
    StandIn standIn;
    standIn.onExact(ShowVmInfo, {Answer::ok(recorded("machine-showvminfo.txt"))});
    const Answer locked = Answer::fail(1, "VBoxManage: error: The machine 'phone' is already "
                                          "locked for a session (or being unlocked)\n");
    const QStringList memory = cmd("modifyvm phone --memory 3072");
    const QStringList cpus = cmd("modifyvm phone --cpus 4");
    standIn.onExact(memory, {locked, locked, Answer::ok()});
    standIn.onExact(cpus, {locked});
    VBoxManageMachine machine("u", "phone", "VBoxManage");
    standIn.clearCalls();

    EXPECT_TRUE(machine.setRAM(3072));
    EXPECT_EQ(standIn.calls(), (QList<QStringList>{memory, memory, memory}));
    EXPECT_EQ(machine.getRAM(), 3072u);

    standIn.clearCalls();
    EXPECT_FALSE(machine.setCPUCount(4));
    EXPECT_EQ(standIn.calls(), (QList<QStringList>{cpus, cpus, cpus, cpus, cpus, cpus}));
    EXPECT_EQ(machine.getCPUCount(), 2u);
}
