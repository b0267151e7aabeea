// vmtools as a child process: export, Ctrl-C during and outside it, disk images.
#include "vmtoolshost.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QThread>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
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
    const QStringList exportCall = standIn.calls().constLast();
    EXPECT_EQ(exportCall.mid(0, 3), (QStringList{"export", "phone", "--output"}));
    EXPECT_TRUE(exportCall.value(3).startsWith(target + "-")) << exportCall.value(3).toStdString();

    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(::grantpt(terminal), 0);
    ASSERT_EQ(::unlockpt(terminal), 0);
    ::fcntl(terminal, F_SETFL, O_NONBLOCK);
    vmtools = host.start({"export", "phone", target}, QString::fromLocal8Bit(::ptsname(terminal)));
    const QByteArray status = "\r\033[KExporting phone to phone.ova... 0:0";
    QByteArray shown;
    for (QDeadlineTimer deadline(20000); !shown.contains(status) && !deadline.hasExpired();) {
        char buffer[512];
        const ssize_t n = ::read(terminal, buffer, sizeof buffer);
        if (n > 0)
            shown.append(buffer, static_cast<int>(n));
        else
            QThread::msleep(50);
    }
    ::kill(static_cast<pid_t>(vmtools->processId()), SIGINT);
    vmtools->waitForFinished(20000);
    ::close(terminal);
    EXPECT_TRUE(shown.contains(status)) << shown.toStdString();
    EXPECT_EQ(vmtools->exitCode(), 130);
}

TEST(CliInterruptTest, CtrlCElsewhereLetsTheCallFinishAndRunsNothingMore)
{
    StandIn standIn;
    standIn.onExact(
        {"list", "hostinfo"},
        {Answer::ok("Processor online count: 2\nMemory size: 4096 MByte\n").withDelay(1500)});
    scriptEngineStart(standIn);
    VmtoolsHost host;

    const auto vmtools = host.start({"info", "--json"});
    ASSERT_TRUE(waitForCall(standIn, "list", 20000));
    ::kill(static_cast<pid_t>(vmtools->processId()), SIGINT);
    ASSERT_TRUE(vmtools->waitForFinished(20000));

    EXPECT_EQ(vmtools->exitCode(), 130);
    const QStringList err =
        QString::fromUtf8(vmtools->readAllStandardError()).split('\n', Qt::SkipEmptyParts);
    EXPECT_TRUE(err.contains("vmtools: interrupted; finishing the current VirtualBox call "
                             "(Ctrl-C again stops at once)"))
        << err.join('\n').toStdString();
    EXPECT_EQ(err.constLast(), "vmtools: interrupted");
    const QJsonObject json = QJsonDocument::fromJson(vmtools->readAllStandardOutput()).object();
    EXPECT_EQ(json.value("exitCode"), QJsonValue(130));
    // The start-up went on to its end; the listing itself never ran.
    EXPECT_TRUE(calledWithPrefix(standIn, {"--version"}));
    EXPECT_FALSE(calledWithPrefix(standIn, {"list", "vms"}));
}

TEST(CliExportTest, ExportAndDiskCommandsNeverWriteOverAFileAndReportFailures)
{
    StandIn standIn;
    standIn.onPrefix({"export"}, {Answer::fail(1, "VBoxManage: error: Appliance write failed\n")});
    standIn.onPrefix({"clonehd"}, {Answer::fail(1, "VBoxManage: error: Cannot copy\n")});
    standIn.onPrefix({"closemedium"}, {Answer::fail(1, "VBoxManage: error: medium locked\n")});
    scriptUsualHost(standIn);
    VmtoolsHost host;
    const QString existing = host.scratchFile("old.ova", "someone's appliance");
    const QString disk = host.scratchFile("data.vmdk", "");
    const QString target = host.scratch("new.ova");
    const QString gone = host.scratch("gone.vdi");

    expectRuns(host, {{"export phone " + existing, 1, existing + " already exists"},
                      {"copy-disk " + disk + " " + disk, 1, disk + " already exists"},
                      {"delete-disk " + gone, 0, "",
                       "No disk image at " + gone + "; nothing to delete.\n"}});
    QFile file(existing);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "someone's appliance");
    for (const char *command : {"export", "clonehd", "closemedium"})
        EXPECT_FALSE(calledWithPrefix(standIn, {command})) << command;

    expectRuns(host, {{"export phone " + target + " --json", 1,
                       "phone could not be exported to " + target},
                      {"copy-disk " + disk + " " + host.scratch("copy.vmdk") + " --json", 1,
                       "the disk image could not be copied", R"({"result": 9})"},
                      {"delete-disk " + disk + " --json", 1, "the disk image could not be deleted",
                       R"({"result": 10})"}});
    EXPECT_FALSE(QFile::exists(target));
}
