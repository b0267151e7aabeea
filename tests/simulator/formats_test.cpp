// What changes when the stand-in prints the VirtualBox 6.1 and 7.1 formats.
#include "simhost.h"

TEST(SimulatorFormats, AFreshHostInEachVersion)
{
    const QList<QPair<QString, QString>> versions = {
        {"5.2", "5.2.44r139111\n"}, {"6.1", "6.1.50r161033\n"}, {"7.1", "7.1.6r167084\n"}};
    for (const auto &[version, versionText] : versions) {
        SCOPED_TRACE(version.toStdString());
        SimHost host(version);
        expectRuns(
            host,
            {{"--version", 0, versionText, OutIs},
             {"list vms", 0, "", OutIs},
             {"list hostonlyifs", 0, "", OutIs},
             {"list dhcpservers", 0, "", OutIs},
             {"list bridgedifs", 0, "Name:            eth0\n", OutHas},
             {"list systemproperties", 0,
              "\nDefault machine folder:          " + host.home() + "/VirtualBox VMs\n", OutHas}});
        expectContains(host.vbox({"list", "hostinfo"}).out,
                       {"\nProcessor online count: 8\n", "\nProcessor online core count: 4\n",
                        "\nMemory size: 16384 MByte\n"});
    }
}

TEST(SimulatorFormats, DhcpListingChangedIn61)
{
    for (const QString version : {"6.1", "7.1"}) {
        SCOPED_TRACE(version.toStdString());
        SimHost host(version);
        host.addHostOnlyNetwork();
        // The fields the plug-in looks for, in their new order and spelling.
        EXPECT_TRUE(host.vbox({"list", "dhcpservers"})
                        .out.startsWith("NetworkName:    HostInterfaceNetworking-vboxnet0\n"
                                        "Dhcpd IP:       192.168.56.100\n"
                                        "LowerIPAddress: 192.168.56.101\n"
                                        "UpperIPAddress: 192.168.56.254\n"
                                        "NetworkMask:    255.255.255.0\n"
                                        "Enabled:        Yes\n"));
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
    ASSERT_EQ(v61.importSample("phone").exitCode, 0);
    // Units 10 to 12 are no disks any more, so "--disk" there is ignored.
    const QString sdCard = v61.home() + "/VirtualBox VMs/phone/Android-disk003.vmdk";
    EXPECT_FALSE(QFileInfo::exists(v61.path("vms/phone/sdcard.vmdk")));
    EXPECT_TRUE(QFileInfo::exists(sdCard));

    const QString info61 = v61.vbox({"showvminfo", "phone", "--details"}).out;
    EXPECT_TRUE(info61.startsWith("Name:                        phone\n"));
    expectContains(
        info61,
        {"\nMemory size:                 2048MB\n", "\nNumber of CPUs:              2\n",
         "\nState:                       powered off (since ",
         "\nNIC 2:                       MAC: ", "\nNIC 3:                       disabled\n",
         "\nIDEController (1, 0): " + sdCard + " (UUID: "});

    // Host-only addresses must now lie in 192.168.56.0/21; 5.2 took any.
    v61.vbox({"hostonlyif", "create"});
    expectRuns(v61, {{"hostonlyif ipconfig vboxnet0 --ip 10.0.0.1", 1,
                      errorLines({"Code E_ACCESSDENIED (0x80070005) - Access denied (extended "
                                  "info not available)"})},
                     {"hostonlyif ipconfig vboxnet0 --ip 192.168.63.1", 0}});
}

TEST(SimulatorFormats, From71StorageLinesAndGuestPropertiesLookDifferent)
{
    SimHost host("7.1");
    host.importSample("phone");
    const QString info71 = host.vbox({"showvminfo", "phone", "--details"}).out;
    EXPECT_TRUE(info71.startsWith("Name:                        phone\n"));
    EXPECT_TRUE(info71.contains("\nNumber of CPUs:              2\n"));
    EXPECT_TRUE(QRegularExpression("\\n  Port 1, Unit 0: UUID: [a-f0-9-]{36}\\n    Location: "
                                   "\"[^\"]*/Android-disk003.vmdk\"\\n")
                    .match(info71)
                    .hasMatch());
    EXPECT_FALSE(info71.contains("IDEController (1, 0)"));

    host.vbox({"guestproperty", "set", "phone", "a_first", "x", "--flags", "TRANSIENT"});
    const QString listing = host.vbox({"guestproperty", "enumerate", "phone"}).out;
    // Sorted by name, name padded to the longest one, the value in quotes, then the time.
    EXPECT_TRUE(QRegularExpression("^a_first +  = 'x' +@ \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:"
                                   "\\d\\d\\.\\d{3}Z TRANSIENT\\n")
                    .match(listing)
                    .hasMatch())
        << qPrintable(listing);
    EXPECT_TRUE(listing.contains(
        "\nvbox_graph_mode           = '768x1280-16'   @ 2023-11-14T22:13:20.000Z\n"));

    host.setFaults("hostonlyif/create fail\n");
    expectRuns(host, {{"hostonlyif create", 1,
                       "0%...NS_ERROR_FAILURE\nVBoxManage: error: Failed to create the host-only "
                       "adapter\n"}});
}
