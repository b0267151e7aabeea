// vmtools as a child process: listing, showing, creating, cloning, renaming, deleting.
#include "vmtoolshost.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>

namespace {

const QString TabletUuid = QStringLiteral("e1a5e766-27cc-4b13-8c81-b69a5aa5dac7");

QString touch(const VmtoolsHost &host, const QString &name)
{
    QFile file(host.scratch(name));
    file.open(QIODevice::WriteOnly);
    file.write("appliance");
    return file.fileName();
}

} // namespace

TEST(CliDevicesTest, ListShowsOnlyThisHostsDevices)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    standIn.onExact({"list", "vms"},
                    {Answer::ok("\"phone\" {0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11}\n"
                                "\"Ubuntu\" {628a6317-792a-45ff-8f0a-de3227f14724}\n"
                                "\"tablet\" {" +
                                TabletUuid + "}\n")});
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"tablet", TabletUuid, "running", false});
    standIn.onPrefix({"guestproperty", "enumerate"}, {Answer::ok("Name: /VirtualBox/x, value: y, "
                                                                 "timestamp: 1, flags: \n")});
    VmtoolsHost host;

    VmtoolsResult result = host.run({"list"});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, "NAME    STATE    CPUS  MEMORY   ANDROID  RESOLUTION\n"
                          "phone   off      2     2048 MB  8.0      1080x1920\n"
                          "tablet  running  2     2048 MB  8.0      1080x1920\n");

    result = host.run({"list", "--json"});
    const QJsonArray devices = result.json().value("devices").toArray();
    ASSERT_EQ(devices.size(), 2);
    const QJsonObject tablet = devices.at(1).toObject();
    EXPECT_EQ(tablet.value("name"), QJsonValue("tablet"));
    EXPECT_EQ(tablet.value("uuid"), QJsonValue(TabletUuid));
    EXPECT_EQ(tablet.value("state"), QJsonValue("running"));
    EXPECT_EQ(tablet.value("memory"), QJsonValue(2048));
    EXPECT_EQ(tablet.value("resolution"), QJsonValue("1080x1920"));
}

