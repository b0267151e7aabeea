#include "vboxmanagecore.h"

#include "vboxtest.h"

// The recorded host (8 threads of 4 cores, 15923 MB) and its log lines are read by the
// host-style test.
TEST(CoreLimitsTest, CpuCountMultipliesCountsIsCappedAtEightAndMissingValuesKeepTheLast)
{
    const auto hostinfo = [](int online, int cores) {
        return QStringLiteral("Processor online count: %1\nProcessor online core count: %2\n")
            .arg(online)
            .arg(cores);
    };
    const QList<QPair<QString, unsigned int>> cases = {{hostinfo(6, 1), 6},
                                                       {hostinfo(3, 0), 3},
                                                       {hostinfo(4, 2), 8},
                                                       {"Processor online count: 5\n", 5},
                                                       {"Processor online count: 12\n", 8}};
    for (const auto &c : cases) {
        VBoxManageCore core;
        EXPECT_EQ(core.getMaxCpuCount(), 8u);
        core.loadMaxCPUNumber(c.first);
        EXPECT_EQ(core.getMaxCpuCount(), c.second) << c.first.toStdString();
    }

    VBoxManageCore core;
    LogCapture log;
    core.loadMaxCPUNumber("Processor online count: 2\n");
    core.loadMaxCPUNumber("Processor count: 16\n");
    core.loadMaxMemorySize("Memory available: 100 MByte\n");
    EXPECT_EQ(core.getMaxCpuCount(), 2u);
    EXPECT_EQ(core.getMaxMemory(), 4096u);
    const QString tag = QStringLiteral("[VBox] [System properties] ");
    EXPECT_EQ(log.texts(), (QStringList{tag + "Online physical CPU number: 2",
                                        tag + "No online virtual CPU found",
                                        tag + "Max CPU number: 2", tag + "Max CPU number: 2"}));
}

TEST(CoreLimitsTest, VersionIsTrimmedCachedAndUnknownStaysForGood)
{
    StandIn standIn;
    standIn.onExact({"--version"}, {Answer::ok("5.2.44r139111\n")});
    VBoxManageCore working;
    EXPECT_EQ(working.version(), "5.2.44r139111");
    EXPECT_EQ(working.version(), "5.2.44r139111");

    standIn.clearRules();
    standIn.onExact({"--version"}, {Answer::fail(1), Answer::ok("5.2.44r139111\n")});
    VBoxManageCore failing;
    EXPECT_EQ(failing.version(), "unknown");
    EXPECT_EQ(failing.version(), "unknown");
    EXPECT_EQ(standIn.calls(), cmds({"--version", "--version"}));
}
