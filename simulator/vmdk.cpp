// SPDX-License-Identifier: Apache-2.0
#include "vmdk.h"

#include <QtEndian>

namespace VBoxSim::Vmdk {

namespace {

constexpr int SectorSize = 512;
constexpr quint64 GrainSectors = 128;    // 64 KiB grains
constexpr quint64 EntriesPerTable = 512; // grain table entries, 4 bytes each
constexpr quint64 GdAtEnd = ~quint64(0); // the header's directory offset: see the footer
constexpr quint32 Flags = 1 | (1 << 16) | (1 << 17); // newline test, compressed grains, markers
enum MarkerType : quint32 { EndOfStream = 0, GrainTable = 1, GrainDirectory = 2, Footer = 3 };

template<typename T> void put(QByteArray &block, int offset, T value)
{
    qToLittleEndian(value, block.data() + offset);
}

qint64 sectorsFor(qint64 bytes)
{
    return (bytes + SectorSize - 1) / SectorSize;
}

QByteArray sectorsOf(QByteArray data)
{
    data.append(QByteArray(int(sectorsFor(data.size()) * SectorSize - data.size()), '\0'));
    return data;
}

QByteArray header(quint64 capacitySectors, quint64 descriptorSectors, quint64 overHead,
                  quint64 gdOffset)
{
    QByteArray block(SectorSize, '\0');
    block.replace(0, 4, "KDMV");
    put<quint32>(block, 4, 3);
    put<quint32>(block, 8, Flags);
    put<quint64>(block, 12, capacitySectors);
    put<quint64>(block, 20, GrainSectors);
    put<quint64>(block, 28, 1); // the descriptor follows the header
    put<quint64>(block, 36, descriptorSectors);
    put<quint32>(block, 44, EntriesPerTable);
    put<quint64>(block, 48, 0); // no redundant directory in a stream
    put<quint64>(block, 56, gdOffset);
    put<quint64>(block, 64, overHead);
    block.replace(73, 4, "\n \r\n"); // lets readers detect FTP text-mode damage
    put<quint16>(block, 77, 1);      // deflate
    return block;
}

QByteArray marker(quint64 sectors, MarkerType type)
{
    QByteArray block(SectorSize, '\0');
    put<quint64>(block, 0, sectors);
    put<quint32>(block, 12, type);
    return block;
}

QByteArray descriptor(const Image &image, quint64 capacitySectors)
{
    // VirtualBox's geometry for IDE disks: 16 heads, 63 sectors, cylinders capped at 16383.
    const quint64 cylinders = qBound<quint64>(1, capacitySectors / (16 * 63), 16383);
    const QString zero = QStringLiteral("00000000-0000-0000-0000-000000000000");
    return QStringLiteral("# Disk DescriptorFile\nversion=1\nCID=%1\nparentCID=ffffffff\n"
                          "createType=\"streamOptimized\"\n\n# Extent description\n"
                          "RW %2 SPARSE \"%3\"\n\n# The disk Data Base\n#DDB\n\n"
                          "ddb.virtualHWVersion = \"4\"\nddb.adapterType=\"ide\"\n"
                          "ddb.geometry.cylinders=\"%4\"\nddb.geometry.heads=\"16\"\n"
                          "ddb.geometry.sectors=\"63\"\nddb.uuid.image=\"%5\"\n"
                          "ddb.uuid.parent=\"%6\"\nddb.uuid.modification=\"%6\"\n"
                          "ddb.uuid.parentmodification=\"%6\"\n")
        .arg(image.cid, 8, 16, QLatin1Char('0'))
        .arg(capacitySectors)
        .arg(image.fileName)
        .arg(cylinders)
        .arg(image.imageUuid, zero)
        .toUtf8();
}

} // namespace

QByteArray streamOptimized(const Image &image)
{
    const quint64 capacity = quint64(sectorsFor(image.capacityBytes));
    const QByteArray text = sectorsOf(descriptor(image, capacity));
    const quint64 descriptorSectors = quint64(text.size() / SectorSize);
    // Grains would start on a grain boundary, as VirtualBox lays them out.
    const quint64 overHead =
        (1 + descriptorSectors + GrainSectors - 1) / GrainSectors * GrainSectors;
    QByteArray out = header(capacity, descriptorSectors, overHead, GdAtEnd) + text;
    out.append(QByteArray(int(overHead * SectorSize - out.size()), '\0'));

    // No grains: every table is empty, but the directory still points at each one.
    const quint64 tables =
        (capacity + GrainSectors * EntriesPerTable - 1) / (GrainSectors * EntriesPerTable);
    const quint64 tableSectors = quint64(sectorsFor(EntriesPerTable * 4));
    QByteArray directory(int(tables * 4), '\0');
    for (quint64 i = 0; i < tables; ++i) {
        out += marker(tableSectors, GrainTable);
        put<quint32>(directory, int(i * 4), quint32(out.size() / SectorSize));
        out.append(QByteArray(int(tableSectors * SectorSize), '\0'));
    }
    directory = sectorsOf(directory);
    out += marker(quint64(directory.size() / SectorSize), GrainDirectory);
    const quint64 gdOffset = quint64(out.size() / SectorSize);
    out += directory;
    out += marker(1, Footer);
    out += header(capacity, descriptorSectors, overHead, gdOffset);
    out += marker(0, EndOfStream);
    return out;
}

} // namespace VBoxSim::Vmdk
