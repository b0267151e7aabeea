// SPDX-License-Identifier: Apache-2.0
// What changes when the stand-in prints the formats of VirtualBox 6.0 to 7.2.
#include "simhost.h"

TEST(SimulatorFormats, From70MessagesFollowTheLanguageOfTheEnvironment)
{
    struct Version
    {
        QString version;
        QList<QPair<QString, QString>> variables; // a null value unsets the variable
        bool russian;
    };
    // LC_ALL, then LC_MESSAGES, then LANG; the first that is set and not empty counts.
    const QList<Version> versions = {
        {"7.0", {{"LC_ALL", "ru_RU.UTF-8"}}, true},
        {"7.1", {{"LC_ALL", ""}, {"LC_MESSAGES", "ru_RU.UTF-8"}, {"LANG", "C.UTF-8"}}, true},
        {"6.1", {{"LC_ALL", "ru_RU.UTF-8"}}, false},
        {"7.1", {{"LC_ALL", QString()}, {"LC_MESSAGES", "C"}, {"LANG", "ru_RU.UTF-8"}}, false}};
    for (const Version &v : versions) {
        SCOPED_TRACE(v.version.toStdString() + (v.russian ? " ru" : " en"));
        SimHost host(v.version);
        for (const auto &[name, value] : v.variables)
            host.setVariable(name, value);
        host.importSample("phone");
        const bool ru = v.russian;
        expectRuns(host, {{"hostonlyif create", 0,
                           ru ? "Интерфейс 'vboxnet0' успешно создан\n"
                              : "Interface 'vboxnet0' was successfully created\n",
                           OutIs},
                          {"list systemproperties", 0,
                           (ru ? "\nПапка машины по умолчанию:          "
                               : "\nDefault machine folder:          ") +
                               host.home() + "/VirtualBox VMs\n",
                           OutHas},
                          {"guestproperty get phone nothing", 0,
                           ru ? "Не задано какое-либо значение!\n" : "No value set!\n", OutIs},
                          // Cyrillic labels are padded by characters, not bytes.
                          {"showvminfo phone", 0,
                           ru ? "\nСостояние:                   выключена (с "
                              : "\nState:                       powered off (since ",
                           OutHas}});
    }
}

TEST(SimulatorFormats, DhcpServersPerVersion)
{
    const QString v61Listing = "NetworkName:    HostInterfaceNetworking-vboxnet0\n"
                               "Dhcpd IP:       192.168.56.100\n"
                               "LowerIPAddress: 192.168.56.101\n"
                               "UpperIPAddress: 192.168.56.254\n"
                               "NetworkMask:    255.255.255.0\n"
                               "Enabled:        Yes\n";
    const QString v61Missing = "Failed to find DHCP server for host-only interface 'vboxnet1' "
                               "(network 'HostInterfaceNetworking-vboxnet1')";
    const QString newSpelling = "dhcpserver add --interface=vboxnet1 --server-ip=192.168.57.100 "
                                "--netmask=255.255.255.0 --lower-ip=192.168.57.101 "
                                "--upper-ip=192.168.57.254 --enable";
    const QList<Expected> v61 = {
        {"list dhcpservers", 0, v61Listing, OutHas},
        {"dhcpserver remove --ifname vboxnet1", 1, errorLines({v61Missing}), ErrIs}};
    // 6.0 lists the 5.2 fields and the mask as global option; 6.1 rewrote the listing, the
    // option names (the old ones still work, the network may come first) and the messages.
    const QList<QPair<QString, QList<Expected>>> versions = {
        {"6.0",
         {{"list dhcpservers", 0,
           "NetworkName:    HostInterfaceNetworking-vboxnet0\nIP:             192.168.56.100\n"
           "NetworkMask:    255.255.255.0\nlowerIPAddress: 192.168.56.101\n"
           "upperIPAddress: 192.168.56.254\nEnabled:        Yes\nGlobal options:\n"
           "   1:255.255.255.0\n\n",
           OutIs},
          {newSpelling, 2, "VBoxManage: error: Unknown option: --interface=vboxnet1\n"},
          {"dhcpserver remove --ifname vboxnet1", 2, errorLines({"DHCP server does not exist"}),
           ErrIs}}},
        {"6.1",
         v61 +
             QList<Expected>{
                 {"dhcpserver --interface vboxnet1 remove", 1, errorLines({v61Missing}), ErrIs},
                 {newSpelling, 0},
                 {"list dhcpservers", 0,
                  "\nGroups:               None\nIndividual Configs:   None\n\n", OutHas}}},
        {"7.0", v61},
        {"7.1", v61},
        {"7.2", v61}};
    for (const auto &[version, runs] : versions) {
        SCOPED_TRACE(version.toStdString());
        SimHost host(version);
        host.addHostOnlyNetwork();
        host.vbox({"hostonlyif", "create"});
        expectRuns(host, runs);
    }
}

