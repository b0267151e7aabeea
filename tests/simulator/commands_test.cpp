// The stand-in's commands in the VirtualBox 5.2 formats, each against a fresh host.
#include "simhost.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/types.h>

namespace {

const QString Progress =
    QStringLiteral("0%...10%...20%...30%...40%...50%...60%...70%...80%...90%...100%\n");
const QRegularExpression UuidPattern(QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-"
                                                    "[0-9a-f]{4}-[0-9a-f]{12}$"));

QString errorLines(const QStringList &lines)
{
    QString text;
    for (const QString &line : lines)
        text += QStringLiteral("VBoxManage: error: ") + line + '\n';
    return text;
}

QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

QString guestProperty(const SimHost &host, const QString &vm, const QString &name)
{
    return host.vbox({"guestproperty", "get", vm, name}).out;
}

} // namespace

TEST(SimulatorCommands, FreshHostHasTheDefaultSetUp)
{
    SimHost host;
    EXPECT_EQ(host.vbox({"--version"}).out, "5.2.44r139111\n");

    const ToolRun vms = host.vbox({"list", "vms"});
    EXPECT_EQ(vms.exitCode, 0);
    EXPECT_EQ(vms.out, "");
    EXPECT_EQ(host.vbox({"list", "hostonlyifs"}).out, "");
    EXPECT_EQ(host.vbox({"list", "dhcpservers"}).out, "");

    const ToolRun bridged = host.vbox({"list", "bridgedifs"});
    EXPECT_TRUE(bridged.out.startsWith("Name:            eth0\n"));
    EXPECT_TRUE(bridged.out.endsWith("VBoxNetworkName: HostInterfaceNetworking-eth0\n\n"));

    const ToolRun properties = host.vbox({"list", "systemproperties"});
    EXPECT_TRUE(properties.out.contains("\nDefault machine folder:          " + host.home() +
                                        "/VirtualBox VMs\n"));

    const ToolRun info = host.vbox({"list", "hostinfo"});
    EXPECT_TRUE(info.out.startsWith("Host Information:\n\nHost time: "));
    EXPECT_TRUE(info.out.contains("\nProcessor online count: 8\n"));
    EXPECT_TRUE(info.out.contains("\nProcessor online core count: 4\n"));
    EXPECT_TRUE(info.out.contains("\nMemory size: 16384 MByte\n"));
    EXPECT_FALSE(info.out.contains("unrestricted guest"));
}

