// What changes when the stand-in prints the VirtualBox 6.1 and 7.1 formats.
#include "simhost.h"

#include <gtest/gtest.h>

namespace {

QString importedInfo(SimHost &host)
{
    host.importSample("phone");
    return host.vbox({"showvminfo", "phone", "--details"}).out;
}

} // namespace

TEST(SimulatorFormats, VersionAndHostInformationFollowTheVersion)
{
    const QList<QPair<QString, QString>> versions = {
        {"5.2", "5.2.44r139111\n"}, {"6.1", "6.1.50r161033\n"}, {"7.1", "7.1.6r167084\n"}};
    for (const auto &version : versions) {
        SimHost host(version.first);
        EXPECT_EQ(host.vbox({"--version"}).out, version.second);
        const QString info = host.vbox({"list", "hostinfo"}).out;
        EXPECT_EQ(info.contains("Processor supports nested HW virtualization: "),
                  version.first != "5.2");
        EXPECT_EQ(info.contains("Processor supports virt. vmsave/vmload: "),
                  version.first == "7.1");
        EXPECT_TRUE(info.contains("\nMemory size: 16384 MByte\n")) << qPrintable(version.first);
        const QString properties = host.vbox({"list", "systemproperties"}).out;
        EXPECT_TRUE(properties.contains("\nDefault machine folder:          " + host.home()))
            << qPrintable(version.first);
        EXPECT_EQ(properties.contains("Proxy Mode:"), version.first != "5.2");
        EXPECT_EQ(properties.contains("x86 platform properties:"), version.first == "7.1");
    }
}

TEST(SimulatorFormats, ShowVmInfoUsesWideLabelsFrom61And7xStorageLines)
{
    SimHost v61("6.1");
    const QString info61 = importedInfo(v61);
    EXPECT_TRUE(info61.startsWith("Name:                        phone\nGroups:"));
    EXPECT_TRUE(info61.contains("\nMemory size:                 2048MB\n"));
    EXPECT_TRUE(info61.contains("\nNumber of CPUs:              2\n"));
    EXPECT_TRUE(info61.contains("\nHPET:                        disabled\n"));
    EXPECT_TRUE(info61.contains("\nBoot Device 1:               HardDisk\n"));
    EXPECT_TRUE(info61.contains("\nState:                       powered off (since "));
    EXPECT_TRUE(info61.contains("\nGraphics Controller:         VMSVGA\n"));
    EXPECT_TRUE(info61.contains("\nNIC 3:                       disabled\n"));
    EXPECT_TRUE(info61.contains("\nNIC 2:                       MAC: "));
    EXPECT_TRUE(QRegularExpression("\\nIDEController \\(1, 0\\): .*/Android-disk003.vmdk \\(UUID: "
                                   "[a-f0-9-]{36}\\)\\n")
                    .match(info61)
                    .hasMatch());

    SimHost v71("7.1");
    const QString info71 = importedInfo(v71);
    EXPECT_TRUE(info71.startsWith("Name:                        phone\n"
                                  "Encryption:                  disabled\n"
                                  "Groups:                      /\n"
                                  "Platform Architecture:       x86\n"));
    EXPECT_TRUE(info71.contains("\nStorage Controllers:\n#0: 'IDEController', Type: PIIX4, "
                                "Instance: 0, Ports: 2 (max 2), Bootable\n"));
    EXPECT_TRUE(QRegularExpression("\\n  Port 1, Unit 0: UUID: [a-f0-9-]{36}\\n    Location: "
                                   "\"[^\"]*/Android-disk003.vmdk\"\\n")
                    .match(info71)
                    .hasMatch());
    EXPECT_FALSE(info71.contains("IDEController (1, 0)"));
    EXPECT_TRUE(info71.contains("\nNumber of CPUs:              2\n"
                                "HPET:                        disabled\n"));
    EXPECT_TRUE(info71.contains("\n* Guest:\nConfigured memory balloon:   0MB\n"));
}

TEST(SimulatorFormats, DhcpListingChangedIn61)
{
    for (const QString version : {"6.1", "7.1"}) {
        SimHost host(version);
        host.addHostOnlyNetwork();
        EXPECT_EQ(host.vbox({"list", "dhcpservers"}).out,
                  "NetworkName:    HostInterfaceNetworking-vboxnet0\n"
                  "Dhcpd IP:       192.168.56.100\n"
                  "LowerIPAddress: 192.168.56.101\n"
                  "UpperIPAddress: 192.168.56.254\n"
                  "NetworkMask:    255.255.255.0\n"
                  "Enabled:        Yes\n"
                  "Global Configuration:\n"
                  "    minLeaseTime:     default\n"
                  "    defaultLeaseTime: default\n"
                  "    maxLeaseTime:     default\n"
                  "    Forced options:   None\n"
                  "    Suppressed opts.: None\n"
                  "        1/legacy: 255.255.255.0\n"
                  "Groups:               None\n"
                  "Individual Configs:   None\n")
            << qPrintable(version);
        // A missing server is now a plain failure naming the network.
        host.vbox({"hostonlyif", "create"});
        const ToolRun missing = host.vbox({"dhcpserver", "remove", "--ifname", "vboxnet1"});
        EXPECT_EQ(missing.exitCode, 1);
        EXPECT_EQ(missing.err,
                  "VBoxManage: error: Failed to find DHCP server for host-only "
                  "interface 'vboxnet1' (network 'HostInterfaceNetworking-vboxnet1')\n");
    }
}

