// vmtools as a child process: profile values and the outward network.
#include "vmtoolshost.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QJsonArray>

namespace {

QList<QStringList> propertyWrites(const StandIn &standIn)
{
    QList<QStringList> result;
    for (const QStringList &call : standIn.calls()) {
        if (call.mid(0, 2) == QStringList{"guestproperty", "set"})
            result.append(call.mid(2));
    }
    return result;
}

} // namespace

TEST(CliProfileTest, GetPrintsOneValueBareAndSeveralAsFields)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    VmtoolsHost host;

    VmtoolsResult result = host.run({"get", "phone", "density"});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, "420\n");

    result = host.run({"get", "phone", "resolution", "virtual-keyboard", "navigation-bar"});
    EXPECT_EQ(result.out, "resolution:        1080x1920\n"
                          "virtual-keyboard:  on\n"
                          "navigation-bar:    off\n");

    result = host.run({"get", "phone", "hx", "--json"});
    EXPECT_EQ(result.json().value("values").toObject().value("hx"), QJsonValue(true));

    result = host.run({"get", "phone", "colour"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.err.contains("unknown profile value \"colour\"; known: resolution, "))
        << result.err.toStdString();
}

TEST(CliProfileTest, SetChecksEveryPairBeforeWritingAny)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;

    const auto refused = [&](const QStringList &arguments, const QString &line) {
        const VmtoolsResult result = host.run(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE(result.errLines().contains(line)) << result.err.toStdString();
    };
    refused({"set", "phone", "resolution", "720x1280", "density", "high"},
            "vmtools: density takes a positive whole number, not \"high\"");
    refused({"set", "phone", "full-screen", "on", "hx"}, "vmtools: \"hx\" has no value");
    refused({"set", "phone", "device-version", "3"}, "vmtools: device-version cannot be changed");
    refused({"set", "phone", "cpus", "12"}, "vmtools: cpus 12 is more than this host allows (8)");
    EXPECT_TRUE(propertyWrites(standIn).isEmpty());
    EXPECT_FALSE(calledWithPrefix(standIn, {"modifyvm"}));

    const VmtoolsResult result = host.run({"set", "phone", "resolution", "720x1280", "full-screen",
                                           "off", "device-id", "", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(propertyWrites(standIn),
              (QList<QStringList>{{"phone", "vbox_graph_mode", "720x1280-16"},
                                  {"phone", "quillomate_full_screen", "no"},
                                  {"phone", "quillomate_device_id", "[none]"}}));
    const QJsonObject changed = result.json().value("changed").toObject();
    EXPECT_EQ(changed.value("resolution"), QJsonValue("720x1280"));
    EXPECT_EQ(changed.value("full-screen"), QJsonValue(false));
}

TEST(CliProfileTest, AWriteThatVirtualBoxRefusesStopsTheRest)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"tablet", "e1a5e766-27cc-4b13-8c81-b69a5aa5dac7", "running", true});
    standIn.onPrefix({"guestproperty", "set", "phone", "vbox_dpi"},
                     {Answer::fail(1, "VBoxManage: error: The machine is locked\n")});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;

    // setDensity reports nothing itself: the unchanged value tells.
    VmtoolsResult result =
        host.run({"set", "phone", "camera", "on", "density", "480", "gyroscope", "on", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.json().value("error"), QJsonValue("VirtualBox did not take density 480 for "
                                                       "phone"));
    EXPECT_EQ(result.json().value("changed").toObject().keys(), QStringList{"camera"});
    EXPECT_EQ(propertyWrites(standIn).size(), 2); // camera, then the refused density

    result = host.run({"set", "tablet", "memory", "1024"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errLines().contains(
        "vmtools: tablet is running; stop it before changing cpus or memory"));
    EXPECT_FALSE(calledWithPrefix(standIn, {"modifyvm"}));
}

TEST(CliProfileTest, NetworkShowsSwitchesAndChecksTheBridge)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    standIn.onExact({"list", "bridgedifs"},
                    {Answer::ok("Name:            eth0\nGUID:            1\n\n"
                                "Name:            wlan0\nGUID:            2\n\n")});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;

    VmtoolsResult result = host.run({"network", "phone"});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, "Adapter 1:  hostonly\nAdapter 2:  nat\n");

    result = host.run({"network", "phone", "interfaces", "--json"});
    EXPECT_EQ(result.json().value("interfaces").toArray(), (QJsonArray{"eth0", "wlan0"}));

    result = host.run({"network", "phone", "bridged", "eth9"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errLines().contains(
        "vmtools: \"eth9\" is not a bridgeable interface; known: eth0, wlan0"));
    EXPECT_FALSE(calledWithPrefix(standIn, {"modifyvm"}));

    result = host.run({"network", "phone", "nat"});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(calledWithPrefix(standIn, {"modifyvm", "phone", "--nic2", "nat"}));

    EXPECT_EQ(host.run({"network", "phone", "wifi"}).exitCode, 2);
}
