// SPDX-License-Identifier: Apache-2.0
// vmtools as a child process: listing, showing, dumping, creating, cloning, renaming, deleting.
#include "vmtoolshost.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

// Another application's machine that VirtualBox cannot read is passed over; only a listing
// that VirtualBox itself refused fails.
TEST(CliDevicesTest, ListPassesOverUnreadableMachinesAndFailsOnlyWhenVirtualBoxCannotList)
{
    const QString inaccessible = "0d1e2f3a-4b5c-4d6e-8f7a-9b0c1d2e3f4a";
    struct Row
    {
        Answer listing;
        Expect run;
    };
    const QList<Row> rows{
        {Answer::ok("\"<inaccessible>\" {" + inaccessible + "}\n"),
         {"list --no-headers", 0, "", ""}},
        {Answer::ok("\"<inaccessible>\" {" + inaccessible + "}\n"),
         {"list --json", 0, "", R"({"devices": []})"}},
        {Answer::fail(1, "VBoxManage: error: Failed to create the VirtualBox object!\n"),
         {"list", 1, "the devices could not be listed: VirtualBox's service cannot be reached"}}};
    for (const Row &row : rows) {
        StandIn standIn;
        standIn.onExact({"list", "vms"}, {row.listing});
        standIn.onPrefix({"guestproperty", "enumerate", inaccessible},
                         {Answer::fail(1, "VBoxManage: error: The object functionality is limited\n"
                                          "VBoxManage: error: Details: code E_ACCESSDENIED "
                                          "(0x80070005), component MachineWrap, interface "
                                          "IMachine, callee nsISupports\n")});
        scriptUsualHost(standIn);
        VmtoolsHost host;
        expectRuns(host, {row.run});
    }
}

// A read that VirtualBox leaves unanswered is asked again beside it, and the first success
// counts (the engine asks no more); the other run is ended even if it ignores the interrupt,
// as a client waiting for VirtualBox's service does. One that fails at once is not asked again.
TEST(CliDevicesTest, AReadLeftUnansweredIsAskedAgain)
{
    const QString objectMissing = "VBoxManage: error: Failed to create the VirtualBox object!\n";
    struct Row
    {
        QList<Answer> listing; // the answers to "list vms", in turn
        int exitCode;
        int runs;
        int askedAgain;
        QString patienceMs; // long enough for a quick failure on a loaded machine
    };
    const QList<Row> rows{
        {{Answer::ok().withDelay(600000).ignoringSigint(), Answer::ok()}, 0, 2, 1, "300"},
        {{Answer::ok().withDelay(1500), Answer::fail(1, objectMissing)}, 0, 2, 1, "300"},
        {{Answer::fail(1, objectMissing)}, 1, 2, 0, "5000"},
    };
    for (const Row &row : rows) {
        StandIn standIn;
        standIn.onExact({"list", "vms"}, row.listing);
        scriptUsualHost(standIn);
        VmtoolsHost host;
        host.setVariable("VMTOOLS_READ_PATIENCE_MS", row.patienceMs);
        const VmtoolsResult result = host.run({"-v", "list", "--json"});
        EXPECT_EQ(result.exitCode, row.exitCode) << result.err.toStdString();
        EXPECT_EQ(standIn.calls().count({"list", "vms"}), row.runs) << row.runs;
        EXPECT_EQ(result.err.count("No answer after " + row.patienceMs +
                                   " ms, asking again: (\"list\", \"vms\")"),
                  row.askedAgain);
    }
}

