#include "vboxmanagecore.h"

#include "vboxtest.h"

namespace {

const QString ForeignUuid = QStringLiteral("628a6317-792a-45ff-8f0a-de3227f14724");
const QString TabletUuid = QStringLiteral("e1a5e766-27cc-4b13-8c81-b69a5aa5dac7");

// What a machine object asks VBoxManage about itself when it is made.
void scriptMachineLoading(StandIn &standIn)
{
    standIn.onPrefix({"guestproperty", "enumerate"},
                     {Answer::ok(guestProperty("vbox_graph_mode", "1"))});
    standIn.onPrefix({"showvminfo"}, {Answer::ok(description("phone"))});
}

} // namespace

TEST(CoreRegistryTest, ListingKeepsOnlyOurMachinesInOrder)
{
    StandIn standIn;
    standIn.onExact({"list", "vms"}, {Answer::ok(recorded("core-list-vms.txt")), Answer::fail(1)});
    standIn.onExact({"guestproperty", "enumerate", ForeignUuid},
                    {Answer::ok(guestProperty("/VirtualBox/HostInfo/VBoxVer", "5.2.44"))});
    scriptMachineLoading(standIn);
    VBoxManageCore core;
    const QList<VMToolsMachine *> machines = core.getMachines();
    ASSERT_EQ(machines.size(), 2);
    EXPECT_EQ(machines[0]->getName(), "phone");
    EXPECT_EQ(machines[0]->getUuid(), PhoneUuid);
    EXPECT_EQ(machines[1]->getName(), "tablet");
    EXPECT_EQ(machines[1]->getUuid(), TabletUuid);
    qDeleteAll(machines);

    EXPECT_TRUE(core.getMachines().isEmpty());
    const QString enumerate = QStringLiteral("guestproperty enumerate ");
    EXPECT_EQ(
        standIn.calls(),
        (QList<QStringList>{cmd("list vms"), cmd(enumerate + PhoneUuid), cmd(enumerate + "phone"),
                            cmd("showvminfo phone"), cmd(enumerate + ForeignUuid),
                            cmd(enumerate + TabletUuid), cmd(enumerate + "tablet"),
                            cmd("showvminfo tablet"), cmd("list vms")}));
}

TEST(CoreRegistryTest, LookupByNameKeepsTheGivenNameAndByUuidReadsIt)
{
    StandIn standIn;
    standIn.onExact({"showvminfo", "phone"}, {Answer::ok(description("printed-name"))});
    standIn.onExact({"showvminfo", TabletUuid},
                    {Answer::ok(description("tablet  ").replace(PhoneUuid, TabletUuid)),
                     Answer::ok(description("x").replace(PhoneUuid, TabletUuid).section('\n', 1))});
    standIn.onExact({"showvminfo", "nouuid"}, {Answer::ok("Name:            nouuid\n")});
    scriptMachineLoading(standIn);
    VBoxManageCore core;

    std::unique_ptr<VMToolsMachine> byName(core.getMachine("phone"));
    ASSERT_TRUE(byName);
    EXPECT_EQ(byName->getName(), "phone");
    EXPECT_EQ(byName->getUuid(), PhoneUuid);

    std::unique_ptr<VMToolsMachine> byUuid(core.getMachine(TabletUuid));
    ASSERT_TRUE(byUuid);
    EXPECT_EQ(byUuid->getName(), "tablet");
    EXPECT_EQ(byUuid->getUuid(), TabletUuid);

    LogCapture log;
    EXPECT_EQ(core.getMachine(TabletUuid), nullptr);
    EXPECT_TRUE(log.contains(QtCriticalMsg, "[VBox] Can't find name of the given machine: \"" +
                                                TabletUuid + "\""));
    EXPECT_EQ(core.getMachine("nouuid"), nullptr);
    standIn.clearRules();
    EXPECT_EQ(core.getMachine("phone"), nullptr);
}

TEST(CoreRegistryTest, ExistenceIsCheckedSilentlyByUuidOrName)
{
    StandIn standIn;
    standIn.onPattern("showvminfo (phone|ph.ne|" + PhoneUuid + ")",
                      {Answer::ok(description("phone"))});
    VBoxManageCore core;
    LogCapture log;
    EXPECT_TRUE(core.doesMachineExist("phone"));
    EXPECT_TRUE(core.doesMachineExist(PhoneUuid));
    // The identifier is a pattern: a dot stands for any character.
    EXPECT_TRUE(core.doesMachineExist("ph.ne"));
    EXPECT_FALSE(core.doesMachineExist("unknown"));
    EXPECT_TRUE(log.texts().isEmpty()) << log.texts().join('\n').toStdString();
    EXPECT_EQ(standIn.calls().last(), (QStringList{"showvminfo", "unknown"}));
}

TEST(CoreRegistryTest, MachineFolderIsReadWithFallbackAndSetCleaned)
{
    StandIn standIn;
    standIn.onExact({"list", "systemproperties"},
                    {Answer::ok(recorded("core-systemproperties.txt")),
                     Answer::ok("Default machine folder:          \nLogging Level:  all\n"),
                     Answer::ok("Default machine folder:          /no/line/end"), Answer::fail(1)});
    standIn.onExact({"setproperty", "machinefolder", "/data/vms"}, {Answer::ok(), Answer::fail(1)});
    VBoxManageCore core;
    LogCapture log;
    EXPECT_EQ(core.getCurrentVBoxMachineFolderValue(), "/home/alice/VirtualBox VMs");
    EXPECT_EQ(log.texts().value(2),
              "[VBox] VBox machinefolder path setting is  \"/home/alice/VirtualBox VMs\"");
    EXPECT_EQ(core.getCurrentVBoxMachineFolderValue(), "default");
    EXPECT_EQ(core.getCurrentVBoxMachineFolderValue(), "default");
    log.clear();
    EXPECT_EQ(core.getCurrentVBoxMachineFolderValue(), "");
    EXPECT_FALSE(log.texts(QtDebugMsg).join('\n').contains("machinefolder"));

    EXPECT_TRUE(core.setVBoxMachineFolderValue("/data//vms/./old/../"));
    EXPECT_FALSE(core.setVBoxMachineFolderValue("/data/vms"));
    EXPECT_EQ(standIn.calls().last(), (QStringList{"setproperty", "machinefolder", "/data/vms"}));
}
