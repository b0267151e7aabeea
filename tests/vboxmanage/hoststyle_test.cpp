// SPDX-License-Identifier: Apache-2.0
// A host's view of the plug-in: the engine comes from bin/plugins through the loader and
// everything after that goes through the two virtual interfaces only.
#include "vboxtest.h"

#include <vmtools/settings.h>
#include <vmtools/vmtoolsengine.h>

namespace {

const QString Properties = guestProperty("/VirtualBox/HostInfo/VBoxVer", "5.2.44") +
                           guestProperty("vbox_dpi", "240") +
                           guestProperty("vbox_graph_mode", "1080x1920-16");

Answer shown(const char *state)
{
    return Answer::ok(description("phone", state,
                                  "NIC 1:           MAC: 080027A1B2C3, Attachment: Host-only "
                                  "Interface 'vboxnet0', Cable connected: on\n"));
}

// Log lines from the engine's own constructor on: the base part before it reports the
// host's processor, which differs from machine to machine.
QStringList fromPath(const QStringList &lines)
{
    const int start = lines.indexOf(QStringLiteral("[VBox] Path: \"VBoxManage\""));
    return start < 0 ? lines : QStringList(lines.mid(start));
}

QStringList callLines(const QStringList &arguments)
{
    return {"[VBox] Call: (\"" + arguments.join("\", \"") + "\")", "[VBox] Return code: 0"};
}

} // namespace

class HostStyleTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Settings::set(HostOnlyKey, QStringLiteral("vboxnet0"));
        scriptHost(m_standIn);
    }

    void TearDown() override { Settings::remove(HostOnlyKey); }

    StandIn m_standIn;
    LogCapture m_log;
};

TEST_F(HostStyleTest, EngineIsLoadedFromThePluginFolderAndInitialized)
{
    LoadStateInfo info{-1, QStringLiteral("untouched")};
    const std::unique_ptr<VMToolsEngine> engine(VMToolsEngine::loadEngine(&info));
    ASSERT_TRUE(engine);
    EXPECT_EQ(info.state, 0);
    EXPECT_EQ(info.message, QString());
    EXPECT_TRUE(engine->isSystemReady());
    EXPECT_EQ(engine->getAdapterName(), "vboxnet0");
    EXPECT_EQ(engine->getMaxCpuCount(), 8u);
    EXPECT_EQ(engine->getMaxMemory(), 15923u);

    // The VBoxManage calls are the log's call lines below.
    EXPECT_EQ(m_standIn.calls("ip"), cmds({"addr show dev vboxnet0", "route"}));
    EXPECT_EQ(Settings::get(HostOnlyKey).toString(), "vboxnet0");
    EXPECT_TRUE(m_log.contains(QtWarningMsg, "[VBox] [getSavedHostOnlyInterface] Checking "
                                             "\"vboxnet0\" interface status ( "
                                             "QHostAddress(\"192.168.56.1\") )"));
    const QStringList lines = m_log.texts();
    EXPECT_EQ(lines.mid(0, 2), (QStringList{"[VBox] Loading \"vboxmanage\" plugin",
                                            "[VBox] Plugin \"vboxmanage\" loaded"}));
    const QStringList expected =
        QStringList{"[VBox] Path: \"VBoxManage\""} + callLines({"list", "hostinfo"}) +
        QStringList{"[VBox] [System properties] Online physical CPU number: 8",
                    "[VBox] [System properties] Online virtual CPU number: 4",
                    "[VBox] CPU number is > 8 - Fix max number to 8",
                    "[VBox] [System properties] Max CPU number: 8",
                    "[VBox] [System properties] Max memory size: 15923",
                    "[VBox] get \"vboxnet0\" from host.only.interface",
                    "[VBox] [findHostOnlyInterface] Looking for compatible host-only "
                    "interface"} +
        callLines({"list", "hostonlyifs"}) +
        QStringList{"[VBox] [getSavedHostOnlyInterface] Checking \"vboxnet0\" "
                    "interface status ( QHostAddress(\"192.168.56.1\") )",
                    "[VBox] [getSavedHostOnlyInterface] \"vboxnet0\" Interface seems "
                    "compatible"} +
        callLines({"list", "dhcpservers"}) +
        QStringList{"[VBox] [getAvailableDhcpServerList] \"HostInterfaceNetworking-vboxnet1\" "
                    "DHCP server is not enabled",
                    "[VBox] [checkIfInterfaceHasValidDhcp] "
                    "\"HostInterfaceNetworking-vboxnet0\" DHCP server is associated "
                    "with \"vboxnet0\" interface",
                    "[VBox] [checkIfInterfaceHasValidDhcp] \"vboxnet0\" interface is "
                    "compatible"} +
        callLines({"--version"}) + QStringList{"[VBox] VM engine version: \"5.2.44r139111\""};
    EXPECT_EQ(fromPath(lines), expected);
}

