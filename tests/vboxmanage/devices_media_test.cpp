#include "devices_fixture.h"
#include "mockmachine.h"

#include <vmtools/engineresult.h>

using ::testing::NiceMock;
using ::testing::Return;

using MediaTest = DevicesTest;

TEST_F(MediaTest, SdCardIsCreatedInTheMachineFolderAndAttachedAtSecondaryMasterOrRefused)
{
    NiceMock<MockMachine> machine;
    ON_CALL(machine, getPath()).WillByDefault(Return(m_deployDir + "phone/./"));
    const QString image = m_deployDir + "phone/sdcard.vdi";
    m_standIn.onPrefix({"createhd"}, {Answer::ok("Medium created. UUID: 1\n"), Answer::ok(),
                                      Answer::fail(1, "VERR_ALREADY_EXISTS")});

    EXPECT_CALL(machine, attachDisk(image, SecondaryPort, MasterDevice))
        .WillOnce(Return(true))
        .WillOnce(Return(false));
    EXPECT_EQ(m_core.createSDCard(&machine, 512), EngineResult::Success);
    EXPECT_EQ(m_core.createSDCard(&machine, 1024), EngineResult::SdCardAttachFailed);
    // A failed creation never tries to attach (the mock allows two attachments only).
    EXPECT_EQ(m_core.createSDCard(&machine, 64), EngineResult::SdCardCreationFailed);

    const QStringList create{"createhd", "--filename", image, "--size"};
    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{create + QStringList{"512", "--format", "VDI"},
                                  create + QStringList{"1024", "--format", "VDI"},
                                  create + QStringList{"64", "--format", "VDI"}}));

    // A device without a machine folder is refused before any command.
    m_standIn.clearCalls();
    m_log.clear();
    NiceMock<MockMachine> homeless;
    ON_CALL(homeless, getName()).WillByDefault(Return("phone"));
    EXPECT_CALL(homeless, attachDisk).Times(0);
    EXPECT_EQ(m_core.createSDCard(&homeless, 512), EngineResult::SdCardCreationFailed);
    EXPECT_TRUE(m_standIn.calls().isEmpty());
    EXPECT_EQ(m_log.texts(QtCriticalMsg),
              QStringList{"[VBox] [createSDCard] No folder for device \"phone\""});
}

TEST_F(MediaTest, CopyAndDeleteRunCleanPathsAndReportTheirCodes)
{
    const QString disk = makeFile("deployed/phone/android_data_disk.vmdk");
    m_standIn.onPrefix({"clonehd"}, {Answer::ok(), Answer::fail(1)});
    m_standIn.onPrefix({"closemedium"}, {Answer::ok(), Answer::fail(1, "still attached")});

    EXPECT_EQ(m_core.copyDisk("/a/b/../src.vmdk", "/c//dst.vmdk"), EngineResult::Success);
    EXPECT_EQ(m_core.copyDisk("/a/src.vmdk", "/c/dst.vmdk"), EngineResult::DiskCopyFailed);
    EXPECT_EQ(m_core.deleteDisk(m_deployDir + "phone/../phone/android_data_disk.vmdk"),
              EngineResult::Success);
    EXPECT_EQ(m_core.deleteDisk(disk), EngineResult::DiskDeletionFailed);
    // A missing file runs nothing, whatever VirtualBox would say.
    EXPECT_EQ(m_core.deleteDisk(m_deployDir + "phone/gone.vmdk"), EngineResult::Success);

    EXPECT_EQ(m_standIn.calls(), (QList<QStringList>{{"clonehd", "/a/src.vmdk", "/c/dst.vmdk"},
                                                     {"clonehd", "/a/src.vmdk", "/c/dst.vmdk"},
                                                     closeMedium(disk),
                                                     closeMedium(disk)}));
}