TEST(CliDevicesTest, ListShowAndDumpCoverOnlyThisHostsDevices)
{
    StandIn standIn;
    // Listed by VirtualBox out of order; "Watch" is a device that VirtualBox cannot read.
    standIn.onExact({"list", "vms"},
                    {Answer::ok("\"tablet\" {e1a5e766-27cc-4b13-8c81-b69a5aa5dac7}\n"
                                "\"Ubuntu\" {628a6317-792a-45ff-8f0a-de3227f14724}\n"
                                "\"Watch\" {5d3f1a2b-6c7d-4e8f-9a0b-1c2d3e4f5a6b}\n"
                                "\"phone\" {0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11}\n")});
    scriptNoMachine(standIn, "Ubuntu");
    scriptNoMachine(standIn, "Watch");
    standIn.onExact({"guestproperty", "enumerate", "5d3f1a2b-6c7d-4e8f-9a0b-1c2d3e4f5a6b"},
                    {Answer::ok("Name: vbox_graph_mode, value: 800x600-32, timestamp: 1, "
                                "flags: \n")});
    standIn.onExact({"guestproperty", "get", "tablet", "tovalyn_ip_management"},
                    {Answer::ok("Value: 192.168.56.101\n")});
    scriptUsualHost(standIn);
    VmtoolsHost host;
    const QString dump = host.scratchFile("dump.txt", "old contents that the dump replaces\n");

    const QList<VmtoolsResult> results = expectRuns(
        host,
        {{"list", 0, "",
          "NAME    STATE    ADDRESS         CPUS  MEMORY   ANDROID  RESOLUTION\n"
          "phone   off      -               2     2048 MB  8.0      1080x1920\n"
          "tablet  running  192.168.56.101  2     2048 MB  8.0      1080x1920\n"
          "Watch   -        -               -     -        -        -\n"},
         {"list --json", 0},
         {"list --no-headers", 0, "",
          "phone   off      -               2  2048 MB  8.0  1080x1920\n"
          "tablet  running  192.168.56.101  2  2048 MB  8.0  1080x1920\n"
          "Watch   -        -               -  -        -    -\n"},
         {"show tablet --json", 0, "",
          R"({"state": "running", "folder": "/home/alice/.Brellstock/Quillomate/deployed/tablet", "adbSerial": "192.168.56.101:5555",
              "factoryBackup": true, "adapter1": "hostonly",
              "adapter2": {"type": "nat", "interface": null},
              "sdCardDisk": "3e9a7c5d-4f6b-4a8c-adbe-2f3a4b5c6d7e",
              "profile": {"resolution": "1080x1920", "density": 420, "fullScreen": true,
                          "virtualKeyboard": true, "navigationBar": false, "hx": true,
                          "fullHx": true, "deviceId": "358240051111110",
                          "productModel": "Pixel 2", "productName": null, "cpus": 2}})"},
         {"dump " + dump + " --json", 0, "", R"({"devices": ["tablet", "Watch", "phone"]})"},
         {"dump " + host.scratch(), 1, host.scratch() + " is a folder"}});
    const QJsonArray devices = results[1].json().value("devices").toArray();
    ASSERT_EQ(devices.size(), 3);
    expectMembers(devices.at(1).toObject(),
                  R"({"name": "tablet", "uuid": "e1a5e766-27cc-4b13-8c81-b69a5aa5dac7",
                      "state": "running", "ipAddress": "192.168.56.101", "cpus": 2,
                      "memory": 2048, "androidVersion": "8.0", "resolution": "1080x1920"})");
    // What VirtualBox could not tell is null, not left out, empty or made up.
    EXPECT_EQ(devices.at(2).toObject(), QJsonDocument::fromJson(R"({"name": "Watch",
                  "uuid": "5d3f1a2b-6c7d-4e8f-9a0b-1c2d3e4f5a6b", "state": null, "ipAddress": null,
                  "cpus": null, "memory": null, "androidVersion": null, "resolution": null})")
                                            .object());

    // Reading costs no engine start-up and never touches the host's network, and asks each
    // listing of a machine once. The list: the machines and the running ones (no settings
    // file here, so nothing is answered from one), the properties of each (by UUID,
    // which answers for the name too), the description of each device, and the running
    // tablet's address.
    const QList<QPair<QString, int>> readCosts{
        {"list", 10}, {"show phone", 4}, {"get phone resolution", 2}};
    for (const auto &[command, runs] : readCosts) {
        standIn.clearCalls();
        ASSERT_EQ(host.run(command.split(' ')).exitCode, 0) << command.toStdString();
        EXPECT_EQ(standIn.calls().size(), runs) << command.toStdString();
        EXPECT_TRUE(standIn.calls("ip").isEmpty()) << command.toStdString();
        for (const QStringList &call : standIn.calls()) {
            for (const char *untouched : {"hostinfo", "hostonlyif", "hostonlyifs", "dhcpserver"})
                EXPECT_FALSE(call.contains(untouched)) << call.join(' ').toStdString();
        }
    }

    QFile file(dump);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString dumped = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(dumped.contains("phone")) << dumped.toStdString();
    EXPECT_FALSE(dumped.contains("old contents"));
}

