// The pieces of the stand-in that need no process: fault lines, options, the appliance
// descriptor and the stored host.
#include "context.h"
#include "faults.h"
#include "ovf.h"
#include "simstate.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

using namespace VBoxSim;

TEST(SimulatorModel, FaultLinesAreParsedStrictly)
{
    Fault fault;
    ASSERT_TRUE(Faults::parseLine("  hostonlyif/create fail count=2 exit=7 message=no driver: "
                                  "x=y ",
                                  &fault));
    EXPECT_EQ(fault.command, (QStringList{"hostonlyif", "create"}));
    EXPECT_EQ(fault.kind, "fail");
    EXPECT_EQ(fault.count, 2);
    EXPECT_EQ(fault.exitCode, 7);
    EXPECT_EQ(fault.message, "no driver: x=y");
    EXPECT_TRUE(fault.matches({"hostonlyif", "create"}));
    EXPECT_FALSE(fault.matches({"hostonlyif"}));
    EXPECT_FALSE(fault.matches({"hostonlyif", "remove", "vboxnet0"}));

    ASSERT_TRUE(Faults::parseLine("modifyvm locked vm=phone", &fault));
    EXPECT_EQ(fault.count, -1);
    EXPECT_TRUE(fault.matches({"modifyvm", "phone", "--memory", "1024"}));
    EXPECT_FALSE(fault.matches({"modifyvm", "phone2", "--memory", "1024"}));

    for (const char *bad : {"", "# startvm vmx", "startvm", "startvm explode",
                            "startvm vmx count=two", "startvm vmx colour=red"})
        EXPECT_FALSE(Faults::parseLine(bad, &fault)) << bad;
}

TEST(SimulatorModel, CountedFaultsAreUsedUpAcrossRuns)
{
    QTemporaryDir dir;
    const QString file = dir.filePath("faults");
    QFile out(file);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    out.write("startvm vmx count=1\nstartvm svm\n");
    out.close();

    Faults first;
    first.load(file, dir.path());
    const Fault *fault = first.take({"startvm", "phone"});
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->kind, "vmx");
    // A later run (a new process) sees the use and falls through to the next line.
    Faults second;
    second.load(file, dir.path());
    fault = second.take({"startvm", "phone"});
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->kind, "svm");
    EXPECT_FALSE(second.take({"controlvm", "phone", "poweroff"}));
    Faults none;
    none.load(QString(), dir.path());
    EXPECT_FALSE(none.take({"startvm", "phone"}));
}

TEST(SimulatorModel, OptionsTakeValuesInBothSpellingsAndKeepTheirOrder)
{
    const Options options(
        {"import", "a.ova", "--vsys", "0", "--unit=10", "--ignore", "-vmname", "x", "--disk"}, 1,
        {"--ignore"});
    EXPECT_EQ(options.positional(), QStringList{"a.ova"});
    ASSERT_EQ(options.all().size(), 4);
    EXPECT_EQ(options.all()[1], qMakePair(QString("--unit"), QString("10")));
    EXPECT_EQ(options.all()[2], qMakePair(QString("--ignore"), QString()));
    EXPECT_EQ(options.value("--vmname"), "x");
    EXPECT_EQ(options.missingValue(), "--disk");
    EXPECT_EQ(options.value("--memory", "512"), "512");
}

TEST(SimulatorModel, DescriptorKeepsDisksPlacesAndProfile)
{
    Ovf::VirtualSystem system;
    system.name = "dev & co";
    system.cpus = 3;
    system.memoryMB = 3072;
    system.controllerName = "IDEController";
    system.adapters = QStringList{"HostOnly", "NAT"};
    system.disks = {{"a-disk001.vmdk", 0, 0, 1024}, {"a-disk002.vmdk", 1, 0, 2048}};
    system.guestProperties.append({"vbox_graph_mode", "800x1280-16", 42, ""});
    system.guestProperties.append({"quote", "say \"<hi>\"", 43, "TRANSIENT"});

    Ovf::VirtualSystem read;
    QString error;
    ASSERT_TRUE(Ovf::read(Ovf::write(system), &read, &error)) << qPrintable(error);
    EXPECT_EQ(read.name, "dev & co");
    EXPECT_EQ(read.cpus, 3);
    EXPECT_EQ(read.memoryMB, 3072);
    EXPECT_EQ(read.controllerName, "IDEController");
    EXPECT_EQ(read.adapters, system.adapters);
    ASSERT_EQ(read.disks.size(), 2);
    EXPECT_EQ(read.disks[1].fileName, "a-disk002.vmdk");
    EXPECT_EQ(read.disks[1].port, 1);
    EXPECT_EQ(read.disks[1].device, 0);
    EXPECT_EQ(read.disks[1].capacityBytes, 2048);
    ASSERT_EQ(read.guestProperties.size(), 2);
    EXPECT_EQ(read.guestProperties[1].value, "say \"<hi>\"");
    EXPECT_EQ(read.guestProperties[1].timestampNs, 43);

    EXPECT_FALSE(Ovf::read("<Envelope>", &read, &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST(SimulatorModel, StoredHostKeepsSnapshotTreesAndLeases)
{
    HostState host = HostState::defaultHost("/sim");
    Machine m;
    m.uuid = newUuid();
    m.name = "phone";
    m.settingsFile = "/vms/phone/phone.vbox";
    m.config.setGuestProperty("k", "v", 5);
    Snapshot root;
    root.uuid = "root";
    root.name = "factory-backup";
    Snapshot child;
    child.uuid = "child";
    child.name = "later";
    child.config.memoryMB = 512;
    root.children.push_back(child);
    m.snapshots.push_back(root);
    m.currentSnapshot = "child";
    host.machines.append(m);
    DhcpServer server;
    server.networkName = "HostInterfaceNetworking-vboxnet0";
    server.leases.insert("080027000001", "192.168.56.101");
    host.dhcpServers.append(server);

    HostState back = HostState::fromJson(host.toJson());
    Machine *phone = back.findMachine("{" + m.uuid + "}");
    ASSERT_TRUE(phone);
    EXPECT_EQ(phone->folder(), "/vms/phone");
    ASSERT_TRUE(phone->findSnapshot("later"));
    EXPECT_EQ(phone->findSnapshot("later")->config.memoryMB, 512);
    EXPECT_EQ(phone->config.guestProperty("k")->value, "v");
    EXPECT_EQ(back.dhcpServers.first().leases.value("080027000001"), "192.168.56.101");
    EXPECT_EQ(back.machineFolder, "/sim/VirtualBox VMs");
    EXPECT_EQ(back.bridgedInterfaces.first().name, "eth0");
}
