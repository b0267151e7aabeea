// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vboxmanagecommon.h>

#include "logcapture.h"
#include "printers.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace VBoxManageCommon;

namespace {

// A child that prints a line and then sleeps in its own place (exec), so that the
// runner's clean-up after a time-out ends it for good.
QStringList sleeper(const QString &tag, int seconds)
{
    return {"-c", QStringLiteral("echo %1; exec sleep %2").arg(tag).arg(seconds)};
}

struct Case
{
    QString tag;
    int seconds;
    Options options;
    CallResult result;
};

} // namespace

// The real limits, run side by side so that the whole takes about five minutes.
TEST(RunnerSlowTest, TimeLimitsOfEachOption)
{
    std::vector<Case> cases = {
        {"default-times-out", 40, Options(), {}},
        {"silent-times-out", 40, Options(Silent), {}},
        {"long-outlasts-default", 35, Options(LongTimeout), {}},
        {"long-times-out", 330, Options(LongTimeout), {}},
        {"forever-wins-over-long", 305, Options(WaitForever | LongTimeout), {}},
        {"silent-forever", 35, Options(Silent | WaitForever), {}},
    };
    LogCapture log;
    std::vector<std::thread> workers;
    for (Case &c : cases) {
        workers.emplace_back(
            [&c] { c.result = call("/bin/sh", sleeper(c.tag, c.seconds), c.options); });
    }
    for (std::thread &worker : workers)
        worker.join();

    for (const Case &c : cases) {
        SCOPED_TRACE(c.tag.toStdString());
        // A child cut off by its limit leaves the process object's exit code, 0, and
        // what it had printed so far.
        EXPECT_EQ(c.result.exitCode, 0);
        EXPECT_EQ(c.result.output, c.tag + "\n");
        EXPECT_TRUE(c.result.error.isEmpty());
    }
    const QList<LogLine> lines = log.lines();
    const auto count = [&lines](QtMsgType type, const QString &text) {
        return lines.count(LogLine{type, text});
    };
    EXPECT_EQ(count(QtCriticalMsg, "[VBox] Can't run VBoxManage"), 2);
    EXPECT_EQ(count(QtDebugMsg, "[VBox] Return code: 0"), 2);
    // Four call lines and four outcome lines: nothing else, not even a word from the
    // clean-up of a child that outlived its limit.
    EXPECT_EQ(lines.size(), 4 + 4);
    for (const Case &c : cases) {
        const QString callLine = QStringLiteral("[VBox] Call: (\"-c\", \"echo %1; exec sleep %2\")")
                                     .arg(c.tag)
                                     .arg(c.seconds);
        EXPECT_EQ(count(QtDebugMsg, callLine), c.options.testFlag(Silent) ? 0 : 1)
            << c.tag.toStdString();
    }
}