TEST(SimulatorFormats, GuestPropertiesAndSnapshotsIn71)
{
    SimHost host("7.1");
    host.importSample("phone");
    host.vbox({"guestproperty", "set", "phone", "a_first", "x", "--flags", "TRANSIENT"});
    const QString listing = host.vbox({"guestproperty", "enumerate", "phone"}).out;
    const QStringList lines = listing.split('\n', Qt::SkipEmptyParts);
    ASSERT_FALSE(lines.isEmpty());
    // Sorted by name, name padded to the longest one, the value in quotes, then the time.
    EXPECT_TRUE(QRegularExpression("^a_first +  = 'x' +@ \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:"
                                   "\\d\\d\\.\\d{3}Z TRANSIENT$")
                    .match(lines.first())
                    .hasMatch())
        << qPrintable(lines.first());
    EXPECT_TRUE(listing.contains(
        "\nvbox_graph_mode           = '768x1280-16'   @ 2023-11-14T22:13:20.000Z\n"));
    const QString old = host.vbox({"guestproperty", "enumerate", "phone", "--old-format"}).out;
    EXPECT_TRUE(old.contains("Name: vbox_graph_mode, value: 768x1280-16, timestamp: "
                             "1700000000000000000, flags: \n"));

    host.vbox({"snapshot", "phone", "take", "factory-backup", "--description",
               "Initial snapshot to reset factory state"});
    const QString snapshots = host.vbox({"snapshot", "phone", "list"}).out;
    EXPECT_TRUE(snapshots.endsWith(") *\n   Description: Initial snapshot to reset factory "
                                   "state\n"));

    const QString failed = [&] {
        host.setFaults("hostonlyif/create fail\n");
        return host.vbox({"hostonlyif", "create"}).err;
    }();
    EXPECT_TRUE(failed.startsWith("0%...NS_ERROR_FAILURE\nVBoxManage: error: Failed to create "
                                  "the host-only adapter\n"));
}

TEST(SimulatorFormats, ImportRenumbersUnitsFrom61AndHostOnlyAddressesAreRestricted)
{
    SimHost v61("6.1");
    const ToolRun imported = v61.importSample("phone");
    ASSERT_EQ(imported.exitCode, 0);
    EXPECT_TRUE(imported.out.contains("\n 2: Suggested VM group \"/\"\n"));
    EXPECT_TRUE(imported.out.contains("\n 3: Suggested VM settings file name \"" + v61.home() +
                                      "/VirtualBox VMs/phone/phone.vbox\"\n"));
    EXPECT_TRUE(imported.out.contains("\n15: Hard disk image: source image=Android-disk003.vmdk, "
                                      "target path=" +
                                      v61.home() +
                                      "/VirtualBox VMs/phone/Android-disk003.vmdk, "
                                      "controller=12;port=0\n"));
    // Units 10 to 12 are no disks any more, so "--disk" there is ignored.
    EXPECT_FALSE(QFileInfo::exists(v61.path("vms/phone/sdcard.vmdk")));
    EXPECT_TRUE(QFileInfo::exists(v61.home() + "/VirtualBox VMs/phone/Android-disk003.vmdk"));

    v61.vbox({"hostonlyif", "create"});
    const ToolRun denied = v61.vbox({"hostonlyif", "ipconfig", "vboxnet0", "--ip", "10.0.0.1"});
    EXPECT_EQ(denied.exitCode, 1);
    EXPECT_EQ(denied.err, "VBoxManage: error: Code E_ACCESSDENIED (0x80070005) - Access denied "
                          "(extended info not available)\nVBoxManage: error: Context: "
                          "\"EnableStaticIPConfig(Bstr(pszIp).raw(), Bstr(pszNetmask).raw())\" at "
                          "line 242 of file VBoxManageHostonly.cpp\n");
    EXPECT_EQ(v61.vbox({"hostonlyif", "ipconfig", "vboxnet0", "--ip", "192.168.63.1"}).exitCode, 0);

    SimHost v52;
    v52.vbox({"hostonlyif", "create"});
    EXPECT_EQ(v52.vbox({"hostonlyif", "ipconfig", "vboxnet0", "--ip", "10.0.0.1"}).exitCode, 0);
}