TEST(SimulatorFormats, From60ImportRenumbersUnitsAndLabelsWiden)
{
    struct Version
    {
        QString version;
        QString memoryLine;
        QString diskItemTail;   // of the third disk's item in a dry run
        int outsideAddressExit; // of an address outside 192.168.56.0/21
        QString removeContext;  // of removing a missing interface
    };
    const QList<Version> versions = {
        {"6.0", "\nMemory size                  2048MB\n",
         "controller=12;channel=0\n    (change target path with \"--vsys 0 --unit 15 --disk "
         "path\";\n    disable with \"--vsys 0 --unit 15 --ignore\")\n",
         0, "at line 139 of file VBoxManageHostonly.cpp\n"},
        {"6.1", "\nMemory size:                 2048MB\n",
         "controller=12;port=0\n    (change target path with \"--vsys 0 --unit 15 --disk path\";\n"
         "    change controller with \"--vsys 0 --unit 15 --controller <index>\";\n",
         1, "at line 140 of file VBoxManageHostonly.cpp\n"}};
    for (const Version &v : versions) {
        SCOPED_TRACE(v.version.toStdString());
        SimHost host(v.version);
        ASSERT_EQ(host.importSample("phone").exitCode, 0);
        // Units 10 to 12 are no disks any more, so "--disk" there is ignored.
        const QString sdCard = host.home() + "/VirtualBox VMs/phone/android_sdcard_disk.vmdk";
        EXPECT_FALSE(QFileInfo::exists(host.path("vms/phone/sdcard.vmdk")));
        EXPECT_TRUE(QFileInfo::exists(sdCard));

        const QString info = host.vbox({"showvminfo", "phone", "--details"}).out;
        EXPECT_TRUE(info.startsWith("Name:                        phone\n"));
        expectContains(info, {v.memoryLine, "\nNumber of CPUs:              2\n",
                              "\nState:                       powered off (since ",
                              "\nNIC 2:                       MAC: ",
                              "\nNIC 3:                       disabled\n",
                              "\nIDEController (1, 0): " + sdCard + " (UUID: "});

        // Host-only addresses must lie in 192.168.56.0/21 from 6.1.28 on.
        host.vbox({"hostonlyif", "create"});
        expectRuns(host,
                   {{"import " VBOXSIM_SAMPLE_OVA " --dry-run", 0,
                     "\n15: Hard disk image: source image=android_sdcard_disk.vmdk, target path=" +
                         host.home() + "/VirtualBox VMs/Android/android_sdcard_disk.vmdk, " +
                         v.diskItemTail,
                     OutHas},
                    {"hostonlyif ipconfig vboxnet0 --ip 10.0.0.1", v.outsideAddressExit,
                     v.outsideAddressExit == 0
                         ? QString()
                         : errorLines({"Code E_ACCESSDENIED (0x80070005) - Access denied "
                                       "(extended info not available)"})},
                    {"hostonlyif ipconfig vboxnet0 --ip 192.168.63.1", 0},
                    {"hostonlyif remove vboxnet9", 1, v.removeContext},
                    {"guestproperty enumerate phone --old-format", 2, "Incorrect parameters"}});
    }
}

