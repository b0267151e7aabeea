// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

// Stream-optimised VMDK images, the disk format of an OVF package.
namespace VBoxSim::Vmdk {

struct Image
{
    QString fileName; // named by the extent line of the embedded descriptor
    qint64 capacityBytes = 0;
    QString imageUuid; // ddb.uuid.image
    quint32 cid = 0;   // content id of the descriptor
};

// An all-zero disk: header, descriptor, empty grain tables and directory, footer, end mark.
QByteArray streamOptimized(const Image &image);

} // namespace VBoxSim::Vmdk