TEST(CliDevicesTest, ShowGivesTheWholeProfileAndState)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {"phone", "0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11", "running", true});
    standIn.onExact({"guestproperty", "get", "phone", "tovalyn_ip_management"},
                    {Answer::ok("Value: 192.168.56.101\n")});
    VmtoolsHost host;

    VmtoolsResult result = host.run({"show", "phone", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QJsonObject json = result.json();
    EXPECT_EQ(json.value("state"), QJsonValue("running"));
    EXPECT_EQ(json.value("folder"), QJsonValue("/vms/phone"));
    EXPECT_EQ(json.value("adbSerial"), QJsonValue("192.168.56.101:5555"));
    EXPECT_EQ(json.value("factoryBackup"), QJsonValue(true));
    EXPECT_EQ(json.value("adapter1"), QJsonValue("hostonly"));
    EXPECT_EQ(json.value("adapter2").toObject().value("type"), QJsonValue("nat"));
    EXPECT_EQ(json.value("sdCardDisk"), QJsonValue("3e9a7c5d-4f6b-4a8c-adbe-2f3a4b5c6d7e"));
    const QJsonObject profile = json.value("profile").toObject();
    EXPECT_EQ(profile.value("resolution"), QJsonValue("1080x1920"));
    EXPECT_EQ(profile.value("density"), QJsonValue(420));
    EXPECT_EQ(profile.value("full-screen"), QJsonValue(true));
    EXPECT_EQ(profile.value("virtual-keyboard"), QJsonValue(true));
    EXPECT_EQ(profile.value("navigation-bar"), QJsonValue(false));
    EXPECT_EQ(profile.value("hx"), QJsonValue(true));
    EXPECT_EQ(profile.value("full-hx"), QJsonValue(true));
    EXPECT_EQ(profile.value("device-id"), QJsonValue("358240051111110"));
    EXPECT_EQ(profile.value("product-model"), QJsonValue("Pixel 2"));
    EXPECT_EQ(profile.value("cpus"), QJsonValue(2));

    result = host.run({"show", "ghost"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errLines().contains("vmtools: there is no device named \"ghost\""))
        << result.err.toStdString();
}

TEST(CliDevicesTest, CreateChecksEverythingBeforeImporting)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;
    const QString appliance = touch(host, "device.ova");

    const auto refused = [&](const QStringList &arguments, int exitCode, const QString &line) {
        const VmtoolsResult result = host.run(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << arguments.join(' ').toStdString();
        EXPECT_TRUE(result.errLines().contains(line)) << result.err.toStdString();
    };
    refused({"create", "tablet", appliance, "--cpus", "0"}, 2,
            "vmtools: --cpus takes a positive whole number, not \"0\"");
    refused({"create", "tablet", appliance, "--cpus", "9"}, 2,
            "vmtools: --cpus 9 is more than this host allows (8)");
    refused({"create", "tablet", appliance, "--memory", "16000"}, 2,
            "vmtools: --memory 16000 is more than this host allows (15923 MB)");
    refused({"create", "../tablet", appliance}, 2, "vmtools: a device name cannot hold \"/\"");
    refused({"create", "tablet", host.scratch("missing.ova")}, 1,
            "vmtools: no appliance file at " + host.scratch("missing.ova"));
    // An existing device's disks would be deleted before VirtualBox refused the name.
    refused({"create", "phone", appliance}, 1, "vmtools: a device with that name already exists");
    EXPECT_FALSE(calledWithPrefix(standIn, {"import"}));
    EXPECT_FALSE(calledWithPrefix(standIn, {"closemedium"}));
}

TEST(CliDevicesTest, CreateTurnsTheEngineResultIntoWords)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    standIn.onPrefix({"import"}, {Answer::fail(1, "VBoxManage: error: Appliance read failed\n")});
    standIn.onPrefix({"showvminfo", "tablet"}, {Answer::fail(1, "Could not find a registered "
                                                                "machine named 'tablet'\n")});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;
    const QString appliance = touch(host, "device.ova");

    const VmtoolsResult result =
        host.run({"create", "tablet", appliance, "--cpus", "4", "--memory", "1024", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.json().value("result"), QJsonValue(1));
    EXPECT_TRUE(
        result.json().value("error").toString().startsWith("the device could not be created"));
    QStringList import;
    for (const QStringList &call : standIn.calls()) {
        if (call.value(0) == "import")
            import = call;
    }
    ASSERT_FALSE(import.isEmpty());
    EXPECT_EQ(import.mid(0, 10), (QStringList{"import", appliance, "--vsys", "0", "--vmname",
                                              "tablet", "--cpus", "4", "--memory", "1024"}));
}

TEST(CliDevicesTest, CloneRefusesATakenNameAndReportsAFullDisk)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"tablet", TabletUuid, "powered off", false});
    standIn.onPrefix({"showvminfo"}, {Answer::fail(1, "Could not find a registered machine\n")});
    standIn.onPrefix({"clonevm"},
                     {Answer::fail(1, "VBoxManage: error: Could not create the clone medium "
                                      "(VERR_DISK_FULL)\n")});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;

    VmtoolsResult result = host.run({"clone", "phone", "tablet", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.json().value("error"), QJsonValue("a device with that name already exists"));
    EXPECT_EQ(result.json().value("result"), QJsonValue(3));
    // Nothing was cloned, and nothing of the existing tablet was cleaned away.
    EXPECT_FALSE(calledWithPrefix(standIn, {"clonevm"}));
    EXPECT_FALSE(calledWithPrefix(standIn, {"closemedium"}));

    result = host.run({"clone", "phone", "phone-2"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errLines().contains("vmtools: the disk became full during the clone"))
        << result.err.toStdString();

    result = host.run({"clone", "phone", "phone"});
    EXPECT_EQ(result.exitCode, 2);
}

TEST(CliDevicesTest, DeleteTouchesOnlyDevicesAndChecksThatTheyAreGone)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    // The user's own machine: no device profile among its properties.
    standIn.onPrefix({"guestproperty", "enumerate", "Ubuntu"},
                     {Answer::ok("Name: /VirtualBox/HostInfo/VBoxVer, value: 5.2.44, "
                                 "timestamp: 1, flags: \n")});
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"Ubuntu", "628a6317-792a-45ff-8f0a-de3227f14724"});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;

    VmtoolsResult result = host.run({"delete", "Ubuntu"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errLines().contains("vmtools: \"Ubuntu\" is a VirtualBox machine but not "
                                           "an Android device; vmtools leaves it alone"))
        << result.err.toStdString();
    EXPECT_FALSE(calledWithPrefix(standIn, {"unregistervm"}));

    // VirtualBox accepted every command, yet still lists the device.
    result = host.run({"delete", "phone"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(calledWithPrefix(standIn, {"unregistervm", "phone"}));
    EXPECT_TRUE(result.errLines().contains("vmtools: phone could not be deleted (is it running?)"))
        << result.err.toStdString();
}

TEST(CliDevicesTest, RenameRefusesTakenAndBadNames)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"tablet", TabletUuid, "powered off", false});
    standIn.onPrefix({"modifyvm"}, {Answer::ok()});
    VmtoolsHost host;

    EXPECT_EQ(host.run({"rename", "phone", "tablet"}).exitCode, 1);
    EXPECT_EQ(host.run({"rename", "phone", ".."}).exitCode, 2);
    EXPECT_FALSE(calledWithPrefix(standIn, {"modifyvm"}));
}