TEST(SimulatorFormats, From70StorageLinesAndGuestPropertiesLookDifferent)
{
    // 7.0 prints the encryption line unaligned and HPET before CPUProfile; 7.1 aligns it,
    // adds the platform and moves HPET below the CPU count.
    const QList<QPair<QString, QStringList>> versions = {
        {"7.0",
         {"Name:                        phone\nEncryption:     disabled\n"
          "Groups:                      /\nGuest OS:",
          "\nHPET:                        disabled\nCPUProfile:"}},
        {"7.1",
         {"Name:                        phone\nEncryption:                  disabled\n"
          "Groups:                      /\nPlatform Architecture:       x86\nGuest OS:",
          "\nNumber of CPUs:              2\nHPET:"}},
        {"7.2",
         {"Name:                        phone\nEncryption:                  disabled\n"
          "Groups:                      /\nPlatform Architecture:       x86\nGuest OS:",
          "\nNIC 2 Settings:\n\tMTU: 0, Socket (send: 64, receive: 64), TCP Window (send:64, "
          "receive: 64),\n\tLocalhostReachable: 1, ForwardBroadcast: 0, EnableTFTP: 0\nNIC 3:"}}};
    for (const auto &[version, head] : versions) {
        SCOPED_TRACE(version.toStdString());
        SimHost host(version);
        host.importSample("phone");
        const QString info = host.vbox({"showvminfo", "phone", "--details"}).out;
        EXPECT_TRUE(info.startsWith(head[0])) << qPrintable(info);
        expectContains(info, {head[1], "\nNumber of CPUs:              2\n"});
        EXPECT_TRUE(QRegularExpression("\\n  Port 1, Unit 0: UUID: [a-f0-9-]{36}\\n    Location: "
                                       "\"[^\"]*/android_sdcard_disk.vmdk\"\\n")
                        .match(info)
                        .hasMatch());
        EXPECT_FALSE(info.contains("IDEController (1, 0)"));

        host.vbox(
            {"guestproperty", "set", "phone", "a_first", "J's 'x' @ y'", "--flags", "TRANSIENT"});
        host.vbox({"guestproperty", "set", "phone", "a_none", ""});
        const QString listing = host.vbox({"guestproperty", "enumerate", "phone"}).out;
        // Sorted by name, name padded to the longest one, the value in quotes (unescaped, as
        // VirtualBox prints it), then the time.
        const QString time = "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z";
        EXPECT_TRUE(QRegularExpression("^a_first +  = 'J's 'x' @ y'' +@ " + time +
                                       " TRANSIENT\\na_none +  = '' +@ " + time + "\\n")
                        .match(listing)
                        .hasMatch())
            << qPrintable(listing);
        EXPECT_EQ(host.vbox({"guestproperty", "get", "phone", "a_first"}).out,
                  "Value: J's 'x' @ y'\n");
        EXPECT_EQ(host.vbox({"guestproperty", "get", "phone", "a_none"}).out, "No value set!\n");
        EXPECT_TRUE(listing.contains(
            "\nvbox_graph_mode           = '768x1280-16'   @ 2023-11-14T22:13:20.000Z\n"));
        expectRuns(host, {{"guestproperty enumerate phone --old-format", 0,
                           "\nName: android_version, value: 8.0, timestamp: 1700000000000000000, "
                           "flags: \nName: build_version_release, value: 8.0, timestamp: ",
                           OutHas}});

        host.setFaults("hostonlyif/create fail\n");
        expectRuns(host,
                   {{"hostonlyif create", 1,
                     "0%...NS_ERROR_FAILURE\n" +
                         errorLines({"Failed to create the host-only adapter",
                                     "VBoxNetAdpCtl: Error while adding new interface: failed to "
                                     "open /dev/vboxnetctl: No such file or directory",
                                     "Details: code NS_ERROR_FAILURE (0x80004005), component "
                                     "HostNetworkInterfaceWrap, interface IHostNetworkInterface",
                                     "Context: \"RTEXITCODE handleCreate(HandlerArg*)\" at line "
                                     "105 of file VBoxManageHostonly.cpp"}),
                     ErrIs}});
    }
}

namespace {

// The labels of showvminfo in order, without their values.
QStringList labels(const QString &info)
{
    QStringList result;
    for (const QString &line : info.split('\n'))
        result.append(line.left(line.indexOf(':') + 1));
    return result;
}

// The UUIDs of the differencing images that showvminfo lists in `snapshots`.
QStringList differencingImages(const QString &info, const QString &snapshots)
{
    const QRegularExpression image(
        "  Port \\d, Unit \\d: UUID: ([0-9a-f-]{36})\\n    Location: \"" +
        QRegularExpression::escape(snapshots) + "/\\{\\1\\}\\.vmdk\"\\n");
    QStringList uuids;
    for (auto it = image.globalMatch(info); it.hasNext();)
        uuids.append(it.next().captured(1));
    return uuids;
}

} // namespace

