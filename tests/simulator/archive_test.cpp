// The ustar writer and reader behind the appliance files.
#include "tar.h"

#include "printers.h"

#include <gtest/gtest.h>

using namespace VBoxSim;

TEST(SimulatorArchive, RoundTripKeepsOrderNamesAndContents)
{
    const QList<Tar::Entry> entries = {{"a.ovf", "<xml/>"},
                                       {"a-disk001.vmdk", QByteArray(512, 'x')},
                                       {"empty", QByteArray()},
                                       {"big", QByteArray(1500, '\0') + "end"}};
    const QByteArray archive = Tar::build(entries, 1700000000);
    // Every member is padded to 512-byte blocks and the archive ends with two zero blocks.
    EXPECT_EQ(archive.size(), 512 * (2 + 2 + 1 + 4 + 2));
    EXPECT_EQ(archive.mid(257, 8), QByteArray("ustar\0"
                                              "00",
                                              8));

    QList<Tar::Entry> read;
    ASSERT_TRUE(Tar::parse(archive, &read));
    ASSERT_EQ(read.size(), entries.size());
    for (int i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(read[i].name, entries[i].name);
        EXPECT_EQ(read[i].data, entries[i].data);
    }
}

TEST(SimulatorArchive, DamagedArchivesAreRejected)
{
    const QByteArray archive = Tar::build({{"a.ovf", "descriptor"}}, 0);
    QList<Tar::Entry> read;

    QByteArray badChecksum = archive;
    badChecksum[0] = 'b';
    EXPECT_FALSE(Tar::parse(badChecksum, &read));
    // Cut inside the member's data, and cut before the end-of-archive blocks.
    EXPECT_FALSE(Tar::parse(archive.left(520), &read));
    EXPECT_FALSE(Tar::parse(archive.left(1024), &read));
    EXPECT_FALSE(Tar::parse(QByteArray("not an archive"), &read));
}
