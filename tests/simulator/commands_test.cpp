// SPDX-License-Identifier: Apache-2.0
// The stand-in's commands in the VirtualBox 5.2 formats, each test against a fresh host.
#include "simhost.h"

#include <csignal>

TEST(SimulatorCommands, HostOnlyInterfacesAndDhcpServers)
{
    SimHost host;
    const QString add = "dhcpserver add --ifname vboxnet0 --ip 192.168.56.100 --netmask "
                        "255.255.255.0 --lowerip 192.168.56.101 --upperip 192.168.56.254 --enable";
    expectRuns(
        host, {{"hostonlyif create", 0, "Interface 'vboxnet0' was successfully created\n", OutIs},
               {"hostonlyif create", 0, "Interface 'vboxnet1' was successfully created\n", OutIs},
               // The plug-in reads vboxnet0's record in SimulatorLifecycle; the next one has a
               // subnet of its own, and its new address shows in the routes the plug-in reads.
               {"list hostonlyifs", 0,
                "IPAddress:       192.168.57.1\nNetworkMask:     255.255.255.0\n", OutHas},
               {"hostonlyif ipconfig vboxnet1 --ip 10.9.8.1 --netmask 255.255.0.0", 0},
               {"ip route", 0, "\n192.168.56.0/24 dev vboxnet0 proto kernel", OutHas},
               {"ip route", 0, "\n10.9.0.0/16 dev vboxnet1 proto kernel", OutHas},
               {add, 0},
               {"list dhcpservers", 0,
                "NetworkName:    HostInterfaceNetworking-vboxnet0\nIP:             192.168.56.100\n"
                "NetworkMask:    255.255.255.0\nlowerIPAddress: 192.168.56.101\n"
                "upperIPAddress: 192.168.56.254\nEnabled:        Yes\n\n",
                OutIs},
               {add, 2, errorLines({"DHCP server already exists"}), ErrIs},
               // Removing the interface takes its DHCP server with it.
               {"hostonlyif remove vboxnet0", 0},
               {"hostonlyif remove vboxnet0", 1,
                errorLines({"The host network interface named 'vboxnet0' could not be found"})},
               {"list dhcpservers", 0, "", OutIs},
               {"ip addr show dev vboxnet0", 1, "Device \"vboxnet0\" does not exist.\n", ErrIs},
               {"dhcpserver remove --ifname vboxnet0", 2,
                errorLines({"DHCP server does not exist"}), ErrIs},
               {QString(add).replace("vboxnet0", "vboxnet7"), 2,
                "Could not find interface 'vboxnet7'\n"}});
}

TEST(SimulatorCommands, ImportReadsVirtualBoxsOwnExportAndRefusesBrokenOnes)
{
    SimHost host;
    ASSERT_EQ(host.importSample("phone").exitCode, 0);
    // The same name again collides with the settings file; a missing file cannot be read; a
    // dry run imports nothing.
    const ToolRun twice = host.importSample("phone");
    EXPECT_EQ(twice.exitCode, 1);
    EXPECT_TRUE(twice.err.contains("error: Machine settings file '")) << qPrintable(twice.err);
    // VirtualBox's own export ends after the last member, without tar's zero blocks; its
    // machine section names the controller and holds the properties. One byte less is cut.
    const QString real = TEST_DATA_DIR "/7.2/exported.ova";
    const QString cut = host.path("cut.ova");
    QFile::copy(real, cut);
    QFile::resize(cut, QFileInfo(real).size() - 1);
    expectRuns(
        host, {{"import " + host.path("nothing.ova"), 1, errorLines({"Appliance read failed"})},
               {"import " VBOXSIM_SAMPLE_OVA " --dry-run", 0,
                "  vmdisk3\t2097152\t-1\thttp://www.vmware.com/interfaces/specifications/"
                "vmdk.html#streamOptimized\tandroid_sdcard_disk.vmdk\t70656\t-1\t\n",
                OutHas},
               {"import " + real + " --vsys 0 --vmname real", 0},
               {"showvminfo real", 0,
                "\nIDEController (1, 0): " + host.home() + "/VirtualBox VMs/real/tiny-disk001.vmdk",
                OutHas},
               {"guestproperty get real product_model", 0, "Value: Real Phone\n", OutIs},
               {"import " + cut + " -n", 1,
                errorLines({"Appliance read failed",
                            "Error reading OVA '" + cut + "' (VERR_TAR_UNEXPECTED_EOS)"})}});
    EXPECT_EQ(host.vbox({"list", "vms"}).out.count('\n'), 2);
}