TEST(CliDevicesTest, CreateCloneAndDeleteReportFailures)
{
    StandIn standIn;
    scriptNoMachine(standIn, "watch");
    scriptNoMachine(standIn, "phone-2");
    standIn.onPrefix({"import"}, {Answer::fail(1, "VBoxManage: error: Appliance read failed\n")});
    standIn.onPrefix({"clonevm"},
                     {Answer::fail(1, "VBoxManage: error: Could not create the clone medium "
                                      "(VERR_DISK_FULL)\n")});
    scriptUsualHost(standIn);
    VmtoolsHost host;
    const QString appliance = host.scratchFile("device.ova", "appliance");

    const QString create = "create watch " + appliance;
    expectRuns(host,
               {{create + " --cpus 4 --memory 1024 --json", 1,
                 "the device could not be created: VirtualBox's machine folder could not be "
                 "switched, the appliance import failed, or the new device could not be found",
                 R"({"result": 1})"},
                {"clone phone phone-2", 1,
                 "the disk became full during the clone: the disk is full: free some space and try "
                 "again (VirtualBox: Could not create the clone medium (VERR_DISK_FULL))"},
                // VirtualBox accepted every command, yet still lists the device.
                {"delete phone", 1, "phone could not be deleted (is it running?)"}});
    EXPECT_TRUE(calledWithPrefix(standIn, {"import", appliance, "--vsys", "0", "--vmname", "watch",
                                           "--cpus", "4", "--memory", "1024"}));
}

TEST(CliDevicesTest, DestructiveCommandsAskAtATerminalOnly)
{
    StandIn standIn;
    scriptUsualHost(standIn);
    VmtoolsHost host;
    const QString disk = host.scratchFile("old.vmdk", "# Disk DescriptorFile\n");
    struct Row
    {
        QStringList arguments;
        QByteArray typed; // empty: nothing is asked
        QStringList call; // the call that only a yes lets run
        bool runs;
    };
    const QStringList unregister{"unregistervm", "phone"};
    const QStringList restore{"snapshot", "phone", "restore"};
    const QStringList close{"closemedium"};
    const Row rows[] = {{{"delete", "phone"}, "n\n", unregister, false},
                        {{"factory-reset", "phone", "--json"}, "\n", restore, false},
                        {{"delete-disk", disk}, "no\n", close, false},
                        {{"delete", "phone"}, "Y\n", unregister, true},
                        {{"factory-reset", "phone"}, "yes\n", restore, true},
                        {{"delete", "phone", "--yes"}, "", unregister, true}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.arguments.join(' ').toStdString());
        standIn.clearCalls();
        Terminal terminal;
        ASSERT_TRUE(terminal.isOpen());
        const auto vmtools = host.start(row.arguments, terminal.path());
        if (!row.typed.isEmpty()) {
            const QByteArray shown = terminal.readUntil("[y/N] ");
            EXPECT_TRUE(shown.endsWith(" [y/N] ")) << shown.toStdString();
            terminal.type(row.typed);
        }
        ASSERT_TRUE(vmtools->waitForFinished(20000));
        const QByteArray shown = terminal.readUntil("vmtools: ", row.runs ? 0 : 20000);
        EXPECT_EQ(shown.contains("[y/N]"), !row.typed.isEmpty()) << shown.toStdString();
        EXPECT_EQ(calledWithPrefix(standIn, row.call), row.runs);
        if (!row.runs) {
            EXPECT_EQ(vmtools->exitCode(), 1);
            EXPECT_TRUE(shown.contains("vmtools: not confirmed; nothing was changed"))
                << shown.toStdString();
        }
    }
    // Without a terminal nobody could answer: the pipe runs of the other tests never ask.
}
