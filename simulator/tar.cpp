// SPDX-License-Identifier: Apache-2.0
#include "tar.h"

namespace VBoxSim::Tar {

namespace {

constexpr int BlockSize = 512;

void putOctal(QByteArray &header, int offset, int width, qint64 value)
{
    const QByteArray digits = QByteArray::number(value, 8).rightJustified(width - 1, '0');
    header.replace(offset, width - 1, digits);
    header[offset + width - 1] = '\0';
}

void putText(QByteArray &header, int offset, const QByteArray &text)
{
    header.replace(offset, text.size(), text);
}

QByteArray headerFor(const Entry &entry, qint64 mtime)
{
    QByteArray header(BlockSize, '\0');
    putText(header, 0, entry.name.toUtf8().left(100));
    putOctal(header, 100, 8, 0644);
    putOctal(header, 108, 8, 0);
    putOctal(header, 116, 8, 0);
    putOctal(header, 124, 12, entry.data.size());
    putOctal(header, 136, 12, mtime);
    header[156] = '0';
    putText(header, 257,
            QByteArray("ustar\0"
                       "00",
                       8));
    putText(header, 265, "vboxsim");
    putText(header, 297, "vboxsim");
    header.replace(148, 8, QByteArray(8, ' '));
    unsigned sum = 0;
    for (char c : header)
        sum += static_cast<unsigned char>(c);
    const QByteArray checksum = QByteArray::number(sum, 8).rightJustified(6, '0');
    header.replace(148, 6, checksum);
    header[154] = '\0';
    header[155] = ' ';
    return header;
}

qint64 readOctal(const QByteArray &field)
{
    qint64 value = 0;
    for (char c : field) {
        if (c < '0' || c > '7')
            break;
        value = value * 8 + (c - '0');
    }
    return value;
}

bool checksumMatches(const QByteArray &header)
{
    unsigned sum = 0;
    for (int i = 0; i < BlockSize; ++i)
        sum += (i >= 148 && i < 156) ? unsigned(' ') : static_cast<unsigned char>(header[i]);
    QByteArray field = header.mid(148, 8).trimmed();
    return readOctal(field) == sum;
}

} // namespace

QByteArray build(const QList<Entry> &entries, qint64 mtime)
{
    QByteArray archive;
    for (const Entry &entry : entries) {
        archive += headerFor(entry, mtime);
        archive += entry.data;
        const int padding = (BlockSize - entry.data.size() % BlockSize) % BlockSize;
        archive += QByteArray(padding, '\0');
    }
    archive += QByteArray(2 * BlockSize, '\0');
    return archive;
}

bool parse(const QByteArray &archive, QList<Entry> *entries)
{
    entries->clear();
    qint64 offset = 0;
    while (offset + BlockSize <= archive.size()) {
        const QByteArray header = archive.mid(offset, BlockSize);
        if (header.count('\0') == BlockSize)
            return true;
        if (!checksumMatches(header))
            return false;
        const qint64 size = readOctal(header.mid(124, 12));
        offset += BlockSize;
        if (offset + size > archive.size())
            return false;
        QByteArray name = header.left(100);
        name.truncate(name.indexOf('\0') < 0 ? 100 : name.indexOf('\0'));
        QByteArray prefix = header.mid(345, 155);
        prefix.truncate(prefix.indexOf('\0') < 0 ? 155 : prefix.indexOf('\0'));
        if (!prefix.isEmpty())
            name = prefix + '/' + name;
        const char type = header[156];
        if (type == '0' || type == '\0')
            entries->append({QString::fromUtf8(name), archive.mid(offset, size)});
        offset += (size + BlockSize - 1) / BlockSize * BlockSize;
    }
    // VirtualBox ends its OVA files right after the last member, without the two zero
    // blocks; anything shorter than that member's padding is a cut archive.
    return offset == archive.size() && !entries->isEmpty();
}

} // namespace VBoxSim::Tar
