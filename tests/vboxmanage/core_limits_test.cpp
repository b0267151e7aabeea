#include "vboxmanagecore.h"

#include "logcapture.h"
#include "printers.h"
#include "standin.h"
#include "vboxtest.h"

#include <gtest/gtest.h>

namespace {

QString hostinfo(int online, int cores)
{
    return QStringLiteral("Processor online count: %1\nProcessor online core count: %2\n")
        .arg(online)
        .arg(cores);
}

} // namespace

TEST(CoreLimitsTest, CpuCountMultipliesCountsIsCappedAtEightAndLogsEachStep)
{
    struct Case
    {
        QString text;
        unsigned int expected;
        QStringList log;
    };
    const QString tag = QStringLiteral("[VBox] [System properties] ");
    const QList<Case> cases = {
        {hostinfo(6, 1), 6, {}},
        {hostinfo(3, 0), 3, {}},
        {hostinfo(4, 2), 8, {}},
        {"Processor online count: 5\n", 5, {}},
        {"Processor online count: 12\n", 8, {}},
        {hostinfo(8, 4),
         8,
         {tag + "Online physical CPU number: 8", tag + "Online virtual CPU number: 4",
          "[VBox] CPU number is > 8 - Fix max number to 8", tag + "Max CPU number: 8"}},
        {"Processor online count: 2\n",
         2,
         {tag + "Online physical CPU number: 2", tag + "No online virtual CPU found",
          tag + "Max CPU number: 2"}}};
    for (const Case &c : cases) {
        VBoxManageCore core;
        EXPECT_EQ(core.getMaxCpuCount(), 8u);
        LogCapture log;
        core.loadMaxCPUNumber(c.text);
        EXPECT_EQ(core.getMaxCpuCount(), c.expected) << c.text.toStdString();
        if (!c.log.isEmpty()) {
            EXPECT_EQ(log.texts(), c.log);
            // Without an online count the last value stays.
            log.clear();
            core.loadMaxCPUNumber("Processor count: 16\n");
            EXPECT_EQ(core.getMaxCpuCount(), c.expected);
            EXPECT_EQ(log.texts(),
                      QStringList{tag + "Max CPU number: " + QString::number(c.expected)});
        }
    }
}

TEST(CoreLimitsTest, LimitsFromRecordedHostinfo)
{
    VBoxManageCore core;
    LogCapture log;
    core.loadMaxMemorySize("Memory available: 100 MByte\n");
    EXPECT_EQ(core.getMaxMemory(), 4096u);
    EXPECT_TRUE(log.texts().isEmpty());

    core.loadMaxCPUNumber(recorded("core-hostinfo.txt"));
    core.loadMaxMemorySize(recorded("core-hostinfo.txt"));
    EXPECT_EQ(core.getMaxCpuCount(), 8u);
    EXPECT_EQ(core.getMaxMemory(), 15923u);
    EXPECT_TRUE(log.contains(QtDebugMsg, "[VBox] [System properties] Max memory size: 15923"));
}

TEST(CoreLimitsTest, VersionIsTrimmedCachedAndUnknownStaysForGood)
{
    StandIn standIn;
    standIn.onExact({"--version"}, {Answer::ok("5.2.44r139111\n")});
    VBoxManageCore working;
    EXPECT_EQ(working.version(), "5.2.44r139111");
    EXPECT_EQ(working.version(), "5.2.44r139111");
    EXPECT_EQ(standIn.calls().size(), 1);

    standIn.clearRules();
    standIn.clearCalls();
    standIn.onExact({"--version"}, {Answer::fail(1), Answer::ok("5.2.44r139111\n")});
    VBoxManageCore failing;
    EXPECT_EQ(failing.version(), "unknown");
    EXPECT_EQ(failing.version(), "unknown");
    EXPECT_EQ(standIn.calls(), QList<QStringList>{{"--version"}});
}
