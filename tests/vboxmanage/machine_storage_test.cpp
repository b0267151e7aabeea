// SPDX-License-Identifier: Apache-2.0
#include "vboxtest.h"

#include <QRegularExpression>

using MachineStorageTest = MachineTest;

const QStringList List = cmd("snapshot phone list");

TEST_F(MachineStorageTest, ListingFlattensTheSnapshotTree)
{
    build();
    m_standIn.onExact(List, {Answer::ok(recorded("machine-snapshot-list.txt"))});

    EXPECT_EQ(m_machine->listSnapshots(),
              (QStringList{"factory-backup", "before update", "after update"}));
    EXPECT_EQ(m_log.texts(QtDebugMsg).filter(QRegularExpression("^\\[VBox\\] (List|-) ")),
              (QStringList{"[VBox] List all snapshot(s):",
                           "[VBox] - \"phone\" : Snapshot found: \"factory-backup\"",
                           "[VBox] - \"phone\" : Snapshot found: \"before update\"",
                           "[VBox] - \"phone\" : Snapshot found: \"after update\""}));
}

TEST_F(MachineStorageTest, FactoryBackupIsTakenAndRestoredByItsExactName)
{
    build();
    const QStringList take = cmd("snapshot phone take factory-backup --description")
                             << "Initial snapshot to reset factory state";
    const QStringList restore = cmd("snapshot phone restore factory-backup");
    m_standIn.onExact(take, {Answer::ok("Snapshot taken. UUID: 9b2c4d6e\n"), Answer::fail(1)});
    m_standIn.onExact(List, {Answer{1, "This machine does not have any snapshots\n", QString()},
                             Answer::ok("   Name: Factory-Backup (UUID: 9b2c4d6e)\n"),
                             Answer::ok(recorded("machine-snapshot-list.txt"))});
    m_standIn.onExact(restore, {Answer::fail(1, "VBoxManage: error: locked\n"), Answer::ok()});

    EXPECT_TRUE(m_machine->createFactoryBackup());
    EXPECT_FALSE(m_machine->createFactoryBackup());
    EXPECT_EQ(m_machine->resetFactory(), 1);
    EXPECT_FALSE(m_machine->canResetToFactory());
    EXPECT_EQ(m_machine->resetFactory(), 2);
    EXPECT_EQ(m_machine->resetFactory(), 0);

    EXPECT_EQ(m_standIn.calls(),
              (QList<QStringList>{take, take, List, List, List, restore, List, restore}));
    const QRegularExpression phone("^\\[VBox\\] \"phone\" :");
    EXPECT_EQ(m_log.texts(QtCriticalMsg).filter(phone),
              (QStringList{"[VBox] \"phone\" : snapshot not found: \"factory-backup\"",
                           "[VBox] \"phone\" : Unable to restore snapshot: \"factory-backup\" : "
                           "no such snapshot",
                           "[VBox] \"phone\" : snapshot not found: \"factory-backup\""}));
    EXPECT_EQ(
        m_log.texts(QtDebugMsg).filter(phone),
        (QStringList{"[VBox] \"phone\" : Snapshot created with success: \"factory-backup\"",
                     "[VBox] \"phone\" : snapshot found: \"factory-backup\"",
                     "[VBox] \"phone\" : snapshot found: \"factory-backup\"",
                     "[VBox] \"phone\" : Snapshot restored with success: \"factory-backup\""}));
}

TEST_F(MachineStorageTest, DisksAreFoundAttachedAndDeletedByPlace)
{
    build();
    const QString place("storageattach phone --storagectl IDEController --port 1 --device 0");
    const QStringList attach = cmd(place + " --type hdd --medium /a/c/disk.vdi");
    const QStringList detach = cmd(place + " --medium none");
    const QStringList close = cmd("closemedium disk 3e9a7c5d-4f6b-4a8c-adbe-2f3a4b5c6d7e --delete");
    m_standIn.onExact(ShowVmInfo, {Answer::ok(recorded("machine-showvminfo.txt"))});
    m_standIn.onExact(attach, {Answer::ok()});
    m_standIn.onExact(detach, {Answer::ok(), Answer::fail(1), Answer::ok()});
    m_standIn.onExact(close, {Answer::fail(1), Answer::ok()});

    EXPECT_EQ(m_machine->getDiskUuid(PrimaryPort, SlaveDevice),
              "2d8f6b4c-3e5a-4f7b-9cad-1e2f3a4b5c6d");
    EXPECT_TRUE(m_machine->attachDisk("/a/b/../c//disk.vdi", SecondaryPort, MasterDevice));
    EXPECT_FALSE(m_machine->deleteDisk(SecondaryPort, MasterDevice));
    EXPECT_FALSE(m_machine->deleteDisk(SecondaryPort, MasterDevice));
    EXPECT_TRUE(m_machine->deleteDisk(SecondaryPort, MasterDevice));

    EXPECT_EQ(m_standIn.calls().mid(1),
              (QList<QStringList>{attach, ShowVmInfo, detach, close, ShowVmInfo, detach, ShowVmInfo,
                                  detach, close}));

    // Upper-case digits are not a UUID here.
    m_standIn.clearRules();
    m_standIn.onExact(ShowVmInfo,
                      {Answer::ok("IDEController (1, 0): /d/sdcard.vdi (UUID: 3E9A7C5D-4F6B)\n")});
    EXPECT_EQ(m_machine->getDiskUuid(SecondaryPort, MasterDevice), "");
}
