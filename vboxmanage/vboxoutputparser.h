// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtoolsmachine.h>

#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

// Pure parsers of VBoxManage's listings and machine descriptions: text in, values out.
// The members that run VBoxManage keep the logging and the decisions. Each reader knows
// every layout that VirtualBox 5.2 to 7.1 prints for its listing: the 5.2 reading comes
// first and stands wherever it finds something; a later layout is read only when it
// finds nothing.
namespace VBoxOutputParser {

// One line of "list vms".
struct MachineEntry
{
    QString name;
    QString uuid;
};

// One record of "list dhcpservers". The addresses are only read from enabled servers.
struct DhcpServerRecord
{
    QString networkName;
    bool enabled = false;
    QString ipAddress;
    QString networkMask;
    QString lowerIpAddress;
    QString upperIpAddress;
};

// One record of "list hostonlyifs".
struct HostOnlyRecord
{
    QString name;
    QString ipAddress;
    QString networkMask;
};

// The version line of "--version" ("6.1.50r161033"), leaving out the warnings that
// VirtualBox's Linux wrapper script prints before it; the trimmed text when no line
// looks like a version.
QString parseVersion(const QString &output);

QList<MachineEntry> parseMachineList(const QString &output);
QList<DhcpServerRecord> parseDhcpServers(const QString &output);
QList<HostOnlyRecord> parseHostOnlyInterfaces(const QString &output);

// The device's own guest properties ("\w+" keys), in listing order; VirtualBox's
// "/VirtualBox/..." keys are left out.
QList<QPair<QString, QString>> parseGuestProperties(const QString &output);
// Whether a "guestproperty enumerate" listing holds `key` somewhere after its very first
// character, or as the first property of the sorted listing of 7.0 and later.
bool containsProperty(const QString &output, const QString &key);

// Host limits of "list hostinfo": the logical processors online, the cores online and the
// memory in megabytes. False when absent.
bool parseOnlineProcessorCount(const QString &hostinfo, int *count);
bool parseOnlineCoreCount(const QString &hostinfo, int *count);
bool parseHostMemorySize(const QString &hostinfo, unsigned int *megabytes);
// The processors a device may get from a host of `online` logical processors and
// `cores` cores: their product when cores is above 1, else the online count. Uncapped,
// and wide enough that no product of two counts overflows.
qint64 hostProcessorCount(int online, int cores);

// VirtualBox's default machine folder in "list systemproperties", trimmed; "default" when
// the line is missing or empty.
QString parseDefaultMachineFolder(const QString &properties);

// The "UUID:" and "Name:" lines of a "showvminfo" description, trimmed; false when absent.
bool parseMachineUuid(const QString &description, QString *uuid);
bool parseMachineName(const QString &description, QString *name);

// Facts of a "showvminfo" description. The numbers return false when absent.
bool parseCpuCount(const QString &description, unsigned int *count);
bool parseMemorySize(const QString &description, unsigned int *megabytes);
VMToolsMachine::State parseState(const QString &description);
QMap<int, QString> parseNics(const QString &description);
QString parseDiskUuid(const QString &description, DiskPort port, DiskDevice device);

// Snapshot names of "snapshot <vm> list", children flattened in listing order.
QStringList parseSnapshotNames(const QString &output);

// The name in "Interface '<name>' was successfully created" of "hostonlyif create".
bool parseCreatedInterfaceName(const QString &output, QString *name);

// The units of the hard-disk items of the first virtual system in the listing of
// "import <appliance> -n", in listing order.
QList<int> parseImportDiskUnits(const QString &listing);

} // namespace VBoxOutputParser
