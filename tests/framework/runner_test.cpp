#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtoolsobserver.h>

#include "logcapture.h"
#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

using namespace VBoxManageCommon;

namespace {

const QString Tool = QStringLiteral("VBoxManage");

LogLine debugLine(const QString &text)
{
    return {QtDebugMsg, text};
}

LogLine criticalLine(const QString &text)
{
    return {QtCriticalMsg, text};
}

} // namespace

TEST(RunnerTest, SuccessLogsCallAndReturnCode)
{
    StandIn standIn;
    Answer answer = Answer::ok("  5.2.44r139111\n\n");
    answer.err = "a warning on stderr\n";
    standIn.onExact({"--version"}, {answer});
    LogCapture log;

    const CallResult result = call(Tool, {"--version"});

    // Nothing is trimmed, and standard error is kept even when the call succeeds.
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "  5.2.44r139111\n\n");
    EXPECT_EQ(result.error, "a warning on stderr\n");
    EXPECT_EQ(log.lines(), (QList<LogLine>{debugLine("[VBox] Call: (\"--version\")"),
                                           debugLine("[VBox] Return code: 0")}));
}

TEST(RunnerTest, ArgumentsReachTheChildUntouchedAndAreLoggedAsAQtStringList)
{
    StandIn standIn;
    const QStringList args = {"modifyvm",     "my phone", "--name",      "say \"hi\"",
                              "line1\nline2", "",         "back\\slash", "$HOME;*"};
    standIn.onExact(args, {Answer::ok()});
    LogCapture log;

    const CallResult result = call(Tool, args);

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(standIn.calls(), QList<QStringList>{args});
    EXPECT_EQ(
        log.lines(),
        (QList<LogLine>{debugLine("[VBox] Call: (\"modifyvm\", \"my phone\", \"--name\", "
                                  "\"say \\\"hi\\\"\", \"line1\\nline2\", \"\", \"back\\\\slash\", "
                                  "\"$HOME;*\")"),
                        debugLine("[VBox] Return code: 0")}));
}

TEST(RunnerTest, EmptyArgumentListRunsTheToolWithoutArguments)
{
    StandIn standIn;
    standIn.onExact({}, {Answer::ok("usage\n")});
    LogCapture log;

    const CallResult result = call(Tool, {});

    EXPECT_EQ(result.output, "usage\n");
    EXPECT_EQ(standIn.calls(), QList<QStringList>{QStringList()});
    EXPECT_EQ(log.lines(),
              (QList<LogLine>{debugLine("[VBox] Call: ()"), debugLine("[VBox] Return code: 0")}));
}

TEST(RunnerTest, OutputAndErrorAreDecodedAsUtf8AndCutAtTheFirstNul)
{
    StandIn standIn;
    Answer answer = Answer::ok(QStringLiteral("Gr\u00f6\u00dfe \u2713 ok") + QChar(0) +
                               QStringLiteral("hidden") + QChar(0) + "more");
    answer.err = QStringLiteral("before") + QChar(0) + QStringLiteral("after\n");
    standIn.onExact({"showvminfo", "phone"}, {answer});
    standIn.onExact({"nul-first"}, {Answer::ok(QString(QChar(0)) + "all hidden")});
    LogCapture log;

    const CallResult result = call(Tool, {"showvminfo", "phone"});
    EXPECT_EQ(result.output, QStringLiteral("Gr\u00f6\u00dfe \u2713 ok"));
    EXPECT_EQ(result.error, "before");

    const CallResult leadingNul = call(Tool, {"nul-first"});
    EXPECT_EQ(leadingNul.exitCode, 0);
    EXPECT_TRUE(leadingNul.output.isEmpty());
}

