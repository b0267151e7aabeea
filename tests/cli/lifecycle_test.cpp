// vmtools as a child process: start, stop, wait for the address, factory backup and reset.
#include "vmtoolshost.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

namespace {

QList<QStringList> callsStartingWith(const StandIn &standIn, const QString &word)
{
    QList<QStringList> result;
    for (const QStringList &call : standIn.calls()) {
        if (call.value(0) == word)
            result.append(call);
    }
    return result;
}

} // namespace

TEST(CliLifecycleTest, StartIsHeadlessUnlessAskedAndSkipsARunningDevice)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"tablet", "e1a5e766-27cc-4b13-8c81-b69a5aa5dac7", "running", true});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;

    host.run({"start", "phone"});
    host.run({"start", "phone", "--gui"});
    EXPECT_EQ(callsStartingWith(standIn, "startvm"),
              (QList<QStringList>{{"startvm", "phone", "--type", "headless"},
                                  {"startvm", "phone", "--type", "gui"}}));

    standIn.clearCalls();
    const VmtoolsResult result = host.run({"start", "tablet", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.json().value("alreadyRunning"), QJsonValue(true));
    EXPECT_TRUE(callsStartingWith(standIn, "startvm").isEmpty());
}

TEST(CliLifecycleTest, AFailedStartShowsTheEngineReasonAndExitsOne)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    standIn.onPrefix({"startvm"}, {Answer::fail(1, "VBoxManage: error: VT-x is not available "
                                                   "(VERR_VMX_NO_VMX)\n")});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;

    const VmtoolsResult result = host.run({"start", "phone"});
    EXPECT_EQ(result.exitCode, 1);
    const QStringList lines = result.errLines();
    EXPECT_TRUE(lines.contains("[VBox] Unable to start virtual device: \"phone\""))
        << result.err.toStdString();
    EXPECT_TRUE(lines.contains(
        "[VBox] There's a compatibility issue with your processor VMX/SVM capabilitiy"));
    EXPECT_EQ(lines.constLast(), "vmtools: phone could not be started");
}

TEST(CliLifecycleTest, StopAndCheckLookAtTheStateFirst)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"tablet", "e1a5e766-27cc-4b13-8c81-b69a5aa5dac7", "running", true});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;

    VmtoolsResult result = host.run({"stop", "phone"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "phone is not running.\n");
    result = host.run({"check", "tablet"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(callsStartingWith(standIn, "controlvm").isEmpty());
    EXPECT_TRUE(callsStartingWith(standIn, "startvm").isEmpty());

    result = host.run({"stop", "tablet"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(callsStartingWith(standIn, "controlvm"),
              QList<QStringList>{(QStringList{"controlvm", "tablet", "poweroff"})});
}

TEST(CliLifecycleTest, WaitIpPrintsTheAdbSerialOfARunningDevice)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"tablet", "e1a5e766-27cc-4b13-8c81-b69a5aa5dac7", "running", true});
    standIn.onExact({"guestproperty", "get", "tablet", "tovalyn_ip_management"},
                    {Answer::ok("No value set!\n"), Answer::ok("Value: 192.168.56.102\n")});
    VmtoolsHost host;

    VmtoolsResult result = host.run({"wait-ip", "tablet"});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, "192.168.56.102:5555\n");

    // A powered-off device is refused at once instead of being polled for 20 seconds.
    result = host.run({"wait-ip", "phone", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.json().value("error"), QJsonValue("phone is not running; start it first"));
}

TEST(CliLifecycleTest, FactoryBackupAndResetReportWhatIsMissing)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {});
    scriptDevice(standIn, {"tablet", "e1a5e766-27cc-4b13-8c81-b69a5aa5dac7", "powered off", false});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;

    VmtoolsResult result = host.run({"factory-reset", "tablet", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.json().value("error"), QJsonValue("the device has no factory backup"));
    EXPECT_EQ(result.json().value("result"), QJsonValue(1));

    // A second backup of the same name would shadow the first one.
    result = host.run({"factory-backup", "phone"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errLines().contains("vmtools: phone already has a factory backup"));
    EXPECT_FALSE(calledWithPrefix(standIn, {"snapshot", "phone", "take"}));

    result = host.run({"factory-reset", "phone"});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(calledWithPrefix(standIn, {"snapshot", "phone", "restore", "factory-backup"}));
}