TEST(SimulatorCommands, RunningUnknownAndMisconfiguredMachinesAreRefusedAsVirtualBoxDoes)
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
    host.addHostOnlyNetwork();
    host.importSample("phone");
    const QString locked =
        "The machine 'phone' is already locked for a session (or being unlocked)";
    const QString ghost = errorLines({"Could not find a registered machine named 'ghost'"});
    expectRuns(
        host,
        {{"showvminfo", 1, "Usage:", OutHas},
         {"frobnicate", 2, "VBoxManage: error: Invalid command 'frobnicate'\n"},
         // Adapter 1 on an interface that is gone: the start fails and the machine stays off.
         {"modifyvm phone --hostonlyadapter1 vboxnet4", 0},
         {"startvm phone --type headless", 1,
          "error: Failed to open/create the internal network 'HostInterfaceNetworking-vboxnet4' "
          "(VERR_INTNET_FLT_IF_NOT_FOUND)."},
         {"showvminfo phone", 0, "\nState:           powered off (since ", OutHas},
         {"modifyvm phone --hostonlyadapter1 vboxnet0", 0},
         {"startvm phone --type headless", 0},
         {"modifyvm phone --memory 1024", 1, errorLines({locked})},
         {"startvm phone", 1, errorLines({locked})},
         {"unregistervm phone --delete", 1},
         {"storageattach phone --storagectl IDEController --port 1 --device 0 --medium none", 1},
         {"controlvm phone pause", 0},
         {"showvminfo phone", 0, "\nState:           paused (since ", OutHas},
         {"showvminfo phone", 0, "\nMemory size:     2048MB\n", OutHas},
         {"controlvm phone resume", 0},
         {"controlvm phone resume", 1},
         {"controlvm phone poweroff", 0},
         {"controlvm phone poweroff", 1, errorLines({"Machine 'phone' is not currently running."}),
          ErrIs},
         {"showvminfo ghost", 1, ghost},
         // A stopped machine takes the changes; bad values are refused and change nothing.
         {"modifyvm phone --cpus 3", 0},
         {"modifyvm phone --nic1 unknown", 1,
          errorLines({"Invalid type 'unknown' specfied for NIC 1"}), ErrIs}});
    expectContains(host.vbox({"showvminfo", "phone"}).out,
                   {"\nNumber of CPUs:  3\n", "Attachment: Host-only Interface 'vboxnet0'"});
}

TEST(SimulatorCommands, NonAsciiArgumentsNeedAUtf8CharacterSet)
{
    const QString name = "Pixel Ω";
    // LC_ALL, then LC_CTYPE, then LANG: the first that is set and not empty counts.
    const QList<QPair<QList<QPair<QString, QString>>, int>> settings = {
        {{{"LC_ALL", "C"}, {"LC_CTYPE", "C.UTF-8"}}, 3},
        {{{"LC_ALL", QString()}}, 3},
        {{{"LC_ALL", QString()}, {"LC_CTYPE", "C.UTF-8"}, {"LANG", "C"}}, 1},
        {{{"LC_ALL", ""}, {"LANG", "en_US.utf8"}}, 1}};
    for (const auto &[variables, exitCode] : settings) {
        SimHost host;
        for (const auto &[variable, value] : variables)
            host.setVariable(variable, value);
        const ToolRun run = host.vbox({"showvminfo", name});
        EXPECT_EQ(run.exitCode, exitCode) << qPrintable(run.err);
        EXPECT_TRUE(run.err.startsWith(
            exitCode == 3 ? "VBoxManage: fatal error: RTR3Init: VERR_NO_TRANSLATION\n"
                          : errorLines({"Could not find a registered machine named 'Pixel Ω'"})))
            << qPrintable(run.err);
    }
}