TEST(RunnerTest, NonZeroExitLogsTheCodeAndTheTrimmedErrorWhenItIsNotBlank)
{
    StandIn standIn;
    Answer failing = Answer::fail(1, "\n  VBoxManage: error: Could not find \"x\"\n"
                                     "VBoxManage: error: Details: code\n\t ");
    failing.out = "partial output\n";
    standIn.onExact({"startvm", "x"}, {failing});
    standIn.onExact({"blank"}, {Answer::fail(2, " \n\t \n")});
    standIn.onExact({"empty"}, {Answer::fail(255)});

    {
        LogCapture log;
        const CallResult result = call(Tool, {"startvm", "x"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.output, "partial output\n");
        EXPECT_EQ(result.error, failing.err);
        EXPECT_EQ(log.lines(),
                  (QList<LogLine>{
                      debugLine("[VBox] Call: (\"startvm\", \"x\")"),
                      criticalLine("[VBox] Return code: 1"),
                      criticalLine("[VBox] Output command: \"VBoxManage: error: Could not find "
                                   "\\\"x\\\"\\nVBoxManage: error: Details: code\"")}));
    }
    {
        LogCapture log;
        const CallResult result = call(Tool, {"blank"});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.error, " \n\t \n");
        EXPECT_EQ(log.lines(), (QList<LogLine>{debugLine("[VBox] Call: (\"blank\")"),
                                               criticalLine("[VBox] Return code: 2")}));
    }
    {
        LogCapture log;
        const CallResult result = call(Tool, {"empty"});
        EXPECT_EQ(result.exitCode, 255);
        EXPECT_EQ(log.lines(), (QList<LogLine>{debugLine("[VBox] Call: (\"empty\")"),
                                               criticalLine("[VBox] Return code: 255")}));
    }
}

TEST(RunnerTest, ExecutableThatCannotStartIsReportedWithTheSameWordsWhateverItsName)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString notExecutable = dir.filePath("not-executable");
    QFile file(notExecutable);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\necho never\n");
    file.close();

    for (const QString &program : {dir.filePath("missing/VBoxManage"), notExecutable}) {
        SCOPED_TRACE(program.toStdString());
        LogCapture log;
        const CallResult result = call(program, {"list", "vms"});
        // The exit code stays the process object's own: never the cancelled -1.
        EXPECT_NE(result.exitCode, -1);
        EXPECT_TRUE(result.output.isEmpty());
        EXPECT_TRUE(result.error.isEmpty());
        EXPECT_EQ(log.lines(), (QList<LogLine>{debugLine("[VBox] Call: (\"list\", \"vms\")"),
                                               criticalLine("[VBox] Can't run VBoxManage")}));
    }
}

TEST(RunnerTest, SilentLeavesNoTraceWhateverTheOutcome)
{
    StandIn standIn;
    standIn.onExact({"guestproperty", "get", "phone", "x"}, {Answer::ok("Value: 1\n")});
    standIn.onExact({"broken"}, {Answer::fail(3, "VBoxManage: error: bad\n")});
    QTemporaryDir dir;
    LogCapture log;

    const CallResult ok = call(Tool, {"guestproperty", "get", "phone", "x"}, Silent);
    const CallResult failed = call(Tool, {"broken"}, Silent);
    const CallResult unstartable = call(dir.filePath("missing"), {"x"}, Silent);
    // 5 = Silent | WaitForever: still silent.
    const CallResult silentForever = call(Tool, {"broken"}, Options(Silent | WaitForever));

    EXPECT_EQ(ok.output, "Value: 1\n");
    EXPECT_EQ(failed.exitCode, 3);
    EXPECT_EQ(failed.error, "VBoxManage: error: bad\n");
    EXPECT_NE(unstartable.exitCode, -1);
    EXPECT_EQ(silentForever.exitCode, 3);
    EXPECT_TRUE(log.lines().isEmpty()) << log.texts().join('\n').toStdString();
    EXPECT_EQ(standIn.calls().size(), 3);
}

TEST(RunnerTest, UnknownOptionBitsAreIgnoredAndWaitForeverStillLogs)
{
    StandIn standIn;
    standIn.onExact({"list", "hostinfo"}, {Answer::ok("Processor count: 4\n").withDelay(200)});
    LogCapture log;

    const CallResult waitForever =
        call(Tool, {"list", "hostinfo"}, Options(WaitForever | LongTimeout));
    const CallResult unknownBits = call(Tool, {"list", "hostinfo"}, Options(QFlag(0x8 | 0x40)));

    EXPECT_EQ(waitForever.output, "Processor count: 4\n");
    EXPECT_EQ(unknownBits.output, "Processor count: 4\n");
    const LogLine callLine = debugLine("[VBox] Call: (\"list\", \"hostinfo\")");
    const LogLine returnLine = debugLine("[VBox] Return code: 0");
    EXPECT_EQ(log.lines(), (QList<LogLine>{callLine, returnLine, callLine, returnLine}));
}