TEST(SimulatorCommands, RefusesToRunWithoutAHostFolderAndRejectsUnknownCommands)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("VBOXSIM_HOME");
    process.setProcessEnvironment(env);
    process.start(SimHost::program("VBoxManage"), {"list", "vms"});
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(process.readAllStandardError().startsWith("VBoxManage: error: VBOXSIM_HOME"));

    SimHost host;
    const ToolRun unknown = host.vbox({"frobnicate"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_TRUE(unknown.err.endsWith("VBoxManage: error: Invalid command 'frobnicate'\n"));
    const ToolRun bare = host.vbox({"showvminfo"});
    EXPECT_EQ(bare.exitCode, 1);
    EXPECT_TRUE(bare.out.contains("Usage:"));
}

TEST(SimulatorCommands, HostOnlyInterfacesAndDhcpServers)
{
    SimHost host;
    const ToolRun created = host.vbox({"hostonlyif", "create"});
    EXPECT_EQ(created.exitCode, 0);
    EXPECT_EQ(created.out, "Interface 'vboxnet0' was successfully created\n");
    EXPECT_EQ(created.err, Progress);
    EXPECT_EQ(host.vbox({"hostonlyif", "create"}).out,
              "Interface 'vboxnet1' was successfully created\n");

    const QString listing = host.vbox({"list", "hostonlyifs"}).out;
    EXPECT_TRUE(listing.startsWith("Name:            vboxnet0\n"
                                   "GUID:            786f6276-656e-4074-8000-0a0027000000\n"
                                   "DHCP:            Disabled\n"
                                   "IPAddress:       192.168.56.1\n"
                                   "NetworkMask:     255.255.255.0\n"));
    EXPECT_TRUE(listing.contains("Name:            vboxnet1\n"));
    EXPECT_TRUE(listing.contains("IPAddress:       192.168.57.1\n"));

    EXPECT_EQ(host.vbox({"hostonlyif", "ipconfig", "vboxnet1", "--ip", "10.9.8.1", "--netmask",
                         "255.255.0.0"})
                  .exitCode,
              0);
    const ToolRun address = host.ip({"addr", "show", "dev", "vboxnet1"});
    EXPECT_EQ(address.exitCode, 0);
    EXPECT_TRUE(address.out.contains("state UP"));
    EXPECT_TRUE(
        address.out.contains("    inet 10.9.8.1/16 brd 10.9.255.255 scope global vboxnet1\n"));
    const ToolRun routes = host.ip({"route"});
    EXPECT_TRUE(routes.out.contains("10.9.0.0/16 dev vboxnet1 proto kernel"));
    EXPECT_TRUE(routes.out.contains(" dev vboxnet0 "));

    const QStringList add = {
        "dhcpserver", "add",           "--ifname",  "vboxnet0",       "--ip",      "192.168.56.100",
        "--netmask",  "255.255.255.0", "--lowerip", "192.168.56.101", "--upperip", "192.168.56.254",
        "--enable"};
    EXPECT_EQ(host.vbox(add).exitCode, 0);
    EXPECT_EQ(host.vbox({"list", "dhcpservers"}).out,
              "NetworkName:    HostInterfaceNetworking-vboxnet0\n"
              "IP:             192.168.56.100\n"
              "NetworkMask:    255.255.255.0\n"
              "lowerIPAddress: 192.168.56.101\n"
              "upperIPAddress: 192.168.56.254\n"
              "Enabled:        Yes\n\n");
    const ToolRun again = host.vbox(add);
    EXPECT_EQ(again.exitCode, 2);
    EXPECT_EQ(again.err, errorLines({"DHCP server already exists"}));

    // Removing the interface takes its DHCP server with it; a second removal fails.
    EXPECT_EQ(host.vbox({"hostonlyif", "remove", "vboxnet0"}).exitCode, 0);
    EXPECT_EQ(host.vbox({"list", "dhcpservers"}).out, "");
    const ToolRun gone = host.vbox({"hostonlyif", "remove", "vboxnet0"});
    EXPECT_EQ(gone.exitCode, 1);
    EXPECT_EQ(gone.err,
              errorLines({"The host network interface named 'vboxnet0' could not be found",
                          "Details: code NS_ERROR_INVALID_ARG (0x80070057), component HostWrap, "
                          "interface IHost, callee nsISupports",
                          "Context: \"FindHostNetworkInterfaceByName(Bstr(pszName).raw(), "
                          "hif.asOutParam())\" at line 139 of file VBoxManageHostonly.cpp"}));
    const ToolRun noDevice = host.ip({"addr", "show", "dev", "vboxnet0"});
    EXPECT_EQ(noDevice.exitCode, 1);
    EXPECT_EQ(noDevice.err, "Device \"vboxnet0\" does not exist.\n");

    const ToolRun noServer = host.vbox({"dhcpserver", "remove", "--ifname", "vboxnet0"});
    EXPECT_EQ(noServer.exitCode, 2);
    EXPECT_EQ(noServer.err, errorLines({"DHCP server does not exist"}));
    const ToolRun noInterface =
        host.vbox({"dhcpserver", "add", "--ifname", "vboxnet7", "--ip", "1.2.3.4", "--netmask",
                   "255.0.0.0", "--lowerip", "1.2.3.5", "--upperip", "1.2.3.9", "--enable"});
    EXPECT_EQ(noInterface.exitCode, 2);
    EXPECT_TRUE(noInterface.err.endsWith("Could not find interface 'vboxnet7'\n"));
}

TEST(SimulatorCommands, ImportsTheSampleApplianceWithItsDisksAndProfile)
{
    SimHost host;
    const ToolRun imported = host.importSample("phone");
    ASSERT_EQ(imported.exitCode, 0) << qPrintable(imported.err);
    const QString folder = host.path("vms/phone");
    EXPECT_TRUE(imported.out.contains(" 1: VM name specified with --vmname: \"phone\"\n"));
    EXPECT_TRUE(imported.out.contains("10: Hard disk image: source image=Android-disk001.vmdk, "
                                      "target path=" +
                                      folder + "/system.vmdk, controller=8;channel=0\n"));
    EXPECT_TRUE(imported.out.contains("12: Hard disk image: source image=Android-disk003.vmdk, "
                                      "target path=" +
                                      folder + "/sdcard.vmdk, controller=9;channel=0\n"));
    EXPECT_TRUE(imported.out.endsWith("Successfully imported the appliance.\n"));
    EXPECT_TRUE(imported.err.contains("Interpreting " VBOXSIM_SAMPLE_OVA "...\nOK.\n"));
    for (const char *disk : {"system.vmdk", "data.vmdk", "sdcard.vmdk"})
        EXPECT_TRUE(QFileInfo::exists(folder + '/' + disk)) << disk;
    EXPECT_TRUE(QFileInfo::exists(host.home() + "/VirtualBox VMs/phone/phone.vbox"));

    const QString info = host.vbox({"showvminfo", "phone"}).out;
    EXPECT_TRUE(info.startsWith("Name:            phone\n"));
    EXPECT_TRUE(info.contains("\nMemory size:     2048MB\n"));
    EXPECT_TRUE(info.contains("\nNumber of CPUs:  2\n"));
    EXPECT_TRUE(
        info.contains("\nConfig file:     " + host.home() + "/VirtualBox VMs/phone/phone.vbox\n"));
    EXPECT_TRUE(QRegularExpression("\\nState:           powered off \\(since "
                                   "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{9}\\)\\n")
                    .match(info)
                    .hasMatch());
    const QRegularExpressionMatch sd =
        QRegularExpression("\\nIDEController \\(1, 0\\): " + QRegularExpression::escape(folder) +
                           "/sdcard.vmdk \\(UUID: ([a-f0-9-]+)\\)\\n")
            .match(info);
    ASSERT_TRUE(sd.hasMatch());
    EXPECT_TRUE(UuidPattern.match(sd.captured(1)).hasMatch());
    EXPECT_TRUE(info.contains("Attachment: Host-only Interface ''"));
    EXPECT_TRUE(info.contains("\nNIC 2:           MAC: "));
    EXPECT_TRUE(info.contains("\nNIC 3:           disabled\n"));

    EXPECT_EQ(guestProperty(host, "phone", "vbox_graph_mode"), "Value: 768x1280-16\n");
    EXPECT_EQ(guestProperty(host, "phone", "no_such_key"), "No value set!\n");

    // The same name again collides with the settings file; a missing file cannot be read.
    const ToolRun twice = host.importSample("phone");
    EXPECT_EQ(twice.exitCode, 1);
    EXPECT_TRUE(twice.err.contains("VBoxManage: error: Appliance import failed\n"
                                   "VBoxManage: error: Machine settings file '"));
    const ToolRun missing = host.vbox({"import", host.path("nothing.ova")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains("VBoxManage: error: Appliance read failed\n"));
    EXPECT_EQ(host.vbox({"list", "vms"}).out.count('\n'), 1);
}

TEST(SimulatorCommands, StartedGuestPublishesItsAddressAfterBooting)
{
    SimHost host;
    host.setBootMs(1000);
    host.addHostOnlyNetwork();
    host.importSample("phone");
    host.importSample("tablet");
    host.importSample("offline");
    for (const char *vm : {"phone", "tablet"}) {
        host.vbox({"modifyvm", vm, "--nic1", "hostonly"});
        host.vbox({"modifyvm", vm, "--hostonlyadapter1", "vboxnet0"});
    }
    host.vbox({"modifyvm", "offline", "--nic1", "nat"});

    const ToolRun started = host.vbox({"startvm", "phone", "--type", "headless"});
    EXPECT_EQ(started.exitCode, 0);
    EXPECT_EQ(started.out, "Waiting for VM \"phone\" to power on...\n"
                           "VM \"phone\" has been successfully started.\n");
    EXPECT_EQ(guestProperty(host, "phone", "tovalyn_ip_management"), "No value set!\n");
    EXPECT_TRUE(
        host.vbox({"showvminfo", "phone"}).out.contains("\nState:           running (since "));
    host.vbox({"startvm", "tablet", "--type", "gui"});
    host.vbox({"startvm", "offline", "--type", "headless"});
    QThread::msleep(1100);

    EXPECT_EQ(guestProperty(host, "phone", "tovalyn_ip_management"), "Value: 192.168.56.101\n");
    EXPECT_EQ(guestProperty(host, "tablet", "tovalyn_ip_management"), "Value: 192.168.56.102\n");
    EXPECT_EQ(guestProperty(host, "offline", "tovalyn_ip_management"), "No value set!\n");
    const QString all = host.vbox({"guestproperty", "enumerate", "phone"}).out;
    EXPECT_TRUE(QRegularExpression("\\nName: tovalyn_ip_management, value: 192.168.56.101, "
                                   "timestamp: \\d{19}, flags: \\n")
                    .match(all)
                    .hasMatch());
    EXPECT_TRUE(all.contains("Name: /VirtualBox/HostInfo/VBoxVer, value: 5.2.44, timestamp: "));
    EXPECT_EQ(host.vbox({"list", "runningvms"}).out.count('\n'), 3);

    // Deleting the property by setting no value, then a restart: the guest publishes again
    // and keeps its lease.
    EXPECT_EQ(host.vbox({"guestproperty", "set", "phone", "tovalyn_ip_management"}).exitCode, 0);
    EXPECT_EQ(guestProperty(host, "phone", "tovalyn_ip_management"), "No value set!\n");
    const ToolRun off = host.vbox({"controlvm", "phone", "poweroff"});
    EXPECT_EQ(off.exitCode, 0);
    EXPECT_EQ(off.err, Progress);
    EXPECT_FALSE(host.vbox({"guestproperty", "enumerate", "phone"}).out.contains("VBoxVer"));
    host.vbox({"startvm", "phone", "--type", "headless"});
    QThread::msleep(1100);
    EXPECT_EQ(guestProperty(host, "phone", "tovalyn_ip_management"), "Value: 192.168.56.101\n");
}

TEST(SimulatorCommands, RunningAndUnknownMachinesAreRefusedAsVirtualBoxDoes)
{
    SimHost host;
    host.addHostOnlyNetwork();
    host.importSample("phone");
    host.vbox({"modifyvm", "phone", "--hostonlyadapter1", "vboxnet0"});
    host.vbox({"startvm", "phone", "--type", "headless"});

    const QString locked =
        "The machine 'phone' is already locked for a session (or being unlocked)";
    const ToolRun memory = host.vbox({"modifyvm", "phone", "--memory", "1024"});
    EXPECT_EQ(memory.exitCode, 1);
    EXPECT_EQ(memory.err, errorLines({locked,
                                      "Details: code VBOX_E_INVALID_OBJECT_STATE (0x80bb0007), "
                                      "component MachineWrap, interface IMachine, callee "
                                      "nsISupports",
                                      "Context: \"LockMachine(a->session, LockType_Write)\" at "
                                      "line 525 of file VBoxManageModifyVM.cpp"}));
    const ToolRun second = host.vbox({"startvm", "phone"});
    EXPECT_EQ(second.exitCode, 1);
    EXPECT_TRUE(second.err.startsWith(errorLines({locked})));
    EXPECT_EQ(host.vbox({"unregistervm", "phone", "--delete"}).exitCode, 1);
    EXPECT_EQ(host.vbox({"storageattach", "phone", "--storagectl", "IDEController", "--port", "1",
                         "--device", "0", "--medium", "none"})
                  .exitCode,
              1);
    EXPECT_TRUE(host.vbox({"showvminfo", "phone"}).out.contains("Memory size:     2048MB"));

    const ToolRun pause = host.vbox({"controlvm", "phone", "pause"});
    EXPECT_EQ(pause.exitCode, 0);
    EXPECT_TRUE(
        host.vbox({"showvminfo", "phone"}).out.contains("\nState:           paused (since "));
    EXPECT_EQ(host.vbox({"controlvm", "phone", "resume"}).exitCode, 0);
    EXPECT_EQ(host.vbox({"controlvm", "phone", "resume"}).exitCode, 1);
    EXPECT_EQ(host.vbox({"controlvm", "phone", "poweroff"}).exitCode, 0);
    const ToolRun notRunning = host.vbox({"controlvm", "phone", "poweroff"});
    EXPECT_EQ(notRunning.exitCode, 1);
    EXPECT_EQ(notRunning.err, errorLines({"Machine 'phone' is not currently running"}));

    const ToolRun unknown = host.vbox({"showvminfo", "ghost"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_EQ(unknown.out, "");
    EXPECT_EQ(unknown.err,
              errorLines({"Could not find a registered machine named 'ghost'",
                          "Details: code VBOX_E_OBJECT_NOT_FOUND (0x80bb0001), component "
                          "VirtualBoxWrap, interface IVirtualBox, callee nsISupports",
                          "Context: \"FindMachine(Bstr(VMNameOrUuid).raw(), "
                          "machine.asOutParam())\" at line 2761 of file VBoxManageInfo.cpp"}));
    for (const QStringList &args : QList<QStringList>{{"startvm", "ghost"},
                                                      {"guestproperty", "enumerate", "ghost"},
                                                      {"snapshot", "ghost", "list"},
                                                      {"modifyvm", "ghost", "--cpus", "2"}}) {
        const ToolRun run = host.vbox(args);
        EXPECT_EQ(run.exitCode, 1) << qPrintable(args.join(' '));
        EXPECT_TRUE(run.err.startsWith(errorLines({"Could not find a registered machine named "
                                                   "'ghost'"})));
    }

    // A stopped machine takes the same changes; bad values are refused and change nothing.
    EXPECT_EQ(host.vbox({"modifyvm", "phone", "--memory", "1024"}).exitCode, 0);
    EXPECT_EQ(host.vbox({"modifyvm", "phone", "--cpus", "3"}).exitCode, 0);
    const ToolRun badNic = host.vbox({"modifyvm", "phone", "--nic1", "unknown"});
    EXPECT_EQ(badNic.exitCode, 1);
    EXPECT_EQ(badNic.err, errorLines({"Invalid type 'unknown' specfied for NIC 1"}));
    const QString info = host.vbox({"showvminfo", "phone"}).out;
    EXPECT_TRUE(info.contains("\nMemory size:     1024MB\n"));
    EXPECT_TRUE(info.contains("\nNumber of CPUs:  3\n"));
    EXPECT_TRUE(info.contains("Attachment: Host-only Interface 'vboxnet0'"));
}

TEST(SimulatorCommands, AStartFailsWhenTheHostOnlyInterfaceIsGone)
{
    SimHost host;
    host.importSample("phone");
    host.vbox({"modifyvm", "phone", "--nic1", "hostonly", "--hostonlyadapter1", "vboxnet4"});
    const ToolRun start = host.vbox({"startvm", "phone", "--type", "headless"});
    EXPECT_EQ(start.exitCode, 1);
    EXPECT_TRUE(start.err.startsWith(
        errorLines({"Failed to open/create the internal network 'HostInterfaceNetworking-vboxnet4' "
                    "(VERR_INTNET_FLT_IF_NOT_FOUND).",
                    "Failed to attach the network LUN (VERR_INTNET_FLT_IF_NOT_FOUND)"})));
    EXPECT_TRUE(host.vbox({"showvminfo", "phone"}).out.contains("State:           powered off"));
}

TEST(SimulatorCommands, SnapshotsAreTakenListedAndRestored)
{
    SimHost host;
    host.importSample("phone");
    const ToolRun none = host.vbox({"snapshot", "phone", "list"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.out, "This machine does not have any snapshots\n");

    const ToolRun taken = host.vbox({"snapshot", "phone", "take", "factory-backup", "--description",
                                     "Initial snapshot to reset factory state"});
    EXPECT_EQ(taken.exitCode, 0);
    EXPECT_EQ(taken.err, Progress);
    const QString first = taken.out.section("UUID: ", 1).trimmed();
    EXPECT_TRUE(UuidPattern.match(first).hasMatch()) << qPrintable(taken.out);
    host.vbox({"guestproperty", "set", "phone", "vbox_dpi", "160"});
    host.vbox({"modifyvm", "phone", "--memory", "1024"});
    const ToolRun second = host.vbox({"snapshot", "phone", "take", "factory-backup"});
    const QString secondUuid = second.out.section("UUID: ", 1).trimmed();

    // A child is indented by three more blanks, and the current snapshot carries " *".
    EXPECT_EQ(host.vbox({"snapshot", "phone", "list"}).out,
              "   Name: factory-backup (UUID: " + first +
                  ")\n"
                  "   Description:\nInitial snapshot to reset factory state\n"
                  "      Name: factory-backup (UUID: " +
                  secondUuid + ") *\n");

    const ToolRun restored = host.vbox({"snapshot", "phone", "restore", first});
    EXPECT_EQ(restored.exitCode, 0);
    EXPECT_EQ(restored.out, "Restoring snapshot 'factory-backup' (" + first + ")\n");
    EXPECT_EQ(guestProperty(host, "phone", "vbox_dpi"), "Value: 320\n");
    EXPECT_TRUE(host.vbox({"showvminfo", "phone"}).out.contains("Memory size:     2048MB"));
    EXPECT_TRUE(
        host.vbox({"showvminfo", "phone"})
            .out.contains("\nSnapshots:\n\n   Name: factory-backup (UUID: " + first + ") *\n"));

    const ToolRun missing = host.vbox({"snapshot", "phone", "restore", "Factory-Backup"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.startsWith(errorLines({"Could not find a snapshot named "
                                                   "'Factory-Backup'"})));
    host.vbox({"modifyvm", "phone", "--nic1", "nat"});
    EXPECT_EQ(host.vbox({"startvm", "phone", "--type", "headless"}).exitCode, 0);
    const ToolRun running = host.vbox({"snapshot", "phone", "restore", "factory-backup"});
    EXPECT_EQ(running.exitCode, 1);
    EXPECT_TRUE(running.err.startsWith(errorLines({"Cannot delete the current state of the "
                                                   "running machine (machine state: Running)"})));
}

TEST(SimulatorCommands, ClonesRenamesAndDeletesMachinesWithTheirFiles)
{
    SimHost host;
    const QString deploy = host.path("deploy");
    EXPECT_EQ(host.vbox({"setproperty", "machinefolder", deploy + "/sub/../"}).exitCode, 0);
    EXPECT_TRUE(host.vbox({"list", "systemproperties"})
                    .out.contains("Default machine folder:          " + deploy + "\n"));
    host.importSample("phone");
    host.vbox({"guestproperty", "set", "phone", "vbox_dpi", "240"});
    host.vbox({"snapshot", "phone", "take", "factory-backup"});
    host.vbox({"guestproperty", "set", "phone", "vbox_dpi", "480"});

    const QStringList clone = {"clonevm", "phone",      "--mode",        "all",
                               "--name",  "copy",       "--register",    "--basefolder",
                               deploy,    "--snapshot", "factory-backup"};
    const ToolRun cloned = host.vbox(clone);
    ASSERT_EQ(cloned.exitCode, 0) << qPrintable(cloned.err);
    EXPECT_EQ(cloned.out, "Machine has been successfully cloned as \"copy\"\n");
    EXPECT_TRUE(QFileInfo::exists(deploy + "/copy/copy.vbox"));
    EXPECT_EQ(QDir(deploy + "/copy").entryList({"*.vmdk"}, QDir::Files).size(), 3);
    // The clone starts from the snapshot's state and keeps the snapshot itself.
    EXPECT_EQ(guestProperty(host, "copy", "vbox_dpi"), "Value: 240\n");
    EXPECT_TRUE(host.vbox({"snapshot", "copy", "list"}).out.contains("Name: factory-backup"));
    const QString copyInfo = host.vbox({"showvminfo", "copy"}).out;
    EXPECT_TRUE(copyInfo.contains("IDEController (1, 0): " + deploy + "/copy/copy-disk3.vmdk"));
    QFile disk(deploy + "/copy/copy-disk3.vmdk");
    ASSERT_TRUE(disk.open(QIODevice::ReadOnly));
    EXPECT_TRUE(disk.readAll().endsWith("android sdcard image\n"));

    const ToolRun clash = host.vbox(clone);
    EXPECT_EQ(clash.exitCode, 1);
    EXPECT_TRUE(clash.err.startsWith(
        errorLines({"Machine settings file '" + deploy + "/copy/copy.vbox' already exists"})));
    const ToolRun badSnapshot =
        host.vbox({"clonevm", "phone", "--name", "x", "--snapshot", "nope"});
    EXPECT_EQ(badSnapshot.exitCode, 1);

    // Renaming moves the folder named after the machine, its settings file and its media.
    EXPECT_EQ(host.vbox({"modifyvm", "copy", "--name", "renamed"}).exitCode, 0);
    EXPECT_FALSE(QFileInfo::exists(deploy + "/copy"));
    EXPECT_TRUE(QFileInfo::exists(deploy + "/renamed/renamed.vbox"));
    const QString renamedInfo = host.vbox({"showvminfo", "renamed"}).out;
    EXPECT_TRUE(renamedInfo.contains("Config file:     " + deploy + "/renamed/renamed.vbox\n"));
    EXPECT_TRUE(
        renamedInfo.contains("IDEController (1, 0): " + deploy + "/renamed/copy-disk3.vmdk"));
    EXPECT_EQ(host.vbox({"showvminfo", "copy"}).exitCode, 1);

    // A name cannot lead the machine's files out of the machine folder.
    EXPECT_EQ(host.vbox({"modifyvm", "renamed", "--name", "../escaped"}).exitCode, 0);
    EXPECT_TRUE(QFileInfo::exists(deploy + "/.._escaped/.._escaped.vbox"));
    EXPECT_FALSE(QFileInfo::exists(host.path("escaped")));
    EXPECT_EQ(host.vbox({"modifyvm", "../escaped", "--name", "renamed"}).exitCode, 0);

    const ToolRun removed = host.vbox({"unregistervm", "renamed", "--delete"});
    EXPECT_EQ(removed.exitCode, 0);
    EXPECT_FALSE(QFileInfo::exists(deploy + "/renamed"));
    EXPECT_FALSE(host.vbox({"list", "hdds"}).out.contains("/renamed/"));
    EXPECT_EQ(host.vbox({"list", "vms"}).out.count('\n'), 1);
    EXPECT_TRUE(QFileInfo::exists(deploy + "/phone/phone.vbox"));
}

TEST(SimulatorCommands, MediaAreCreatedAttachedClonedAndClosed)
{
    SimHost host;
    host.importSample("phone");
    const QString sd = host.path("vms/phone/sdcard.vdi");
    const ToolRun created =
        host.vbox({"createhd", "--filename", sd, "--size", "64", "--format", "VDI"});
    ASSERT_EQ(created.exitCode, 0) << qPrintable(created.err);
    EXPECT_TRUE(created.out.startsWith("Medium created. UUID: "));
    EXPECT_TRUE(QFileInfo::exists(sd));
    const ToolRun exists = host.vbox({"createhd", "--filename", sd, "--size", "64"});
    EXPECT_EQ(exists.exitCode, 1);
    EXPECT_TRUE(exists.err.startsWith("0%...\nProgress state: NS_ERROR_INVALID_ARG\n"));

    // Replace the appliance's disk at (1, 0) by the new image.
    const QStringList detach = {"storageattach", "phone", "--storagectl", "IDEController",
                                "--port",        "1",     "--device",     "0",
                                "--medium",      "none"};
    EXPECT_EQ(host.vbox(detach).exitCode, 0);
    const ToolRun empty = host.vbox(detach);
    EXPECT_EQ(empty.exitCode, 1);
    EXPECT_TRUE(empty.err.startsWith(errorLines({"No storage device attached to device slot 0 on "
                                                 "port 1 of controller 'IDEController'"})));
    EXPECT_EQ(host.vbox({"storageattach", "phone", "--storagectl", "IDEController", "--port", "1",
                         "--device", "0", "--type", "hdd", "--medium", sd})
                  .exitCode,
              0);
    EXPECT_TRUE(host.vbox({"showvminfo", "phone"}).out.contains("IDEController (1, 0): " + sd));
    const ToolRun noController = host.vbox({"storageattach", "phone", "--storagectl", "SATA",
                                            "--port", "0", "--device", "0", "--medium", sd});
    EXPECT_EQ(noController.exitCode, 1);
    EXPECT_EQ(noController.err, errorLines({"Could not find a controller named 'SATA'", ""}));

    const ToolRun attached = host.vbox({"closemedium", "disk", sd, "--delete"});
    EXPECT_EQ(attached.exitCode, 1);
    EXPECT_TRUE(attached.err.startsWith(errorLines({"Cannot delete storage: medium '" + sd +
                                                    "' is still attached to the following 1 "
                                                    "virtual machine(s): "})
                                            .chopped(1)));
    EXPECT_TRUE(QFileInfo::exists(sd));

    // The detached appliance disk is still registered; closing it deletes the file.
    const QString old = host.path("vms/phone/sdcard.vmdk");
    EXPECT_EQ(host.vbox({"closemedium", "disk", old, "--delete"}).exitCode, 0);
    EXPECT_FALSE(QFileInfo::exists(old));
    const ToolRun missing = host.vbox({"closemedium", "disk", old, "--delete"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.startsWith(
        errorLines({"Could not find file for the medium '" + old + "' (VERR_FILE_NOT_FOUND)"})));

    const QString copy = host.path("vms/copy.vdi");
    const ToolRun cloned = host.vbox({"clonehd", sd, copy});
    EXPECT_EQ(cloned.exitCode, 0);
    EXPECT_TRUE(cloned.out.startsWith("Clone medium created in format 'VDI'. UUID: "));
    EXPECT_TRUE(QFileInfo::exists(copy));
    EXPECT_EQ(host.vbox({"clonehd", sd, copy}).exitCode, 1);
    EXPECT_EQ(host.vbox({"closemedium", "disk", copy}).exitCode, 0);
    EXPECT_TRUE(QFileInfo::exists(copy));
}

TEST(SimulatorCommands, ExportWritesAnOvaThatImportsBack)
{
    SimHost host;
    host.importSample("phone");
    host.vbox({"guestproperty", "set", "phone", "quillomate_vm_name", "phone"});
    const QString ova = host.path("out/phone.ova");
    QDir().mkpath(host.path("out"));
    const ToolRun exported = host.vbox({"export", "phone", "--output", ova});
    ASSERT_EQ(exported.exitCode, 0) << qPrintable(exported.err);
    EXPECT_EQ(exported.out, "Successfully exported 1 machine(s).\n");
    EXPECT_EQ(exported.err, Progress);

    QProcess tar;
    tar.start("tar", {"tf", ova});
    if (tar.waitForFinished()) {
        EXPECT_EQ(QString::fromUtf8(tar.readAllStandardOutput()),
                  "phone.ovf\nphone-disk001.vmdk\nphone-disk002.vmdk\nphone-disk003.vmdk\n");
    }

    const ToolRun again = host.vbox({"export", "phone", "--output", ova});
    EXPECT_EQ(again.exitCode, 1);
    const ToolRun noOutput = host.vbox({"export", "phone"});
    EXPECT_EQ(noOutput.exitCode, 2);
    EXPECT_TRUE(noOutput.err.endsWith(errorLines({"Missing --output argument with export "
                                                  "command."})));

    const QString withManifest = host.path("out/signed.ova");
    EXPECT_EQ(host.vbox({"export", "phone", "--output", withManifest, "--manifest"}).exitCode, 0);
    QProcess listing;
    listing.start("tar", {"xOf", withManifest, "signed.mf"});
    if (listing.waitForFinished()) {
        const QString manifest = QString::fromUtf8(listing.readAllStandardOutput());
        EXPECT_TRUE(QRegularExpression("^SHA256 \\(signed.ovf\\) = [0-9a-f]{64}\n")
                        .match(manifest)
                        .hasMatch())
            << qPrintable(manifest);
    }
    host.setFaults("export diskfull\n");
    const ToolRun full = host.vbox({"export", "phone", "--output", host.path("out/full.ova")});
    EXPECT_EQ(full.exitCode, 1);
    EXPECT_TRUE(full.err.contains("(VERR_DISK_FULL)"));
    EXPECT_FALSE(QFileInfo::exists(host.path("out/full.ova")));
    host.setFaults("");

    const ToolRun reimported = host.vbox({"import", ova, "--vsys", "0", "--vmname", "again"});
    ASSERT_EQ(reimported.exitCode, 0) << qPrintable(reimported.err);
    EXPECT_EQ(guestProperty(host, "again", "quillomate_vm_name"), "Value: phone\n");
    EXPECT_EQ(guestProperty(host, "again", "vbox_graph_mode"), "Value: 768x1280-16\n");
    EXPECT_TRUE(host.vbox({"showvminfo", "again"})
                    .out.contains("IDEController (1, 0): " + host.home() +
                                  "/VirtualBox VMs/again/phone-disk003.vmdk"));
}

TEST(SimulatorCommands, ExportStopsAndRemovesItsFileOnSigint)
{
    SimHost host;
    host.importSample("phone");
    host.setFaults("export slow ms=6000\n");
    const QString ova = host.path("phone.ova");
    QProcess process;
    process.setProcessEnvironment(host.environment());
    process.start(SimHost::program("VBoxManage"), {"export", "phone", "--output", ova});
    ASSERT_TRUE(process.waitForStarted());
    for (int i = 0; i < 100 && !QFileInfo::exists(ova); ++i)
        QThread::msleep(30);
    ASSERT_TRUE(QFileInfo::exists(ova));
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    const QString err = QString::fromUtf8(process.readAllStandardError());
    EXPECT_TRUE(err.contains("CANCELED\nVBoxManage: error: Appliance write failed\n"))
        << qPrintable(err);
    EXPECT_EQ(process.readAllStandardOutput(), "");
    EXPECT_FALSE(QFileInfo::exists(ova));
}

TEST(SimulatorCommands, InjectedFaultsFailTheWayVirtualBoxDoes)
{
    SimHost host;
    host.addHostOnlyNetwork();
    host.importSample("phone");
    host.vbox({"modifyvm", "phone", "--hostonlyadapter1", "vboxnet0"});
    host.setFaults("# processor without virtualization, for one start\n"
                   "startvm vmx count=1\n"
                   "startvm svm count=1\n"
                   "modifyvm locked count=2 vm=phone\n"
                   "hostonlyif/create fail\n"
                   "clonevm diskfull\n"
                   "createhd diskfull count=1\n"
                   "list/hostinfo fail exit=3 message=no host\n"
                   "this line is not a fault\n");

    const ToolRun vmx = host.vbox({"startvm", "phone", "--type", "headless"});
    EXPECT_EQ(vmx.exitCode, 1);
    EXPECT_EQ(vmx.err, errorLines({"VT-x is not available (VERR_VMX_NO_VMX)",
                                   "Details: code NS_ERROR_FAILURE (0x80004005), component "
                                   "ConsoleWrap, interface IConsole"}));
    const ToolRun svm = host.vbox({"startvm", "phone", "--type", "headless"});
    EXPECT_EQ(svm.exitCode, 1);
    EXPECT_TRUE(svm.err.contains("(VERR_SVM_DISABLED)"));
    EXPECT_TRUE(host.vbox({"showvminfo", "phone"}).out.contains("powered off (since"));

    // Locked for two attempts, then the change goes through.
    EXPECT_EQ(host.vbox({"modifyvm", "phone", "--memory", "1024"}).exitCode, 1);
    EXPECT_EQ(host.vbox({"modifyvm", "phone", "--memory", "1024"}).exitCode, 1);
    EXPECT_EQ(host.vbox({"modifyvm", "phone", "--memory", "1024"}).exitCode, 0);
    EXPECT_TRUE(host.vbox({"showvminfo", "phone"}).out.contains("Memory size:     1024MB"));

    const ToolRun create = host.vbox({"hostonlyif", "create"});
    EXPECT_EQ(create.exitCode, 1);
    EXPECT_EQ(create.out, "");
    EXPECT_TRUE(create.err.startsWith("0%...\nProgress state: NS_ERROR_FAILURE\n" +
                                      errorLines({"Failed to create the host-only adapter"})));

    // A failed clone removes its own copies and nothing else from the target folder.
    const QString deploy = host.path("deploy");
    QDir().mkpath(deploy + "/full");
    QFile keep(deploy + "/full/notes.txt");
    ASSERT_TRUE(keep.open(QIODevice::WriteOnly));
    keep.close();
    const ToolRun clone = host.vbox({"clonevm", "phone", "--mode", "all", "--name", "full",
                                     "--register", "--basefolder", deploy});
    EXPECT_EQ(clone.exitCode, 1);
    EXPECT_TRUE(clone.err.contains("VBoxManage: error: Clone VM failed\n"));
    EXPECT_TRUE(clone.err.contains("(VERR_DISK_FULL)"));
    EXPECT_EQ(filesIn(deploy + "/full"), QStringList{"notes.txt"});
    EXPECT_EQ(host.vbox({"showvminfo", "full"}).exitCode, 1);

    const QString sd = host.path("sd.vdi");
    const ToolRun full = host.vbox({"createhd", "--filename", sd, "--size", "8"});
    EXPECT_EQ(full.exitCode, 1);
    EXPECT_TRUE(full.err.contains("(VERR_DISK_FULL)."));
    EXPECT_FALSE(QFileInfo::exists(sd));
    EXPECT_EQ(host.vbox({"createhd", "--filename", sd, "--size", "8"}).exitCode, 0);

    const ToolRun hostinfo = host.vbox({"list", "hostinfo"});
    EXPECT_EQ(hostinfo.exitCode, 3);
    EXPECT_EQ(hostinfo.err, errorLines({"no host"}));
    EXPECT_EQ(host.vbox({"list", "vms"}).exitCode, 0);
}

TEST(SimulatorCommands, ConcurrentRunsLoseNoChange)
{
    SimHost host;
    host.importSample("phone");
    QList<QProcess *> processes;
    for (int i = 0; i < 8; ++i) {
        auto *process = new QProcess;
        process->setProcessEnvironment(host.environment());
        process->start(
            SimHost::program("VBoxManage"),
            {"guestproperty", "set", "phone", QStringLiteral("key_%1").arg(i), QString::number(i)});
        processes.append(process);
    }
    for (QProcess *process : processes) {
        EXPECT_TRUE(process->waitForFinished(30000));
        EXPECT_EQ(process->exitCode(), 0);
        delete process;
    }
    const QString all = host.vbox({"guestproperty", "enumerate", "phone"}).out;
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(all.contains(QStringLiteral("Name: key_%1, value: %1, ").arg(i))) << i;
}

TEST(SimulatorCommands, IpReportsInjectedLinkDownAndFailures)
{
    SimHost host;
    host.vbox({"hostonlyif", "create"});
    host.setFaults("ip/addr down vm=vboxnet0 count=1\nip/route fail exit=2\n");
    const ToolRun down = host.ip({"addr", "show", "dev", "vboxnet0"});
    EXPECT_EQ(down.exitCode, 0);
    EXPECT_TRUE(down.out.contains("<BROADCAST,MULTICAST> mtu 1500 qdisc pfifo_fast state DOWN "));
    EXPECT_TRUE(host.ip({"addr", "show", "dev", "vboxnet0"}).out.contains(" state UP "));
    const ToolRun route = host.ip({"route"});
    EXPECT_EQ(route.exitCode, 2);
    EXPECT_EQ(route.err, "RTNETLINK answers: Operation not permitted\n");
    EXPECT_EQ(host.ip({"link"}).exitCode, 255);
}

TEST(SimulatorCommands, ImportDryRunAndIgnoredUnitsTouchNothingTheyShouldNot)
{
    SimHost host;
    const ToolRun dry = host.vbox({"import", VBOXSIM_SAMPLE_OVA, "--dry-run"});
    EXPECT_EQ(dry.exitCode, 0);
    EXPECT_TRUE(dry.out.contains(" 1: Suggested VM name \"Android\"\n"));
    EXPECT_FALSE(dry.out.contains("Successfully imported"));
    EXPECT_EQ(host.vbox({"list", "vms"}).out, "");

    const ToolRun ignored =
        host.vbox({"import", VBOXSIM_SAMPLE_OVA, "--vsys", "0", "--unit", "12", "--ignore"});
    EXPECT_EQ(ignored.exitCode, 0);
    const QString info = host.vbox({"showvminfo", "Android"}).out;
    EXPECT_TRUE(info.contains("IDEController (0, 1): "));
    EXPECT_FALSE(info.contains("IDEController (1, 0): "));
    EXPECT_FALSE(QFileInfo::exists(host.home() + "/VirtualBox VMs/Android/Android-disk003.vmdk"));
}

TEST(SimulatorCommands, ASlowCommandDoesNotHoldUpOthers)
{
    SimHost host;
    host.setFaults("list/vms slow ms=20000 count=1\n");
    QProcess slow;
    slow.setProcessEnvironment(host.environment());
    slow.start(SimHost::program("VBoxManage"), {"list", "vms"});
    ASSERT_TRUE(slow.waitForStarted());
    // The slow run has taken its fault (and so the lock) once its use shows up on disk.
    for (int i = 0; i < 200 && !QFileInfo::exists(host.home() + "/fault-uses.json"); ++i)
        QThread::msleep(20);
    const ToolRun created = host.vbox({"hostonlyif", "create"});
    EXPECT_EQ(created.exitCode, 0);
    EXPECT_EQ(slow.state(), QProcess::Running);
    slow.kill();
    slow.waitForFinished();
}