TEST(SimulatorCommands, ExportWritesAnOvaThatImportsBack)
{
    SimHost host;
    host.importSample("phone");
    host.vbox({"guestproperty", "set", "phone", "quillomate_vm_name", "phone"});
    const QString ova = host.path("out/phone.ova");
    QDir().mkpath(host.path("out"));
    const QString signed_ = host.path("out/signed.ova");
    expectRuns(host, {{"export phone --output " + ova, 0},
                      {"export phone --output " + signed_ + " --manifest", 0}});

    // Real tar reads both archives.
    QProcess tar;
    tar.start("tar", {"tf", ova});
    ASSERT_TRUE(tar.waitForFinished());
    EXPECT_EQ(tar.readAllStandardOutput(),
              "phone.ovf\nphone-disk001.vmdk\nphone-disk002.vmdk\nphone-disk003.vmdk\n");
    tar.start("tar", {"xOf", signed_, "signed.mf"});
    ASSERT_TRUE(tar.waitForFinished());
    EXPECT_TRUE(QRegularExpression("^SHA256 \\(signed.ovf\\) = [0-9a-f]{64}\n")
                    .match(tar.readAllStandardOutput())
                    .hasMatch());

    // Read without tar's end blocks, as VirtualBox writes it, but not cut into the padding
    // of the manifest, the last member.
    const qint64 end = QFileInfo(signed_).size() - 1024;
    QFile::resize(signed_, end);
    expectRuns(host, {{"import " + signed_ + " -n", 0}});
    QFile::resize(signed_, end - 1);
    expectRuns(host, {{"import " + signed_ + " -n", 1, "(VERR_TAR_UNEXPECTED_EOS)"}});

    expectRuns(host,
               {{"export phone --output " + ova, 1},
                {"export phone", 2, errorLines({"Missing --output argument with export command."})},
                {"import " + ova + " --vsys 0 --vmname again", 0},
                {"guestproperty get again quillomate_vm_name", 0, "Value: phone\n", OutIs},
                {"showvminfo again", 0, "/VirtualBox VMs/again/phone-disk003.vmdk", OutHas}});
}

TEST(SimulatorCommands, InjectedFaultsFailTheWayVirtualBoxDoes)
{
    SimHost host;
    host.addHostOnlyNetwork();
    host.importSample("phone");
    host.setFaults("# processor without virtualization, for one start\n"
                   "startvm vmx count=1\n"
                   "startvm svm count=1\n"
                   "modifyvm locked count=2 vm=phone\n"
                   "hostonlyif/create fail\n"
                   "clonevm diskfull\n"
                   "list/hostinfo fail exit=3 message=no host\n"
                   "--version nodriver\n"
                   "list/vms nodriver count=1\n"
                   "ip/addr down vm=vboxnet0 count=1\n"
                   "ip/route fail exit=2\n"
                   "this line is not a fault\n");
    // A failed clone removes its own copies and nothing else from the target folder.
    const QString deploy = host.path("deploy");
    QDir().mkpath(deploy + "/full");
    QFile(deploy + "/full/notes.txt").open(QIODevice::WriteOnly);
    const QString start = "startvm phone --type headless";
    const QString memory = "modifyvm phone --memory 1024";
    // The wrapper script's warning comes first on stdout, for "--version" too.
    const QString warning =
        "WARNING: The vboxdrv kernel module is not loaded. Either there is no module\n"
        "         available for the current kernel (5.10.0-28-amd64) or it failed to\n"
        "         load. Please recompile the kernel module and install it by\n\n"
        "           sudo /sbin/vboxconfig\n\n"
        "         You will not be able to start VMs until this problem is fixed.\n";
    expectRuns(host, {{"--version", 0, warning + "5.2.44r139111\n", OutIs},
                      {"list vms", 0, warning + "\"phone\" {", OutHas}});
    EXPECT_TRUE(host.vbox({"list", "vms"}).out.startsWith("\"phone\" {"));
    expectRuns(host, {{start, 1, errorLines({"VT-x is not available (VERR_VMX_NO_VMX)"})},
                      {start, 1, "(VERR_SVM_DISABLED)"},
                      {"showvminfo phone", 0, "powered off (since", OutHas},
                      // Locked for two attempts, then the change goes through.
                      {memory, 1, "is already locked for a session"},
                      {memory, 1, "is already locked for a session"},
                      {memory, 0},
                      {"showvminfo phone", 0, "Memory size:     1024MB", OutHas},
                      {"hostonlyif create", 1,
                       "0%...\nProgress state: NS_ERROR_FAILURE\n" +
                           errorLines({"Failed to create the host-only adapter"})},
                      {"clonevm phone --mode all --name full --register --basefolder " + deploy, 1,
                       "(VERR_DISK_FULL)"},
                      {"showvminfo full", 1},
                      {"list hostinfo", 3, errorLines({"no host"}), ErrIs},
                      {"ip addr show dev vboxnet0", 0,
                       "<BROADCAST,MULTICAST> mtu 1500 qdisc pfifo_fast state DOWN ", OutHas},
                      {"ip addr show dev vboxnet0", 0, " state UP ", OutHas},
                      {"ip route", 2, "RTNETLINK answers: Operation not permitted\n", ErrIs},
                      {"ip link", 255}});
    EXPECT_EQ(QDir(deploy + "/full").entryList(QDir::Files), QStringList{"notes.txt"});
}

