// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// The POSIX ustar archive that an OVA file is.
namespace VBoxSim::Tar {

struct Entry
{
    QString name;
    QByteArray data;
};

QByteArray build(const QList<Entry> &entries, qint64 mtime);
// Regular files in archive order; false on a damaged or cut archive. The end-of-archive
// blocks may be missing.
bool parse(const QByteArray &archive, QList<Entry> *entries);

} // namespace VBoxSim::Tar
