// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simstate.h"

#include <QByteArray>
#include <QList>
#include <QString>

// The OVF descriptor inside an OVA: what "export" writes and "import" reads.
namespace VBoxSim::Ovf {

struct Disk
{
    QString fileName; // name of the image inside the archive
    int port = 0;     // the IDE channel (the address of the controller item)
    int device = 0;   // the address on that channel
    qint64 capacityBytes = 0;
    qint64 fileSize = -1; // bytes of the image in the archive, -1 when not given
    QString uuid;         // what the machine section's attachment names
};

struct VirtualSystem
{
    QString name;
    QString uuid; // of the machine, which VirtualBox needs to read the machine section
    QString osType = QStringLiteral("Linux26");
    int cpus = 1;
    int memoryMB = 1024;
    QString controllerName = QStringLiteral("IDEController");
    QString controllerType = QStringLiteral("PIIX4");
    QStringList adapters; // NAT, HostOnly, Bridged, in slot order
    bool sound = true;
    bool usb = true;
    QList<Disk> disks;
    QList<GuestProperty> guestProperties;
};

QByteArray write(const VirtualSystem &system);
bool read(const QByteArray &descriptor, VirtualSystem *system, QString *error);

} // namespace VBoxSim::Ovf