TEST_F(HostStyleTest, HostDrivesADeviceThroughTheInterfaces)
{
    LoadStateInfo info;
    const std::unique_ptr<VMToolsEngine> engine(VMToolsEngine::loadEngine(&info));
    ASSERT_TRUE(engine);
    // Off while the host looks it up, then three starts: from off, from off, from paused.
    m_standIn.onExact({"showvminfo", "phone"},
                      {shown("powered off"), shown("powered off"), shown("powered off"),
                       shown("running"), shown("powered off"), shown("running"), shown("paused"),
                       shown("running")});
    m_standIn.onExact({"guestproperty", "enumerate", "phone"}, {Answer::ok(Properties)});
    m_standIn.onExact({"guestproperty", "get", "phone", "tovalyn_ip_management"},
                      {Answer::ok("No value set!\n"), Answer::ok("No value set!\n"),
                       Answer::ok("Value: 192.168.56.101\n")});
    m_standIn.onPrefix({"guestproperty", "set", "phone"}, {Answer::ok()});
    m_standIn.onPrefix({"modifyvm", "phone"}, {Answer::ok()});
    m_standIn.onPrefix({"startvm", "phone"}, {Answer::ok()});
    m_standIn.onExact({"controlvm", "phone", "resume"}, {Answer::ok()});
    m_standIn.onExact({"snapshot", "phone", "list"},
                      {Answer::ok("   Name: factory-backup (UUID: "
                                  "d29df676-d481-4e27-9fa6-b9daab0a32b9) *\n")});
    m_standIn.onPrefix({"snapshot", "phone"}, {Answer::ok()});
    m_standIn.clearCalls();

    const std::unique_ptr<VMToolsMachine> machine(engine->getMachine("phone"));
    ASSERT_TRUE(machine);
    EXPECT_EQ(machine->getUuid(), PhoneUuid);
    EXPECT_EQ(machine->getAdapterType(1), VMToolsMachine::HostOnlyAdapter);

    // The profile: written once each, read back from the cache without a command.
    EXPECT_EQ(machine->getResolution(), QSize(1080, 1920));
    machine->setResolution(QSize(720, 1280));
    machine->setDeviceId(QString());
    machine->setFullScreen(true);
    EXPECT_EQ(machine->getResolution(), QSize(720, 1280));
    EXPECT_EQ(machine->getDeviceId(), QString());
    EXPECT_TRUE(machine->isFullScreen());
    EXPECT_EQ(machine->getDensity(), "240");
    EXPECT_EQ(machine->getData("/VirtualBox/HostInfo/VBoxVer", "none"), "none");

    EXPECT_TRUE(engine->startMachine(machine.get(), VMToolsMachine::HeadlessLaunch));
    EXPECT_TRUE(engine->startMachine(machine.get(), VMToolsMachine::GuiLaunch));
    EXPECT_TRUE(engine->startMachine(machine.get(), VMToolsMachine::GuiLaunch));

    EXPECT_EQ(machine->waitForIP(), "192.168.56.101");
    EXPECT_EQ(machine->getAdbSerial(), "192.168.56.101:5555");
    EXPECT_TRUE(machine->createFactoryBackup());
    EXPECT_EQ(machine->resetFactory(), 0);

    const QList<QStringList> bind =
        bindCalls() +
        cmds({"guestproperty set phone quillomate_vm_name phone", "showvminfo phone"});
    const QStringList poll = cmd("guestproperty get phone tovalyn_ip_management");
    const QList<QStringList> expected =
        cmds({"showvminfo phone", "guestproperty enumerate phone", "showvminfo phone",
              "guestproperty set phone vbox_graph_mode 720x1280-16",
              "guestproperty set phone quillomate_device_id [none]",
              "guestproperty set phone quillomate_full_screen yes"}) +
        bind + cmds({"startvm phone --type headless", "showvminfo phone"}) + bind +
        cmds({"startvm phone --type gui", "showvminfo phone"}) + bind +
        cmds({"controlvm phone resume", "showvminfo phone"}) +
        QList<QStringList>{poll, poll, poll} +
        QList<QStringList>{{"snapshot", "phone", "take", "factory-backup", "--description",
                            "Initial snapshot to reset factory state"}} +
        cmds({"snapshot phone list", "snapshot phone restore factory-backup"});
    EXPECT_EQ(m_standIn.calls(), expected);
    EXPECT_TRUE(m_standIn.calls("ip").isEmpty()); // the interface is checked at start-up only
}
