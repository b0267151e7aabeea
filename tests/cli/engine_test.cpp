// SPDX-License-Identifier: Apache-2.0
// vmtools as a child process: usage, engine information, logging, deploy folder.
#include "vmtoolshost.h"

#include "commands.h"
#include "printers.h"
#include "profilekeys.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <vmtools/version.h>

namespace {

// How the manual page writes a command or an option: bold, with troff's escaped hyphens.
QString manualBold(const QString &word)
{
    return "\\fB" + QString(word).replace('-', "\\-") + "\\fR";
}

// The word whole: "delete" is not found in "delete-disk", nor "--gui" in "--guide".
QRegularExpression token(const QString &word)
{
    return QRegularExpression("(?<![\\w-])" + QRegularExpression::escape(word) + "(?![\\w-])");
}

// The rows of tests/data/cli/usage.txt, with the test's own paths put in.
QList<Expect> usageRows(const VmtoolsHost &host)
{
    QList<Expect> rows;
    for (const QStringList &columns :
         dataRows("usage.txt", {{"{scratch}", host.scratch()},
                                {"{appliance}", host.scratchFile("device.ova", "ova")},
                                {"{notes}", host.scratchFile("notes.txt", "mine")},
                                {"{disk}", host.scratchFile("data.vmdk", "")}})) {
        Expect::Arguments arguments(columns[0]);
        arguments.replaceInStrings(QRegularExpression("^''$"), QString());
        rows.append({arguments, columns.value(1).toInt(), columns.value(2),
                     columns.size() > 3 ? QString("%1").arg(columns[3]) : QString()});
    }
    return rows;
}

} // namespace

// Every value, name and file is checked before anything changes, and a refusal says why.
TEST(CliEngineTest, UsageRowsAnswerAsWrittenAndChangeNothing)
{
    StandIn standIn;
    scriptNoMachine(standIn, "watch");
    standIn.onPrefix({"guestproperty", "enumerate", "Ubuntu"},
                     {Answer::ok("Name: /VirtualBox/HostInfo/VBoxVer, value: 5.2.44, "
                                 "timestamp: 1, flags: \n")});
    scriptDevice(standIn, {"Ubuntu", "628a6317-792a-45ff-8f0a-de3227f14724"});
    standIn.onExact({"list", "bridgedifs"}, {Answer::ok(recorded("machine-bridgedifs.txt"))});
    scriptUsualHost(standIn);
    VmtoolsHost host;
    const QList<Expect> rows = usageRows(host);
    ASSERT_GT(rows.size(), 40);
    expectRuns(host, rows);
    EXPECT_TRUE(QFileInfo::exists(host.scratch("notes.txt")));
    EXPECT_TRUE(QFileInfo(host.scratch("devices")).isDir());
    const QStringList changes{"import",
                              "clonevm",
                              "modifyvm",
                              "guestproperty set",
                              "unregistervm",
                              "closemedium",
                              "clonehd",
                              "export",
                              "startvm",
                              "controlvm",
                              "snapshot phone take",
                              "setproperty"};
    for (const QStringList &call : standIn.calls()) {
        for (const QString &change : changes)
            EXPECT_FALSE((call.join(' ') + ' ').startsWith(change + ' ')) << change.toStdString();
    }
}

TEST(CliEngineTest, HelpNeedsNoVirtualBoxAndWithoutItNothingElseRuns)
{
    StandIn standIn;
    VmtoolsHost host;
    const QList<VmtoolsResult> results =
        expectRuns(host, {{"help create", 0}, {"create --help", 0}, {"--help", 0}});
    EXPECT_EQ(results[0].out, results[1].out);
    const QString &createHelp = results[1].out;
    EXPECT_TRUE(createHelp.startsWith("Usage: vmtools create [options] NAME APPLIANCE\n"))
        << createHelp.toStdString();
    EXPECT_TRUE(createHelp.contains("--sdcard <MB>"));
    // Every command and option is in the overview, both completions and the manual page.
    const QStringList completions{readSource("cli/completion/vmtools.bash"),
                                  readSource("cli/completion/_vmtools")};
    const QString manual = readSource("cli/vmtools.1.in");
    for (const Command &command : Commands::all()) {
        SCOPED_TRACE(command.name.toStdString());
        EXPECT_TRUE(results[2].out.contains("\n  " + command.name + ' '));
        EXPECT_TRUE(manual.contains(manualBold(command.name)));
        QStringList words{command.name};
        for (const QCommandLineOption &option : command.options) {
            words.append("--" + option.names().constLast());
            EXPECT_TRUE(manual.contains(manualBold(words.constLast())));
        }
        for (const QString &completion : completions) {
            for (const QString &word : words)
                EXPECT_TRUE(completion.contains(token(word))) << word.toStdString();
        }
    }
    for (const QString &key : ProfileKeys::names(false)) {
        for (const QString &completion : completions)
            EXPECT_TRUE(completion.contains(token(key))) << key.toStdString();
    }
    EXPECT_TRUE(standIn.calls().isEmpty());

    // A data folder that cannot be made is said plainly, before anything runs.
    const QString unusable = host.scratchFile("file", "") + "/qm";
    host.setVariable("QM_HOME", unusable);
    for (const char *command : {"info", "list", "deploy-dir"})
        expectRuns(host, {{command, 1,
                           "QM_HOME is set to '" + unusable +
                               "', but this directory cannot be "
                               "created"}});
    EXPECT_TRUE(standIn.calls().isEmpty());
    host.setVariable("QM_HOME", host.scratch("qm"));

    // With no answer from VirtualBox the engine cannot start, and nothing more is asked.
    expectRuns(host, {{"info --json -v", 3,
                       "VirtualBox did not answer (\"VBoxManage list hostinfo\" failed); is "
                       "VirtualBox installed and VBoxManage on PATH?",
                       R"({"loadState": 1})"}});
    EXPECT_FALSE(calledWithPrefix(standIn, {"list", "vms"}));
}

