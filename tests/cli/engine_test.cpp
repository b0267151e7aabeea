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

QString readSource(const QString &path)
{
    QFile file(QStringLiteral(VMTOOLS_SOURCE_DIR "/") + path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
    return QString::fromUtf8(file.readAll());
}

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

} // namespace

TEST(CliEngineTest, UsageHelpAndDeployFolderNeedNoVirtualBoxAndWithoutItNothingElseRuns)
{
    StandIn standIn;
    VmtoolsHost host;
    const QString folder = host.scratch("devices");
    const QList<VmtoolsResult> results = expectRuns(
        host,
        {{{}, 2, "no command given\nsee 'vmtools --help'", ""},
         {"launch phone --json", 2, "unknown command 'launch'\nsee 'vmtools --help'",
          R"({"ok": false, "exitCode": 2})"},
         {"lst", 2, "unknown command 'lst'\ndid you mean 'list'?", ""},
         {"strat phone --json", 2, "unknown command 'strat'\ndid you mean 'start'?",
          R"({"suggestions": ["start"]})"},
         {"help xet", 2, "unknown command 'xet'\ndid you mean 'get' or 'set'?"},
         {"help create", 0},
         {"export phone", 2, "missing arguments: NAME FILE\nsee 'vmtools export --help'"},
         {"deploy-dir " + folder, 0, "", "New devices will be kept in " + folder + "\n"},
         {"deploy-dir --json", 0, "", R"({"deployDirectory": ")" + folder + "\"}"},
         {"create --help", 0},
         {"--help", 0},
         // Every value and file is checked before any engine starts.
         {"set phone density -3", 2, "density takes a positive whole number, not \"-3\""},
         {"set phone density 300 memory", 2, "\"memory\" has no value"},
         {{"export", "phone", ""}, 2, "the export needs a file name, such as phone.ova"},
         {"delete-disk " + host.scratchFile("notes.txt", "mine"), 2,
          host.scratch("notes.txt") + " is not a disk image (.vdi, .vmdk, .vhd, .vhdx, "
                                      ".hdd, .qcow, .qcow2 or .qed)"},
         {"create phone " + host.scratch("none.ova"), 1,
          "no appliance file at " + host.scratch("none.ova")},
         {"clone phone phone", 2, "the clone needs a name of its own"},
         {"wait-ip phone --timeout 0", 2, "--timeout takes a positive whole number, not \"0\""},
         {"list -v -q", 2, "-v and -q cannot be used together"}});
    EXPECT_TRUE(QFileInfo::exists(host.scratch("notes.txt")));
    EXPECT_TRUE(QFileInfo(folder).isDir());
    EXPECT_EQ(results[5].out, results[9].out); // help create, create --help
    const QString &createHelp = results[9].out;
    EXPECT_TRUE(createHelp.startsWith("Usage: vmtools create [options] NAME APPLIANCE\n"))
        << createHelp.toStdString();
    EXPECT_TRUE(createHelp.contains("--sdcard <MB>"));
    // Every command and option is in the overview, both completions and the manual page.
    const QStringList completions{readSource("cli/completion/vmtools.bash"),
                                  readSource("cli/completion/_vmtools")};
    const QString manual = readSource("cli/vmtools.1.in");
    for (const Command &command : Commands::all()) {
        SCOPED_TRACE(command.name.toStdString());
        EXPECT_TRUE(results[10].out.contains("\n  " + command.name + ' '));
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
    const VmtoolsResult result =
        expectRuns(host, {{"info --json -v", 3,
                           "VirtualBox did not answer (\"VBoxManage list hostinfo\" failed); is "
                           "VirtualBox installed and VBoxManage on PATH?",
                           R"({"loadState": 1})"}})
            .first();
    // The engine's own warning, exactly as it wrote it.
    EXPECT_TRUE(result.errLines().contains("[VBox] empty result for 'vboxmanage list hostinfo'"))
        << result.err.toStdString();
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
    const QString callLine = "[VBox] Call: (\"list\", \"hostinfo\")";
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
