// SPDX-License-Identifier: Apache-2.0
#include <vmtools/callmemo.h>
#include <vmtools/vboxmanagecommon.h>
#include <vmtools/vmtoolsobserver.h>

#include "logcapture.h"
#include "printers.h"
#include "procstats.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <climits>

using namespace VBoxManageCommon;

namespace {

const QString Tool = QStringLiteral("VBoxManage");

// AddressSanitizer holds freed memory back in quarantine, so resident memory only grows
// there; its leak checker covers that build instead.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool ResidentMemoryComparable = false;
#elif defined(__has_feature)
constexpr bool ResidentMemoryComparable = !__has_feature(address_sanitizer);
#else
constexpr bool ResidentMemoryComparable = true;
#endif

LogLine debugLine(const QString &text)
{
    return {QtDebugMsg, text};
}

LogLine criticalLine(const QString &text)
{
    return {QtCriticalMsg, text};
}

} // namespace

TEST(RunnerTest, SuccessKeepsOutputAndArgumentsUntouchedAndLogsThemAsAQtStringList)
{
    struct Case
    {
        QStringList args;
        QString callLine;
    };
    const QList<Case> cases = {
        {{}, "()"},
        {{"modifyvm", "my phone", "say \"hi\"", "line1\nline2", "", "back\\slash", "$HOME;*"},
         "(\"modifyvm\", \"my phone\", \"say \\\"hi\\\"\", \"line1\\nline2\", \"\", "
         "\"back\\\\slash\", \"$HOME;*\")"},
    };
    for (const Case &c : cases) {
        StandIn standIn;
        Answer answer = Answer::ok("  5.2.44r139111\n\n");
        answer.err = "a warning on stderr\n";
        standIn.onExact(c.args, {answer});
        LogCapture log;

        const CallResult result = call(Tool, c.args);

        // Nothing is trimmed, and standard error is kept even when the call succeeds.
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.output, "  5.2.44r139111\n\n");
        EXPECT_EQ(result.error, "a warning on stderr\n");
        EXPECT_EQ(standIn.calls(), QList<QStringList>{c.args});
        EXPECT_EQ(log.lines(), (QList<LogLine>{debugLine("[VBox] Call: " + c.callLine),
                                               debugLine("[VBox] Return code: 0")}));
    }
}

TEST(RunnerTest, OutputAndErrorAreDecodedAsUtf8AndCutAtTheFirstNul)
{
    StandIn standIn;
    Answer answer = Answer::ok(QStringLiteral("Gr\u00f6\u00dfe \u2713 ok") + QChar(0) +
                               QStringLiteral("hidden") + QChar(0) + "more");
    answer.err = QStringLiteral("before") + QChar(0) + QStringLiteral("after\n");
    standIn.onExact({"showvminfo", "phone"}, {answer});
    standIn.onExact({"nul-first"}, {Answer::ok(QString(QChar(0)) + "all hidden")});

    const CallResult result = call(Tool, {"showvminfo", "phone"});
    EXPECT_EQ(result.output, QStringLiteral("Gr\u00f6\u00dfe \u2713 ok"));
    EXPECT_EQ(result.error, "before");
    EXPECT_TRUE(call(Tool, {"nul-first"}).output.isEmpty());
}

TEST(RunnerTest, NonZeroExitLogsTheCodeAndTheTrimmedErrorWhenItIsNotBlank)
{
    struct Case
    {
        QString arg;
        Answer answer;
        QList<LogLine> outcome;
    };
    Answer failing = Answer::fail(1, "\n  VBoxManage: error: Could not find \"x\"\n"
                                     "VBoxManage: error: Details: code\n\t ");
    failing.out = "partial output\n";
    const QList<Case> cases = {
        {"startvm",
         failing,
         {criticalLine("[VBox] Return code: 1"),
          criticalLine("[VBox] Output command: \"VBoxManage: error: Could not find "
                       "\\\"x\\\"\\nVBoxManage: error: Details: code\"")}},
        {"blank", Answer::fail(2, " \n\t \n"), {criticalLine("[VBox] Return code: 2")}},
        {"empty", Answer::fail(255), {criticalLine("[VBox] Return code: 255")}},
    };
    for (const Case &c : cases) {
        StandIn standIn;
        standIn.onExact({c.arg}, {c.answer});
        LogCapture log;
        const CallResult result = call(Tool, {c.arg});
        EXPECT_EQ(result.exitCode, c.answer.exitCode);
        EXPECT_EQ(result.output, c.answer.out);
        EXPECT_EQ(result.error, c.answer.err);
        EXPECT_EQ(log.lines(),
                  QList<LogLine>{debugLine("[VBox] Call: (\"" + c.arg + "\")")} + c.outcome);
    }
}

