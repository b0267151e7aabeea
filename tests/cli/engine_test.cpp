// vmtools as a child process: usage, engine information, logging, dump, deploy folder.
#include "vmtoolshost.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>

TEST(CliUsageTest, BadCommandLinesExitTwoWithoutRunningVirtualBox)
{
    StandIn standIn;
    VmtoolsHost host;

    VmtoolsResult result = host.run({});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errLines(),
              (QStringList{"vmtools: no command given", "vmtools: see 'vmtools --help'"}));
    EXPECT_EQ(result.out, "");

    result = host.run({"launch", "phone", "--json"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.json().value("ok"), QJsonValue(false));
    EXPECT_EQ(result.json().value("error"), QJsonValue("unknown command \"launch\""));
    EXPECT_EQ(result.json().value("exitCode"), QJsonValue(2));

    result = host.run({"export", "phone"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errLines(), (QStringList{"vmtools: missing arguments: NAME FILE",
                                              "vmtools: see 'vmtools export --help'"}));

    result = host.run({"create", "--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.startsWith("Usage: vmtools create [options] NAME APPLIANCE\n"))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("--sdcard <MB>")) << result.out.toStdString();

    result = host.run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    for (const char *command :
         {"info",           "list",          "show",  "create", "start",   "stop",
          "check",          "wait-ip",       "get",   "set",    "network", "repair-network",
          "factory-backup", "factory-reset", "clone", "rename", "delete",  "export",
          "copy-disk",      "delete-disk",   "dump"})
        EXPECT_TRUE(result.out.contains(QStringLiteral("\n  %1 ").arg(command))) << command;

    EXPECT_TRUE(standIn.calls().isEmpty());
}

TEST(CliEngineTest, InfoReportsTheEngineInTextAndJson)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    VmtoolsHost host;

    VmtoolsResult result = host.run({"info", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QJsonObject json = result.json();
    EXPECT_EQ(json.value("ok"), QJsonValue(true));
    EXPECT_EQ(json.value("virtualBoxVersion"), QJsonValue("5.2.44r139111"));
    EXPECT_EQ(json.value("maxCpus"), QJsonValue(8)); // 4 online times 2 cores
    EXPECT_EQ(json.value("maxMemoryMB"), QJsonValue(15923));
    EXPECT_EQ(json.value("hostOnlyInterface"), QJsonValue("vboxnet0"));
    EXPECT_EQ(json.value("ready"), QJsonValue(true));
    EXPECT_EQ(json.value("loadState"), QJsonValue(0));
    EXPECT_TRUE(json.value("hardwareVirtualization").isBool());
    EXPECT_FALSE(json.value("processorVendor").toString().isEmpty());
    EXPECT_TRUE(
        json.value("deployDirectory").toString().endsWith("/.Brellstock/Quillomate/deployed/"));

    result = host.run({"info"});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains(
        QRegularExpression("^Max memory: +15923 MB$", QRegularExpression::MultilineOption)))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains(QRegularExpression("^Host-only interface: +vboxnet0$",
                                                       QRegularExpression::MultilineOption)));
}

TEST(CliEngineTest, AnEngineThatCannotStartExitsThreeInPlainWords)
{
    StandIn standIn;
    standIn.onExact({"list", "hostinfo"}, {Answer::fail(1, "VBoxManage: error: no VBoxSVC\n")});
    VmtoolsHost host;

    const VmtoolsResult result = host.run({"list", "--json"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.json().value("loadState"), QJsonValue(1));
    EXPECT_TRUE(result.errLines().contains("vmtools: VirtualBox did not answer (\"VBoxManage list "
                                           "hostinfo\" failed); is VirtualBox installed and "
                                           "VBoxManage on PATH?"))
        << result.err.toStdString();
    // The engine's own warning, exactly as it wrote it.
    EXPECT_TRUE(result.errLines().contains("[VBox] empty result for 'vboxmanage list hostinfo'"))
        << result.err.toStdString();
    EXPECT_FALSE(calledWithPrefix(standIn, {"list", "vms"}));
}

TEST(CliEngineTest, LogLevelsOnStderrAndEverythingStampedInTheLogFile)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    VmtoolsHost host;
    const QString callLine = "[VBox] Call: (\"list\", \"hostinfo\")";

    VmtoolsResult result = host.run({"info"});
    ASSERT_EQ(result.exitCode, 0);
    EXPECT_FALSE(result.err.contains("[VBox] Call:")) << result.err.toStdString();

    result = host.run({"info", "-v", "--log-file", host.scratch("vmtools.log")});
    ASSERT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.errLines().contains(callLine)) << result.err.toStdString();

    QFile log(host.scratch("vmtools.log"));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(log.readAll()).split('\n', Qt::SkipEmptyParts);
    const QRegularExpression stamped(
        "^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3} (debug|info|warning|critical) (.*)$");
    ASSERT_FALSE(lines.isEmpty());
    QStringList texts;
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = stamped.match(line);
        ASSERT_TRUE(match.hasMatch()) << line.toStdString();
        texts.append(match.captured(1) + ' ' + match.captured(2));
    }
    EXPECT_TRUE(texts.contains("debug " + callLine));
    EXPECT_TRUE(texts.contains("debug [VBox] VM engine version: \"5.2.44r139111\""));
}

TEST(CliEngineTest, DumpWritesTheEngineAndEveryDeviceToTheFile)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    standIn.onExact({"list", "vms"},
                    {Answer::ok("\"phone\" {0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11}\n")});
    scriptDevice(standIn, {});
    scriptEverythingElseSucceeds(standIn);
    VmtoolsHost host;
    const QString path = host.scratch("dump.txt");
    QFile old(path);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("old contents that the dump replaces\n");
    old.close();

    const VmtoolsResult result = host.run({"dump", path, "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.json().value("devices").toArray(), QJsonArray{"phone"});
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString dump = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(dump.startsWith("VBoxManage --version\n5.2.44r139111\n\n\n\n"))
        << dump.toStdString();
    EXPECT_TRUE(dump.contains("VBoxManage list hostinfo\n"));
    EXPECT_TRUE(dump.contains("VBoxManage showvminfo phone --details\n"));
    EXPECT_FALSE(dump.contains("old contents"));

    const VmtoolsResult folder = host.run({"dump", host.scratch()});
    EXPECT_EQ(folder.exitCode, 1);
    EXPECT_TRUE(folder.errLines().contains("vmtools: " + host.scratch() + " is a folder"));
}

TEST(CliEngineTest, DeployDirNeedsNoVirtualBox)
{
    StandIn standIn;
    VmtoolsHost host;
    const QString folder = host.scratch("devices");

    VmtoolsResult result = host.run({"deploy-dir", folder});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, "New devices will be kept in " + folder + "\n");
    EXPECT_TRUE(QFileInfo(folder).isDir());

    result = host.run({"deploy-dir", "--json"});
    EXPECT_EQ(result.json().value("deployDirectory"), QJsonValue(folder));
    EXPECT_TRUE(standIn.calls().isEmpty());
}
