#pragma once

#include <vmtools/vmtoolsmachine.h>

#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

// Pure parsers of VBoxManage's listings and machine descriptions: text in, values out.
// The members that run VBoxManage keep the logging and the decisions.
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

QList<MachineEntry> parseMachineList(const QString &output);
QList<DhcpServerRecord> parseDhcpServers(const QString &output);
QList<HostOnlyRecord> parseHostOnlyInterfaces(const QString &output);

// The device's own guest properties ("\w+" keys), in listing order; VirtualBox's
// "/VirtualBox/..." keys are left out.
QList<QPair<QString, QString>> parseGuestProperties(const QString &output);

// Facts of a "showvminfo" description. The numbers return false when absent.
bool parseCpuCount(const QString &description, unsigned int *count);
bool parseMemorySize(const QString &description, unsigned int *megabytes);
VMToolsMachine::State parseState(const QString &description);
QMap<int, QString> parseNics(const QString &description);
QString parseDiskUuid(const QString &description, DiskPort port, DiskDevice device);

// Snapshot names of "snapshot <vm> list", children flattened in listing order.
QStringList parseSnapshotNames(const QString &output);

} // namespace VBoxOutputParser
