// What changes when the stand-in prints the VirtualBox 6.1 and 7.1 formats.
#include "simhost.h"

TEST(SimulatorFormats, AFreshHostInEachVersion)
{
    const QList<QPair<QString, QString>> versions = {
        {"5.2", "5.2.44r139111\n"}, {"6.1", "6.1.50r161033\n"}, {"7.1", "7.1.6r167084\n"}};
    for (const auto &[version, versionText] : versions) {
        SCOPED_TRACE(version.toStdString());
        SimHost host(version);
        EXPECT_EQ(host.vbox({"--version"}).out, versionText);
        const ToolRun vms = host.vbox({"list", "vms"});
        EXPECT_EQ(vms.exitCode, 0);
        EXPECT_EQ(vms.out + host.vbox({"list", "hostonlyifs"}).out +
                      host.vbox({"list", "dhcpservers"}).out,
                  "");
        const QString bridged = host.vbox({"list", "bridgedifs"}).out;
        EXPECT_TRUE(bridged.startsWith("Name:            eth0\n"));
        EXPECT_TRUE(bridged.endsWith("VBoxNetworkName: HostInterfaceNetworking-eth0\n\n"));

        const QString info = host.vbox({"list", "hostinfo"}).out;
        EXPECT_TRUE(info.startsWith("Host Information:\n\nHost time: "));
        expectContains(info, {"\nProcessor online count: 8\n", "\nProcessor online core count: 4\n",
                              "\nMemory size: 16384 MByte\n"});
        EXPECT_EQ(info.contains("Processor supports nested HW virtualization: "), version != "5.2");
        EXPECT_EQ(info.contains("Processor supports virt. vmsave/vmload: "), version == "7.1");
        const QString properties = host.vbox({"list", "systemproperties"}).out;
        EXPECT_TRUE(properties.contains("\nDefault machine folder:          " + host.home() +
                                        "/VirtualBox VMs\n"));
        EXPECT_EQ(properties.contains("Proxy Mode:"), version != "5.2");
        EXPECT_EQ(properties.contains("x86 platform properties:"), version == "7.1");
    }
}

TEST(SimulatorFormats, DhcpListingChangedIn61)
{
    for (const QString version : {"6.1", "7.1"}) {
        SCOPED_TRACE(version.toStdString());
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
                  "Individual Configs:   None\n");
        // A missing server is now a plain failure naming the network.
        host.vbox({"hostonlyif", "create"});
        expectRuns(host, {{"dhcpserver remove --ifname vboxnet1", 1,
                           errorLines({"Failed to find DHCP server for host-only interface "
                                       "'vboxnet1' (network 'HostInterfaceNetworking-vboxnet1')"}),
                           ErrIs}});
    }
}

TEST(SimulatorFormats, From61ImportRenumbersUnitsLabelsWidenAndHostOnlyAddressesAreRestricted)
{
    SimHost v61("6.1");
    const ToolRun imported = v61.importSample("phone");
    ASSERT_EQ(imported.exitCode, 0);
    const QString folder = v61.home() + "/VirtualBox VMs/phone/";
    expectContains(imported.out,
                   {"\n 2: Suggested VM group \"/\"\n",
                    "\n 3: Suggested VM settings file name \"" + folder + "phone.vbox\"\n",
                    "\n15: Hard disk image: source image=Android-disk003.vmdk, "
                    "target path=" +
                        folder + "Android-disk003.vmdk, controller=12;port=0\n"});
    // Units 10 to 12 are no disks any more, so "--disk" there is ignored.
    EXPECT_FALSE(QFileInfo::exists(v61.path("vms/phone/sdcard.vmdk")));
    EXPECT_TRUE(QFileInfo::exists(folder + "Android-disk003.vmdk"));

    const QString info61 = v61.vbox({"showvminfo", "phone", "--details"}).out;
    EXPECT_TRUE(info61.startsWith("Name:                        phone\nGroups:"));
    expectContains(
        info61,
        {"\nMemory size:                 2048MB\n", "\nNumber of CPUs:              2\n",
         "\nHPET:                        disabled\n", "\nBoot Device 1:               HardDisk\n",
         "\nState:                       powered off (since ",
         "\nGraphics Controller:         VMSVGA\n", "\nNIC 3:                       disabled\n",
         "\nNIC 2:                       MAC: "});
    EXPECT_TRUE(QRegularExpression("\\nIDEController \\(1, 0\\): .*/Android-disk003.vmdk \\(UUID: "
                                   "[a-f0-9-]{36}\\)\\n")
                    .match(info61)
                    .hasMatch());

    // Host-only addresses must now lie in 192.168.56.0/21; 5.2 took any.
    v61.vbox({"hostonlyif", "create"});
    expectRuns(v61, {{"hostonlyif ipconfig vboxnet0 --ip 10.0.0.1", 1,
                      errorLines({"Code E_ACCESSDENIED (0x80070005) - Access denied (extended "
                                  "info not available)"})},
                     {"hostonlyif ipconfig vboxnet0 --ip 192.168.63.1", 0}});
}

TEST(SimulatorFormats, From71StorageLinesGuestPropertiesAndSnapshotsLookDifferent)
{
    SimHost host("7.1");
    host.importSample("phone");
    const QString info71 = host.vbox({"showvminfo", "phone", "--details"}).out;
    EXPECT_TRUE(info71.startsWith("Name:                        phone\n"
                                  "Encryption:                  disabled\n"
                                  "Groups:                      /\n"
                                  "Platform Architecture:       x86\n"));
    expectContains(info71, {"\nStorage Controllers:\n#0: 'IDEController', Type: PIIX4, "
                            "Instance: 0, Ports: 2 (max 2), Bootable\n",
                            "\nNumber of CPUs:              2\n"
                            "HPET:                        disabled\n",
                            "\n* Guest:\nConfigured memory balloon:   0MB\n"});
    EXPECT_TRUE(QRegularExpression("\\n  Port 1, Unit 0: UUID: [a-f0-9-]{36}\\n    Location: "
                                   "\"[^\"]*/Android-disk003.vmdk\"\\n")
                    .match(info71)
                    .hasMatch());
    EXPECT_FALSE(info71.contains("IDEController (1, 0)"));

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

    host.setFaults("hostonlyif/create fail\n");
    expectRuns(host, {{"hostonlyif create", 1,
                       "0%...NS_ERROR_FAILURE\nVBoxManage: error: Failed to create the host-only "
                       "adapter\n"}});
}