TEST(CliEngineTest, InfoInTextAndJsonWithDebugLinesOnlyWhenVerboseAndAllInTheLogFile)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    VmtoolsHost host;

    // The versions without starting the engine: VirtualBox is asked only for its own.
    expectRuns(host,
               {{"--version", 0, "",
                 "vmtools " VMTOOLS_VERSION_STRING "\nplug-in vboxmanage " VMTOOLS_VERSION_STRING
                 "\nVirtualBox 5.2.44r139111\n"},
                {"--version --json", 0, "",
                 R"({"version": ")" VMTOOLS_VERSION_STRING
                 R"(", "pluginVersion": ")" VMTOOLS_VERSION_STRING
                 R"(", "virtualBoxVersion": "5.2.44r139111"})"}});
    EXPECT_EQ(standIn.calls(), (QList<QStringList>{{"--version"}, {"--version"}}));
    EXPECT_TRUE(standIn.calls("ip").isEmpty());

    // Looking changes nothing: on a host without a usable interface info only says so.
    VmtoolsResult result = host.run({"info", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    expectMembers(result.json(), R"({"ready": false, "hostOnlyInterface": null, "maxCpus": 8})");
    EXPECT_FALSE(calledWithPrefix(standIn, {"hostonlyif"}));
    EXPECT_FALSE(calledWithPrefix(standIn, {"dhcpserver"}));
    ASSERT_EQ(host.run({"repair-network"}).exitCode, 0);

    result = host.run({"info", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    expectMembers(result.json(), R"({"ok": true, "virtualBoxVersion": "5.2.44r139111",
                                     "maxCpus": 8, "maxMemory": 15923, "ready": true,
                                     "hostOnlyInterface": "vboxnet0", "loadState": 0})");
    EXPECT_TRUE(result.json().value("loadMessage").isNull()); // not left out, not empty
    EXPECT_TRUE(result.json().value("hardwareVirtualization").isBool());
    EXPECT_FALSE(result.json().value("processorVendor").toString().isEmpty());
    EXPECT_TRUE(result.json()
                    .value("deployDirectory")
                    .toString()
                    .endsWith("/.Brellstock/Quillomate/deployed/"));

    result = host.run({"info"});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    for (const char *line : {"^Max memory: +15923 MB$", "^Host-only interface: +vboxnet0$"}) {
        EXPECT_TRUE(
            result.out.contains(QRegularExpression(line, QRegularExpression::MultilineOption)))
            << result.out.toStdString();
    }
    // The engine's debug lines show only with -v, and all of them go to the log file too.
    const QStringList quiet = result.errLines();
    result = host.run({"info", "-v", "--log-file", host.scratch("vmtools.log")});
    ASSERT_EQ(result.exitCode, 0);
    QStringList debug;
    for (const QString &line : result.errLines()) {
        if (line.startsWith("[VBox] ") && !quiet.contains(line))
            debug.append(line);
    }
    EXPECT_GT(debug.size(), 3) << result.err.toStdString();

    QFile log(host.scratch("vmtools.log"));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(log.readAll()).split('\n', Qt::SkipEmptyParts);
    const QRegularExpression stamped(
        "^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3} (debug|info|warning|critical) (.*)$");
    ASSERT_FALSE(lines.isEmpty());
    QStringList texts;
    QStringList levels;
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = stamped.match(line);
        ASSERT_TRUE(match.hasMatch()) << line.toStdString();
        texts.append(match.captured(2));
        levels.append(match.captured(1));
    }
    EXPECT_TRUE(levels.contains("debug"));
    for (const QString &line : debug)
        EXPECT_TRUE(texts.contains(line)) << line.toStdString();
}
