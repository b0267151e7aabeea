// SPDX-License-Identifier: Apache-2.0
#include "devices_fixture.h"

#include <vmtools/engineresult.h>

using MediaTest = DevicesTest;

// The failure codes of createhd and of the attachment are checked in the creation tests.
TEST_F(MediaTest, SdCardNeedsAMachineFolderAndIsCreatedInItsCleanPath)
{
    // A device without a machine folder is refused before any command.
    EXPECT_CALL(m_phone, attachDisk).Times(0);
    EXPECT_EQ(m_core.createSDCard(&m_phone, 512), EngineResult::SdCardCreationFailed);
    EXPECT_TRUE(m_standIn.calls().isEmpty());
    EXPECT_EQ(m_log.texts(QtCriticalMsg),
              QStringList{"[VBox] [createSDCard] No folder for device \"phone\""});

    ON_CALL(m_phone, getPath()).WillByDefault(Return(m_deployDir + "phone/./"));
    const QString image = m_deployDir + "phone/sdcard.vdi";
    m_standIn.onPrefix({"createhd"}, {Answer::ok("Medium created. UUID: 1\n")});
    EXPECT_CALL(m_phone, attachDisk(image, SecondaryPort, MasterDevice)).WillOnce(Return(true));
    EXPECT_EQ(m_core.createSDCard(&m_phone, 1024), EngineResult::Success);
    EXPECT_EQ(m_standIn.calls(), QList<QStringList>{cmd("createhd --filename " + image +
                                                        " --size 1024 --format VDI")});
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
