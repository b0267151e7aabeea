// SPDX-License-Identifier: Apache-2.0
#include "vboxtest.h"

using CoreRegistryTest = CoreTest;

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

TEST_F(CoreRegistryTest, ListingKeepsOnlyOurMachinesInOrder)
{
    m_standIn.onExact({"list", "vms"}, {Answer::ok(recorded("core-list-vms.txt"))});
    m_standIn.onExact({"guestproperty", "enumerate", ForeignUuid},
                      {Answer::ok(guestProperty("/VirtualBox/HostInfo/VBoxVer", "5.2.44"))});
    scriptMachineLoading(m_standIn);
    const QList<VMToolsMachine *> machines = m_core.getMachines();
    ASSERT_EQ(machines.size(), 2);
    EXPECT_EQ(machines[0]->getName(), "phone");
    EXPECT_EQ(machines[0]->getUuid(), PhoneUuid);
    EXPECT_EQ(machines[1]->getName(), "tablet");
    EXPECT_EQ(machines[1]->getUuid(), TabletUuid);
    qDeleteAll(machines);
    const QString enumerate = QStringLiteral("guestproperty enumerate ");
    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{cmd("list vms"), cmd(enumerate + PhoneUuid),
                                  cmd(enumerate + "phone"), cmd("showvminfo phone"),
                                  cmd(enumerate + ForeignUuid), cmd(enumerate + TabletUuid),
                                  cmd(enumerate + "tablet"), cmd("showvminfo tablet")}));
}

TEST_F(CoreRegistryTest, LookupByNameKeepsTheGivenNameAndByUuidReadsIt)
{
    m_standIn.onExact({"showvminfo", "phone"}, {Answer::ok(description("printed-name"))});
    m_standIn.onExact(
        {"showvminfo", TabletUuid},
        {Answer::ok(description("tablet  ").replace(PhoneUuid, TabletUuid)),
         Answer::ok(description("x").replace(PhoneUuid, TabletUuid).section('\n', 1))});
    m_standIn.onExact({"showvminfo", "nouuid"}, {Answer::ok("Name:            nouuid\n")});
    scriptMachineLoading(m_standIn);

    std::unique_ptr<VMToolsMachine> byName(m_core.getMachine("phone"));
    ASSERT_TRUE(byName);
    EXPECT_EQ(byName->getName(), "phone");
    EXPECT_EQ(byName->getUuid(), PhoneUuid);

    std::unique_ptr<VMToolsMachine> byUuid(m_core.getMachine(TabletUuid));
    ASSERT_TRUE(byUuid);
    EXPECT_EQ(byUuid->getName(), "tablet");
    EXPECT_EQ(byUuid->getUuid(), TabletUuid);

    EXPECT_EQ(m_core.getMachine(TabletUuid), nullptr);
    EXPECT_TRUE(m_log.contains(QtCriticalMsg, "[VBox] Can't find name of the given machine: \"" +
                                                  TabletUuid + "\""));
    EXPECT_EQ(m_core.getMachine("nouuid"), nullptr);
}

TEST_F(CoreRegistryTest, ExistenceIsCheckedSilentlyByUuidOrName)
{
    m_standIn.onPattern("showvminfo (phone|ph.ne|" + PhoneUuid + ")",
                        {Answer::ok(description("phone"))});
    EXPECT_TRUE(m_core.doesMachineExist("phone"));
    EXPECT_TRUE(m_core.doesMachineExist(PhoneUuid));
    // The identifier is a pattern: a dot stands for any character.
    EXPECT_TRUE(m_core.doesMachineExist("ph.ne"));
    EXPECT_FALSE(m_core.doesMachineExist("unknown"));
    EXPECT_TRUE(m_log.texts().isEmpty()) << m_log.texts().join('\n').toStdString();
    EXPECT_EQ(m_standIn.calls().last(), (QStringList{"showvminfo", "unknown"}));
}

TEST_F(CoreRegistryTest, MachineFolderIsReadWithFallbackAndSetCleaned)
{
    m_standIn.onExact({"list", "systemproperties"},
                      {Answer::ok(recorded("core-systemproperties.txt")),
                       Answer::ok("Default machine folder:          \nLogging Level:  all\n"),
                       Answer::ok("Default machine folder:          /no/line/end"),
                       Answer::fail(1)});
    m_standIn.onExact({"setproperty", "machinefolder", "/data/vms"}, {Answer::ok()});
    EXPECT_EQ(m_core.getCurrentVBoxMachineFolderValue(), "/home/alice/VirtualBox VMs");
    EXPECT_EQ(m_log.texts().value(2),
              "[VBox] VBox machinefolder path setting is  \"/home/alice/VirtualBox VMs\"");
    EXPECT_EQ(m_core.getCurrentVBoxMachineFolderValue(), "default");
    EXPECT_EQ(m_core.getCurrentVBoxMachineFolderValue(), "default");
    m_log.clear();
    EXPECT_EQ(m_core.getCurrentVBoxMachineFolderValue(), "");
    EXPECT_FALSE(m_log.texts(QtDebugMsg).join('\n').contains("machinefolder"));

    // A refused switch is met in the device tests.
    EXPECT_TRUE(m_core.setVBoxMachineFolderValue("/data//vms/./old/../"));
    EXPECT_EQ(m_standIn.calls().last(), (QStringList{"setproperty", "machinefolder", "/data/vms"}));
}
