// SPDX-License-Identifier: Apache-2.0
#include "machinesettingsfile.h"

#include <QFile>
#include <QStringList>
#include <QXmlStreamReader>

namespace {

const QString Root = QStringLiteral("VirtualBox");
const QString MachineElement = QStringLiteral("Machine");
const QString Hardware = QStringLiteral("Hardware");

// Where the machine's own settings are; a snapshot keeps its own Hardware below Snapshot.
bool inMachineHardware(const QStringList &path, const QString &leaf, int depth = 4)
{
    return path.size() == depth && path.at(0) == Root && path.at(1) == MachineElement &&
           path.at(2) == Hardware && path.last() == leaf;
}

MachineSettingsFile::GuestProperty property(const QXmlStreamAttributes &attributes)
{
    return {attributes.value(QStringLiteral("name")).toString(),
            attributes.value(QStringLiteral("value")).toString(),
            attributes.value(QStringLiteral("timestamp")).toString(),
            attributes.value(QStringLiteral("flags")).toString()};
}

bool readNumber(const QXmlStreamAttributes &attributes, const QString &name, unsigned int *value)
{
    bool ok = false;
    const unsigned int number = attributes.value(name).toUInt(&ok);
    if (ok && number > 0)
        *value = number;
    return ok && number > 0;
}

QString withoutBraces(QStringView uuid)
{
    return uuid.toString().remove(QLatin1Char('{')).remove(QLatin1Char('}'));
}

// A snapshot of the machine: Machine/Snapshot, and below it Snapshots/Snapshot per level.
bool isSnapshot(const QStringList &path, int *depth)
{
    if (path.size() < 3 || path.size() % 2 == 0 || path.at(1) != MachineElement ||
        path.last() != QLatin1String("Snapshot"))
        return false;
    for (int i = 2; i < path.size(); i += 2) {
        if (path.at(i) != QLatin1String("Snapshot") ||
            (i > 2 && path.at(i - 1) != QLatin1String("Snapshots")))
            return false;
    }
    *depth = (path.size() - 3) / 2;
    return true;
}

// Takes in the element just opened at `path`; false when it shows the file is not the
// machine's.
bool take(const QStringList &path, const QXmlStreamAttributes &attributes, const QString &uuid,
          MachineSettingsFile::Machine *machine, bool *found)
{
    int depth = 0;
    if (path.size() == 2 && path.at(0) == Root && path.at(1) == MachineElement) {
        if (attributes.value(QStringLiteral("uuid")) != QStringLiteral("{%1}").arg(uuid))
            return false;
        *found = true;
        machine->name = attributes.value(QStringLiteral("name")).toString();
        machine->aborted = attributes.value(QStringLiteral("aborted")) == QLatin1String("true");
        machine->saved = !attributes.value(QStringLiteral("stateFile")).isEmpty();
        machine->lastStateChange = attributes.value(QStringLiteral("lastStateChange")).toString();
        machine->currentSnapshot =
            withoutBraces(attributes.value(QStringLiteral("currentSnapshot")));
    } else if (isSnapshot(path, &depth)) {
        MachineSettingsFile::Snapshot snapshot;
        snapshot.name = attributes.value(QStringLiteral("name")).toString();
        snapshot.uuid = withoutBraces(attributes.value(QStringLiteral("uuid")));
        snapshot.depth = depth;
        machine->snapshots.append(snapshot);
    } else if (inMachineHardware(path, QStringLiteral("CPU"))) {
        if (attributes.hasAttribute(QStringLiteral("count")))
            return readNumber(attributes, QStringLiteral("count"), &machine->cpus);
    } else if (inMachineHardware(path, QStringLiteral("Memory"))) {
        return readNumber(attributes, QStringLiteral("RAMSize"), &machine->memoryMB);
    } else if (inMachineHardware(path, QStringLiteral("GuestProperty"), 5) &&
               path.at(3) == QLatin1String("GuestProperties")) {
        machine->properties.append(property(attributes));
    }
    return true;
}

} // namespace

namespace MachineSettingsFile {

bool read(const QString &path, const QString &uuid, Machine *machine)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QXmlStreamReader xml(&file);
    QStringList at;
    bool found = false;
    Machine read;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            at.append(xml.name().toString());
            if (!take(at, xml.attributes(), uuid, &read, &found))
                return false;
        } else if (token == QXmlStreamReader::EndElement) {
            at.removeLast();
        }
    }
    if (xml.hasError() || !found || read.memoryMB == 0)
        return false;
    for (Snapshot &snapshot : read.snapshots)
        snapshot.current = snapshot.uuid == read.currentSnapshot;
    *machine = read;
    return true;
}

QString enumerateText(const QList<GuestProperty> &properties)
{
    QString text;
    for (const GuestProperty &p : properties)
        text += QStringLiteral("Name: %1, value: %2, timestamp: %3, flags: %4\n")
                    .arg(p.name, p.value, p.timestamp, p.flags);
    return text;
}

QString descriptionText(const Machine &machine, const QString &uuid, const QString &path)
{
    // "2026-11-26T02:59:56Z" is printed as "2026-11-26T02:59:56.000000000".
    QString since = machine.lastStateChange;
    if (since.endsWith(QLatin1Char('Z')))
        since = since.left(since.size() - 1) + QStringLiteral(".000000000");
    return QStringLiteral("Name:                        %1\n"
                          "UUID:                        %2\n"
                          "Config file:                 %3\n"
                          "Memory size:                 %4MB\n"
                          "Number of CPUs:              %5\n"
                          "State:                       powered off (since %6)\n")
        .arg(machine.name, uuid, path)
        .arg(machine.memoryMB)
        .arg(machine.cpus)
        .arg(since);
}

QString snapshotListText(const Machine &machine, int *exitCode)
{
    if (machine.snapshots.isEmpty()) {
        *exitCode = 1;
        return QStringLiteral("This machine does not have any snapshots\n");
    }
    QString text;
    for (const Snapshot &snapshot : machine.snapshots)
        text += QStringLiteral("   %1Name: %2 (UUID: %3)%4\n")
                    .arg(QString(snapshot.depth * 3, QLatin1Char(' ')), snapshot.name,
                         snapshot.uuid, snapshot.current ? QStringLiteral(" *") : QString());
    *exitCode = 0;
    return text;
}

} // namespace MachineSettingsFile