// The commands of scripts/record-vboxmanage.sh against the 7.2 profile, compared with what
// VirtualBox 7.2 printed for them: whole texts where nothing varies, else the labels.
TEST(SimulatorFormats, V72PrintsWhatTheRecordedVirtualBoxPrinted)
{
    SimHost host("7.2");
    host.addHostOnlyNetwork();
    const QString work = host.path("work");
    const QString deployed = work + "/deployed";
    const auto recorded = [&](const char *name) {
        QFile file(QStringLiteral(TEST_DATA_DIR "/7.2/") + name);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
        return QString::fromUtf8(file.readAll())
            .replace("/home/user/work", work)
            .replace("/home/user/VirtualBox VMs", host.home() + "/VirtualBox VMs");
    };
    QDir().mkpath(work);
    QFile bad(work + "/bad.ova");
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("not an appliance\n");
    bad.close();
    QString import = "import " VBOXSIM_SAMPLE_OVA " --vsys 0 --vmname phone --cpus 2 --memory 2048";
    int unit = 13;
    for (const char *disk : {"system", "data", "sdcard"})
        import += QString(" --vsys 0 --unit %1 --disk %2/phone/android_%3_disk.vmdk")
                      .arg(unit++)
                      .arg(deployed, disk);
    const QString clone =
        "clonevm phone --mode all --name copy --register --basefolder " + deployed;
    expectRuns(
        host,
        {{"import " VBOXSIM_SAMPLE_OVA " -n", 0, recorded("import-dry-run.txt"), OutIs},
         {"setproperty machinefolder " + deployed, 0},
         {import, 0, recorded("import.txt"), OutIs},
         {"snapshot phone list", 1, recorded("error-snapshot-list-none-stdout.txt"), OutIs},
         {"controlvm phone poweroff", 1, recorded("error-controlvm-not-running.txt"), ErrIs},
         {"showvminfo ghost", 1, recorded("error-showvminfo-missing.txt"), ErrIs},
         {"import " + work + "/bad.ova -n", 1, recorded("error-import-not-appliance.txt"), ErrIs}});
    const QString before = host.vbox({"showvminfo", "phone"}).out;
    EXPECT_EQ(labels(before), labels(recorded("machine-showvminfo.txt"))) << qPrintable(before);

    // The disks are written to differencing images once a snapshot holds them; a restore
    // replaces them with new ones.
    const QString snapshots = deployed + "/phone/Snapshots";
    host.vbox({"snapshot", "phone", "take", "factory-backup"});
    const QString after = host.vbox({"showvminfo", "phone"}).out;
    EXPECT_EQ(labels(after), labels(recorded("machine-showvminfo-after-snapshot.txt")))
        << qPrintable(after);
    const QStringList taken = differencingImages(after, snapshots);
    EXPECT_EQ(taken.size(), 3) << qPrintable(after);
    host.vbox({"snapshot", "phone", "restore", "factory-backup"});
    const QStringList restored =
        differencingImages(host.vbox({"showvminfo", "phone"}).out, snapshots);
    EXPECT_EQ(restored.size(), 3);
    for (const QString &uuid : taken)
        EXPECT_FALSE(restored.contains(uuid));
    EXPECT_EQ(QDir(snapshots).entryList(QDir::Files).size(), 3);

    expectRuns(host, {{clone + " --snapshot factory-backup", 0},
                      {clone, 1, recorded("error-clonevm-taken.txt"), ErrIs},
                      {"modifyvm copy --name phone", 1, recorded("error-rename-taken.txt"), ErrIs},
                      {"startvm copy --type headless", 0,
                       "Waiting for VM \"copy\" to power on...\n", OutHas}});

    // A base folder of one's own is listed and honoured, and disks placed with --disk keep
    // only the controller and port hints (from 6.1 on).
    const QString base = work + "/base";
    expectRuns(host, {{"import " VBOXSIM_SAMPLE_OVA " --vsys 0 --vmname other --basefolder " +
                           base + " --vsys 0 --unit 15 --disk " + work + "/sd.vmdk",
                       0,
                       "\n 4: VM base folder specified with --basefolder: \"" + base +
                           "\"\n 5: Number of CPUs: 2\n",
                       OutHas}});
    EXPECT_TRUE(QFileInfo::exists(base + "/other/other.vbox"));
    EXPECT_TRUE(QFileInfo::exists(base + "/other/android_system_disk.vmdk"));
}
