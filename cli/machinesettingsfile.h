// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QList>
#include <QString>

// A machine's VirtualBox settings file (the "Config file" of its description), read only.
// VirtualBox writes a machine's settings and guest properties there as soon as they change
// while no process runs the machine, so for such a machine the file holds what "showvminfo"
// and "guestproperty enumerate" would answer about it.
namespace MachineSettingsFile {

struct GuestProperty
{
    QString name;
    QString value;
    QString timestamp;
    QString flags;
};

struct Snapshot
{
    QString name;
    QString uuid;
    int depth = 0; // 0 for a first snapshot, 1 for its children, ...
    bool current = false;
};

// The machine itself, not its snapshots (each keeps hardware of its own).
struct Machine
{
    QString name;
    bool aborted = false;
    bool saved = false;      // a saved state waits to be restored
    QString lastStateChange; // as VirtualBox wrote it: "2026-11-26T02:59:56Z"
    QString currentSnapshot; // its UUID
    unsigned int cpus = 1;   // VirtualBox leaves out the count when it is one
    unsigned int memoryMB = 0;
    QList<GuestProperty> properties;
    QList<Snapshot> snapshots; // depth first, in the order they were taken
};

// The machine `uuid` (without braces) in the settings file at `path`. False when the file
// cannot be read, is not that machine's (encrypted, another machine's, not VirtualBox's), is
// not well formed or gives no memory size.
bool read(const QString &path, const QString &uuid, Machine *machine);

// The properties as "guestproperty enumerate" lists them before VirtualBox 7.0, which the
// plug-in reads for every version.
QString enumerateText(const QList<GuestProperty> &properties);

// What "showvminfo" says of a powered-off machine that the plug-in reads when it opens one:
// its name, UUID, settings file, memory, processors and state, in VirtualBox 7's layout.
QString descriptionText(const Machine &machine, const QString &uuid, const QString &path);

// The snapshots as "snapshot NAME list" lists them (without descriptions, which the plug-in
// does not read), and the exit code it ends with: 1 when there are none.
QString snapshotListText(const Machine &machine, int *exitCode);

} // namespace MachineSettingsFile
