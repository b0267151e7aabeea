// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QString>

// A machine's VirtualBox settings file (the "Config file" of its description), read only.
// VirtualBox writes a machine's guest properties there as soon as they change while no
// process runs the machine, so for such a machine the file holds what "guestproperty
// enumerate" would answer.
namespace MachineSettingsFile {

struct GuestProperty
{
    QString name;
    QString value;
    QString timestamp;
    QString flags;
};

// The guest properties of the machine `uuid` (without braces) in the settings file at `path`,
// not those of its snapshots. False when the file cannot be read, is not that machine's
// (encrypted, another machine's, not VirtualBox's) or is not well formed.
bool guestProperties(const QString &path, const QString &uuid, QList<GuestProperty> *properties);

// The properties as "guestproperty enumerate" lists them before VirtualBox 7.0, which the
// plug-in reads for every version.
QString enumerateText(const QList<GuestProperty> &properties);

} // namespace MachineSettingsFile