// Faults of the whole run, which the plug-in meets in SimulatorFaults: what reaches the
// client, and that the work of a run killed half-way is done all the same.
TEST(SimulatorCommands, ProcessFaultsActOnTheWholeRun)
{
    SimHost host;
    host.addHostOnlyNetwork();
    const ToolRun listing = host.vbox({"list", "hostonlyifs"});
    const QString unreachable =
        errorLines({"Failed to create the VirtualBox object!",
                    "Code NS_ERROR_FACTORY_NOT_REGISTERED (0x80040154) - Class not registered "
                    "(extended info not available)",
                    "Most likely, the VirtualBox COM server is not running or failed to start."});
    host.setFaults("list/hostonlyifs killed count=1\nhostonlyif/create killed\n"
                   "showvminfo noservice\nlist/vms flood\nlist/dhcpservers garbage\n"
                   "list/bridgedifs empty\n--version noservice\n* killed\n");
    const auto killed = host.start({"list", "hostonlyifs"});
    killed->waitForFinished();
    EXPECT_EQ(killed->exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(killed->exitCode(), SIGKILL);
    EXPECT_EQ(QString::fromUtf8(killed->readAllStandardOutput()),
              listing.out.left(listing.out.size() / 2));
    EXPECT_EQ(host.vbox({"hostonlyif", "create"}).exitCode, SIGKILL);
    expectRuns(host, {{"showvminfo phone", 1, unreachable, ErrIs},
                      {"--version", 0, "5.2.44r139111\n", OutIs},
                      {"list bridgedifs", 0, "", OutIs},
                      {"ip route", 0, "192.168.56.0/24 dev vboxnet0", OutHas}});
    host.setFaults(QString());
    EXPECT_TRUE(host.vbox({"list", "hostonlyifs"}).out.contains("Name:            vboxnet1\n"))
        << "killed only while it printed";

    host.setFaults("list/vms flood\nlist/dhcpservers garbage\n--version hang\n");
    const auto flood = host.start({"list", "vms"});
    flood->waitForFinished();
    const QByteArray flooded = flood->readAllStandardOutput();
    EXPECT_EQ(flooded.size(), 100 * 1024 * 1024);
    EXPECT_EQ(flooded.count('x'), flooded.size() / 80 * 79);
    const auto garbage = host.start({"list", "dhcpservers"});
    garbage->waitForFinished();
    const QByteArray bytes = garbage->readAllStandardOutput();
    EXPECT_TRUE(bytes.contains('\0'));
    EXPECT_NE(QString::fromUtf8(bytes).toUtf8(), bytes) << "not UTF-8";
    const auto hung = host.start({"--version"});
    EXPECT_FALSE(hung->waitForFinished(1500));
    hung->kill();
    hung->waitForFinished();

    // An empty folder is VirtualBox's default one, as "default" is.
    host.setFaults(QString());
    const QString folder =
        "\nDefault machine folder:          " + host.home() + "/VirtualBox VMs\n";
    host.vbox({"setproperty", "machinefolder", host.path("custom")});
    EXPECT_EQ(host.vbox({"setproperty", "machinefolder", ""}).exitCode, 0);
    EXPECT_TRUE(host.vbox({"list", "systemproperties"}).out.contains(folder));
}
