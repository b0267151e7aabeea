// SPDX-License-Identifier: Apache-2.0
// vmtools as a child process: export, Ctrl-C during and outside it, disk images.
#include "vmtoolshost.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <csignal>
#include <unistd.h>

namespace {

bool waitForCall(const StandIn &standIn, const QString &word, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        if (calledWithPrefix(standIn, {word}))
            return true;
        QThread::msleep(50);
    }
    return false;
}

// Processes started with `folder` first on PATH, as vmtools' VBoxManage runs are.
int runningFrom(const QString &folder)
{
    const QByteArray path = "PATH=" + folder.toUtf8() + ':';
    int count = 0;
    for (const QString &pid : QDir(QStringLiteral("/proc")).entryList({"[0-9]*"}, QDir::Dirs)) {
        QFile environ(QStringLiteral("/proc/%1/environ").arg(pid));
        if (environ.open(QIODevice::ReadOnly) && environ.readAll().contains(path))
            ++count;
    }
    return count;
}

} // namespace

TEST(CliExportTest, CtrlCCancelsTheExportAndLeavesNoFileWithAStatusLineOnlyOnATerminal)
{
    StandIn standIn;
    // An export that would take a minute and ends on the interrupt, as VBoxManage does.
    standIn.onPrefix({"export"}, {Answer::ok().withDelay(60000).exitingOnSigint(1)});
    scriptUsualHost(standIn);
    VmtoolsHost host;
    const QString target = host.scratch("phone.ova");

    auto vmtools = host.start({"export", "phone", target});
    ASSERT_TRUE(waitForCall(standIn, "export", 20000)) << "the export never started";
    ASSERT_GT(vmtools->processId(), 0); // kill(0) would hit this test
    ::kill(static_cast<pid_t>(vmtools->processId()), SIGINT);
    ASSERT_TRUE(vmtools->waitForFinished(20000)) << "vmtools did not stop on Ctrl-C";
    EXPECT_EQ(vmtools->exitCode(), 130);
    const QString err = QString::fromUtf8(vmtools->readAllStandardError());
    EXPECT_TRUE(
        err.contains("vmtools: export of phone cancelled; nothing was written to " + target))
        << err.toStdString();
    EXPECT_FALSE(err.contains('\033')) << "a status line on a pipe";
    // Neither the appliance nor the engine's temporary folder beside it is left.
    EXPECT_EQ(QDir(host.scratch()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList());

    Terminal terminal;
    ASSERT_TRUE(terminal.isOpen());
    vmtools = host.start({"export", "phone", target}, terminal.path());
    const QByteArray status = "\r\033[KExporting phone to phone.ova... 0:0";
    const QByteArray shown = terminal.readUntil(status);
    ASSERT_GT(vmtools->processId(), 0); // kill(0) would hit this test
    ::kill(static_cast<pid_t>(vmtools->processId()), SIGINT);
    vmtools->waitForFinished(20000);
    EXPECT_TRUE(shown.contains(status)) << shown.toStdString();
    EXPECT_EQ(vmtools->exitCode(), 130);
}

TEST(CliInterruptTest, InterruptsOutsideAnExportLetTheCallFinishAndMachineFolderSwitchesEnd)
{
    const QString userFolder = QStringLiteral("/home/zoé/VirtualBox VMs");
    const QString interrupted =
        "vmtools: interrupted; finishing the current VirtualBox call (Ctrl-C again stops at once)";
    struct Row
    {
        const char *what;
        QStringList arguments; // "APPLIANCE" stands for an appliance file
        QString slowCall;      // the call that is running when the signals arrive
        int signalNumber;
        int signalCount;
        int exitCode;
        QStringList errLines; // among what vmtools says
    };
    const Row rows[] = {
        {"Ctrl-C",
         {"info", "--json"},
         "list",
         SIGINT,
         1,
         130,
         {interrupted, "vmtools: interrupted"}},
        {"SIGTERM", {"info", "--json"}, "list", SIGTERM, 1, 143, {interrupted}},
        // Machines read side by side: every read ends, nothing of the listing is printed.
        {"Ctrl-C during side-by-side reads",
         {"list", "--json"},
         "guestproperty",
         SIGINT,
         1,
         130,
         {interrupted, "vmtools: interrupted"}},
        {"Ctrl-C during side-by-side reads, as text",
         {"list"},
         "guestproperty",
         SIGINT,
         1,
         130,
         {interrupted, "vmtools: interrupted"}},
        // A second Ctrl-C while the import runs in our deploy folder must not leave
        // VirtualBox's machine folder there.
        {"Ctrl-C twice during create",
         {"create", "watch", "APPLIANCE"},
         "import",
         SIGINT,
         2,
         130,
         {interrupted, "vmtools: still finishing: VirtualBox's machine folder must be put back "
                       "first"}}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        StandIn standIn;
        standIn.onExact(
            {"list", "hostinfo"},
            {Answer::ok("Processor online count: 2\nMemory size: 4096 MByte\n").withDelay(1500)});
        standIn.onExact({"list", "systemproperties"},
                        {Answer::ok("Minimum guest RAM size:          4 Megabytes\n"
                                    "Maximum guest RAM size:          2097152 Megabytes\n"
                                    "Minimum guest CPU count:         1\n"
                                    "Maximum guest CPU count:         32\n"
                                    "Default machine folder:          " +
                                    userFolder + "\n")});
        standIn.onPrefix({"import"}, {Answer::ok().withDelay(3000)});
        standIn.onPrefix({"guestproperty", "enumerate"},
                         {Answer::ok("Name: vbox_graph_mode, value: 800x600-32, timestamp: 1, "
                                     "flags: \n")
                              .withDelay(2000)});
        standIn.onExact({"list", "vms"},
                        {Answer::ok("\"phone\" {0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11}\n"
                                    "\"tablet\" {e1a5e766-27cc-4b13-8c81-b69a5aa5dac7}\n")});
        scriptNoMachine(standIn, "watch");
        scriptUsualHost(standIn);
        VmtoolsHost host;
        QStringList arguments = row.arguments;
        arguments.replaceInStrings("APPLIANCE", host.scratchFile("device.ova", "appliance"));

        const auto vmtools = host.start(arguments);
        ASSERT_TRUE(waitForCall(standIn, row.slowCall, 20000));
        if (row.slowCall == "guestproperty") { // the reads run, and are seen to
            EXPECT_GT(runningFrom(standIn.binDir()), 0);
        }
        for (int i = 0; i < row.signalCount; ++i) {
            QThread::msleep(300); // two signals sent together would merge into one
            ASSERT_GT(vmtools->processId(), 0);
            ::kill(static_cast<pid_t>(vmtools->processId()), row.signalNumber);
        }
        ASSERT_TRUE(vmtools->waitForFinished(20000));

        EXPECT_EQ(vmtools->exitCode(), row.exitCode);
        const QStringList err =
            QString::fromUtf8(vmtools->readAllStandardError()).split('\n', Qt::SkipEmptyParts);
        for (const QString &line : row.errLines)
            EXPECT_TRUE(err.contains(line)) << err.join('\n').toStdString();
        // Every VBoxManage that vmtools started has ended with it.
        EXPECT_EQ(runningFrom(standIn.binDir()), 0);
        if (row.slowCall == "guestproperty") {
            const QByteArray out = vmtools->readAllStandardOutput();
            const QJsonObject json = QJsonDocument::fromJson(out).object();
            if (row.arguments.contains("--json"))
                EXPECT_EQ(json.value("exitCode"), QJsonValue(130)) << out.toStdString();
            else
                EXPECT_EQ(out, QByteArray());
            EXPECT_FALSE(json.contains("devices"));
            EXPECT_EQ(callsWith(standIn, {"guestproperty", "enumerate"}).size(), 2);
        } else if (row.slowCall == "list") {
            EXPECT_EQ(err.constLast(), "vmtools: interrupted");
            const QJsonObject json =
                QJsonDocument::fromJson(vmtools->readAllStandardOutput()).object();
            EXPECT_EQ(json.value("exitCode"), QJsonValue(row.exitCode));
            // The listing itself never ran.
            EXPECT_FALSE(calledWithPrefix(standIn, {"list", "vms"}));
        } else {
            EXPECT_EQ(standIn.calls().constLast(),
                      (QStringList{"setproperty", "machinefolder", userFolder}));
        }
    }
}

TEST(CliExportTest, ExportAndDiskCommandsReportFailures)
{
    StandIn standIn;
    standIn.onPrefix({"export"}, {Answer::fail(1, "VBoxManage: error: Appliance write failed\n")});
    standIn.onPrefix({"clonehd"}, {Answer::fail(1, "VBoxManage: error: Cannot copy\n")});
    standIn.onPrefix({"closemedium"}, {Answer::fail(1, "VBoxManage: error: medium locked\n")});
    scriptUsualHost(standIn);
    VmtoolsHost host;
    const QString disk = host.scratchFile("data.vmdk", "");
    const QString target = host.scratch("new.ova");
    expectRuns(host, {{"export phone " + target + " --json", 1,
                       "phone could not be exported to " + target},
                      {"copy-disk " + disk + " " + host.scratch("copy.vmdk") + " --json", 1,
                       "the disk image could not be copied", R"({"result": 9})"},
                      {"delete-disk " + disk + " --json", 1, "the disk image could not be deleted",
                       R"({"result": 10})"}});
    EXPECT_FALSE(QFile::exists(target));
}
