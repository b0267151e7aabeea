// SPDX-License-Identifier: Apache-2.0
#include "vboxtest.h"

using CoreLimitsTest = CoreTest;

// The recorded host (8 threads of 4 cores, 15923 MB) and its log lines are read by the
// host-style test.
TEST_F(CoreLimitsTest, CpuCountMultipliesCountsIsCappedAtEightAndMissingValuesKeepTheLast)
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
                                                       {"Processor online count: 12\n", 8},
                                                       // 2^32 overflows 32 bits to 0.
                                                       {hostinfo(65536, 65536), 8}};
    EXPECT_EQ(m_core.getMaxCpuCount(), 8u);
    for (const auto &c : cases) {
        m_core.loadMaxCPUNumber(c.first);
        EXPECT_EQ(m_core.getMaxCpuCount(), c.second) << c.first.toStdString();
    }

    m_log.clear();
    m_core.loadMaxCPUNumber("Processor online count: 2\n");
    m_core.loadMaxCPUNumber("Processor count: 16\n");
    m_core.loadMaxMemorySize("Memory available: 100 MByte\n");
    EXPECT_EQ(m_core.getMaxCpuCount(), 2u);
    EXPECT_EQ(m_core.getMaxMemory(), 4096u);
    const QString tag = QStringLiteral("[VBox] [System properties] ");
    EXPECT_EQ(m_log.texts(), (QStringList{tag + "Online physical CPU number: 2",
                                          tag + "No online virtual CPU found",
                                          tag + "Max CPU number: 2", tag + "Max CPU number: 2"}));
}

// Whatever the first answer gave is kept; the trimming is read by the host-style test.
TEST_F(CoreLimitsTest, VersionIsAskedForOnceAndUnknownStaysForGood)
{
    m_standIn.onExact({"--version"},
                      {Answer::fail(1), Answer::ok("5.2.44r139111\n"), Answer::fail(1)});
    EXPECT_EQ(m_core.version(), "unknown");
    EXPECT_EQ(m_core.version(), "unknown");
    VBoxManageCore working;
    EXPECT_EQ(working.version(), "5.2.44r139111");
    EXPECT_EQ(working.version(), "5.2.44r139111");
    EXPECT_EQ(m_standIn.calls(), cmds({"--version", "--version"}));
}
