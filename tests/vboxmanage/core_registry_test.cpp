#include "vboxmanagecore.h"

#include "logcapture.h"
#include "printers.h"
#include "standin.h"
#include "vboxtest.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

const QString PhoneUuid = QStringLiteral("0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11");
const QString ForeignUuid = QStringLiteral("628a6317-792a-45ff-8f0a-de3227f14724");
const QString TabletUuid = QStringLiteral("e1a5e766-27cc-4b13-8c81-b69a5aa5dac7");
const QString Marker =
    QStringLiteral("Name: vbox_graph_mode, value: 1, timestamp: 1584387989510329000, flags: \n");

QString description(const QString &nameLine, const QString &uuid)
{
    return nameLine +
           QStringLiteral("Groups:          /\nGuest OS:        Other Linux (64-bit)\n"
                          "UUID:            %1\nConfig file:     /vms/phone/phone.vbox\n"
                          "Memory size:     2048MB\nNumber of CPUs:  2\n"
                          "State:           powered off (since 2024-06-03T09:14:07.512000000)\n")
               .arg(uuid);
}

// What a machine object asks VBoxManage about itself when it is made.
void scriptMachineLoading(StandIn &standIn)
{
    standIn.onPrefix({"guestproperty", "enumerate"}, {Answer::ok(Marker)});
    standIn.onPrefix({"showvminfo"},
                     {Answer::ok(description("Name:            phone\n", PhoneUuid))});
}

} // namespace

TEST(CoreRegistryTest, ListingKeepsOnlyOurMachinesInOrder)
{
    StandIn standIn;
    standIn.onExact({"list", "vms"}, {Answer::ok(recorded("core-list-vms.txt")), Answer::fail(1)});
    standIn.onExact({"guestproperty", "enumerate", ForeignUuid},
                    {Answer::ok("Name: /VirtualBox/HostInfo/VBoxVer, value: 5.2.44, timestamp: "
                                "1584387254070548000, flags: TRANSIENT, RDONLYGUEST\n")});
    scriptMachineLoading(standIn);
    VBoxManageCore core;
    const QList<VMToolsMachine *> machines = core.getMachines();
    ASSERT_EQ(machines.size(), 2);
    EXPECT_EQ(machines[0]->getName(), "phone");
    EXPECT_EQ(machines[0]->getUuid(), PhoneUuid);
    EXPECT_EQ(machines[1]->getName(), "tablet");
    EXPECT_EQ(machines[1]->getUuid(), TabletUuid);
    qDeleteAll(machines);

    QList<QStringList> engineCalls;
    for (const QStringList &call : standIn.calls()) {
        if (call[0] == "list" || (call[0] == "guestproperty" && call[2].contains('-')))
            engineCalls.append(call);
    }
    QList<QStringList> expected{cmd("list vms")};
    for (const QString &uuid : {PhoneUuid, ForeignUuid, TabletUuid})
        expected << cmd("guestproperty enumerate " + uuid);
    EXPECT_EQ(engineCalls, expected);
    EXPECT_TRUE(core.getMachines().isEmpty());
}

TEST(CoreRegistryTest, LookupByNameKeepsTheGivenNameAndByUuidReadsIt)
{
    StandIn standIn;
    standIn.onExact({"showvminfo", "phone"},
                    {Answer::ok(description("Name:            printed-name\n", PhoneUuid))});
    standIn.onExact({"showvminfo", TabletUuid},
                    {Answer::ok(description("Name:            tablet  \n", TabletUuid)),
                     Answer::ok(description("", TabletUuid))});
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
                      {Answer::ok(description("Name:            phone\n", PhoneUuid))});
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
