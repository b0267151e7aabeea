#include "vboxmanagecore.h"

#include "logcapture.h"
#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QFile>

namespace {

QString recorded(const QString &name)
{
    QFile file(QStringLiteral(TEST_DATA_DIR "/5.2/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString hostinfo(int online, int cores)
{
    return QStringLiteral("Processor online count: %1\nProcessor online core count: %2\n")
        .arg(online)
        .arg(cores);
}

} // namespace

TEST(CoreLimitsTest, FreshEngineHasDefaultsAndLogsItsPath)
{
    LogCapture log;
    VBoxManageCore core;
    EXPECT_EQ(log.texts().last(), "[VBox] Path: \"VBoxManage\"");
    EXPECT_EQ(core.getMaxCpuCount(), 8u);
    EXPECT_EQ(core.getMaxMemory(), 4096u);
    EXPECT_FALSE(core.isSystemReady());
    EXPECT_EQ(core.getAdapterName(), "");
    EXPECT_TRUE(core.shutdown());
    EXPECT_EQ(core.getDataDiskName(), "android_data_disk.vmdk");
    EXPECT_EQ(core.getSDCardDiskName(), "sdcard.vdi");
}

TEST(CoreLimitsTest, CpuCountMultipliesCountsAndIsCappedAtEight)
{
    struct Case
    {
        QString text;
        unsigned int expected;
    };
    const QList<Case> cases = {{hostinfo(4, 2), 8},
                               {hostinfo(6, 1), 6},
                               {hostinfo(3, 0), 3},
                               {hostinfo(8, 4), 8},
                               {"Processor online count: 5\n", 5},
                               {"Processor online count: 12\n", 8}};
    for (const Case &c : cases) {
        VBoxManageCore core;
        core.loadMaxCPUNumber(c.text);
        EXPECT_EQ(core.getMaxCpuCount(), c.expected) << c.text.toStdString();
    }
}

TEST(CoreLimitsTest, CpuCountLogLines)
{
    VBoxManageCore core;
    LogCapture log;
    core.loadMaxCPUNumber(hostinfo(8, 4));
    EXPECT_EQ(log.texts(QtDebugMsg),
              (QStringList{"[VBox] [System properties] Online physical CPU number: 8",
                           "[VBox] [System properties] Online virtual CPU number: 4",
                           "[VBox] CPU number is > 8 - Fix max number to 8",
                           "[VBox] [System properties] Max CPU number: 8"}));

    log.clear();
    core.loadMaxCPUNumber("Processor online count: 2\n");
    EXPECT_EQ(log.texts(), (QStringList{"[VBox] [System properties] Online physical CPU number: 2",
                                        "[VBox] [System properties] No online virtual CPU found",
                                        "[VBox] [System properties] Max CPU number: 2"}));

    log.clear();
    core.loadMaxCPUNumber("Processor count: 16\n");
    EXPECT_EQ(core.getMaxCpuCount(), 2u);
    EXPECT_EQ(log.texts(), QStringList{"[VBox] [System properties] Max CPU number: 2"});
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