TEST(RunnerTest, AMemoGivesReadsAgainButNeitherFailuresNorAnythingAcrossAChange)
{
    StandIn standIn;
    standIn.onExact({"showvminfo", "phone"}, {Answer::ok("description\n")});
    standIn.onExact({"guestproperty", "enumerate", "uuid-1"}, {Answer::ok("properties\n")});
    standIn.onPrefix({"snapshot"}, {Answer::fail(1, "VBoxManage: error: no snapshots\n")});
    standIn.onPrefix({"guestproperty", "set"}, {Answer::ok("")});
    const QStringList description{"showvminfo", "phone"};
    const QStringList byName{"guestproperty", "enumerate", "phone"};
    const QStringList snapshots{"snapshot", "phone", "list"};
    const QStringList change{"guestproperty", "set", "phone", "vbox_dpi", "240"};

    CallMemo memo;
    memo.sameMachine("phone", "uuid-1");
    call(Tool, description); // no scope on this thread: the memo is not asked
    {
        const CallMemo::Scope scope(memo);
        LogCapture log;
        call(Tool, description);
        EXPECT_EQ(call(Tool, description).output, "description\n");
        call(Tool, {"guestproperty", "enumerate", "uuid-1"});
        EXPECT_EQ(call(Tool, byName).output, "properties\n"); // the name is that machine
        EXPECT_EQ(call(Tool, snapshots).exitCode, 1);
        EXPECT_EQ(call(Tool, snapshots).exitCode, 1);
        call(Tool, change);
        call(Tool, description);
        EXPECT_TRUE(
            log.lines().contains(debugLine("[VBox] Answered again: (\"showvminfo\", \"phone\")")));
    }
    call(Tool, description);
    EXPECT_EQ(standIn.calls(), (QList<QStringList>{description,
                                                   description,
                                                   {"guestproperty", "enumerate", "uuid-1"},
                                                   snapshots,
                                                   snapshots,
                                                   change,
                                                   description,
                                                   description}));
    EXPECT_EQ(memo.reuses(), 2);

    // Known: what was read since the change, and nothing from before it.
    EXPECT_TRUE(memo.isKnown(Tool, description));
    EXPECT_FALSE(memo.isKnown(Tool, byName));
    EXPECT_FALSE(memo.isKnown(Tool, {"guestproperty", "enumerate", "uuid-1"}));
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

TEST(RunnerTest, OptionBitsSilenceOnlyWithSilentAndUnknownBitsAreIgnored)
{
    StandIn standIn;
    standIn.onExact({"list", "hostinfo"}, {Answer::ok("Processor count: 4\n").withDelay(200)});
    standIn.onExact({"broken"}, {Answer::fail(3, "VBoxManage: error: bad\n")});
    QTemporaryDir dir;
    LogCapture log;

    EXPECT_EQ(call(Tool, {"list", "hostinfo"}, Silent).output, "Processor count: 4\n");
    EXPECT_EQ(call(Tool, {"broken"}, Silent).error, "VBoxManage: error: bad\n");
    EXPECT_NE(call(dir.filePath("missing"), {"x"}, Silent).exitCode, -1);
    EXPECT_EQ(call(Tool, {"broken"}, Options(Silent | WaitForever)).exitCode, 3);
    EXPECT_TRUE(log.lines().isEmpty()) << log.texts().join('\n').toStdString();
    EXPECT_EQ(standIn.calls().size(), 3);

    const CallResult waitForever =
        call(Tool, {"list", "hostinfo"}, Options(WaitForever | LongTimeout));
    const CallResult unknownBits = call(Tool, {"list", "hostinfo"}, Options(QFlag(0x8 | 0x40)));
    EXPECT_EQ(waitForever.output, "Processor count: 4\n");
    EXPECT_EQ(unknownBits.output, "Processor count: 4\n");
    const LogLine callLine = debugLine("[VBox] Call: (\"list\", \"hostinfo\")");
    const LogLine returnLine = debugLine("[VBox] Return code: 0");
    EXPECT_EQ(log.lines(), (QList<LogLine>{callLine, returnLine, callLine, returnLine}));
}

TEST(RunnerTest, ChildrenGetEnglishMessagesAndKeepAUtf8CharacterSet)
{
    struct Case
    {
        QStringList given; // NAME=value
        QString characterSet;
    };
    const QList<Case> cases = {
        {{}, "C.UTF-8"},
        {{"LANG=ru_RU.UTF-8"}, "ru_RU.UTF-8"},
        {{"LC_ALL=de_DE.utf8", "LC_CTYPE=C", "LANG=C"}, "de_DE.utf8"},
        {{"LC_ALL=", "LC_CTYPE=fr_FR.UTF-8@euro", "LANG=C"}, "fr_FR.UTF-8@euro"},
        {{"LC_ALL=C", "LANG=ru_RU.UTF-8"}, "C.UTF-8"},
        {{"LANG=ru_RU.KOI8-R", "LANGUAGE=ru:en"}, "C.UTF-8"},
        {{"LANG=en_US"}, "C.UTF-8"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.given.join(' ').toStdString());
        QProcessEnvironment given;
        given.insert("PATH", "/usr/bin");
        for (const QString &variable : c.given)
            given.insert(variable.section('=', 0, 0), variable.section('=', 1));
        const QProcessEnvironment child = childEnvironment(given);
        EXPECT_FALSE(child.contains("LC_ALL"));
        EXPECT_FALSE(child.contains("LANGUAGE"));
        EXPECT_EQ(child.value("LC_CTYPE"), c.characterSet);
        EXPECT_EQ(child.value("LC_MESSAGES"), "C");
        EXPECT_EQ(child.value("PATH"), "/usr/bin");
        EXPECT_EQ(child.value("LANG"), given.value("LANG"));
    }
}

// Calls give back what they took, on each path: descriptors, children and memory.
// VMTOOLS_HYGIENE_CALLS scales it; ctest also runs it at ten thousand calls, labelled slow.
TEST(RunnerTest, CallsGiveBackDescriptorsChildrenAndMemory)
{
    const int calls = qEnvironmentVariableIsSet("VMTOOLS_HYGIENE_CALLS")
                          ? qEnvironmentVariableIntValue("VMTOOLS_HYGIENE_CALLS")
                          : 200;
    constexpr qint64 RssGrowthLimitKiB = 8 * 1024;
    constexpr int NotCancelled = INT_MIN; // whatever the process object reports, but not -1
    VMToolsObserver observer;
    struct Case
    {
        QString program;
        VMToolsObserver *observer;
        int exitCode;
    };
    const QList<Case> cases = {
        {"/bin/true", nullptr, 0},
        {"/bin/false", &observer, 1},
        {"/nonexistent/VBoxManage", &observer, NotCancelled},
    };
    int failures = 0;
    const auto callEach = [&](int count) {
        for (int i = 0; i < count; ++i) {
            const Case &c = cases.at(i % cases.size());
            const int code = call(c.program, {}, Silent, c.observer).exitCode;
            failures += c.exitCode == NotCancelled ? code == -1 : code != c.exitCode;
        }
    };
    callEach(60); // warm-up: Qt's lazily built state, the allocator's pools
    const int descriptors = ProcStats::openDescriptors();
    const qint64 residentKiB = ProcStats::residentKiB();

    callEach(calls);
    const qint64 growthKiB = ProcStats::residentKiB() - residentKiB;
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(ProcStats::openDescriptors(), descriptors);
    EXPECT_EQ(ProcStats::children(), QList<qint64>());
    if (ResidentMemoryComparable) {
        EXPECT_LT(growthKiB, RssGrowthLimitKiB);
    }
    RecordProperty("rss_growth_kib", static_cast<int>(growthKiB));
}
