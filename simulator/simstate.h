// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <vector>

// The simulated VirtualBox host: everything that VBoxSVC would keep in VirtualBox.xml
// and the machines' settings files, held as plain values and stored as JSON.
namespace VBoxSim {

struct GuestProperty
{
    QString name;
    QString value;
    qint64 timestampNs = 0;
    QString flags;
};

struct NetworkAdapter
{
    bool enabled = false;
    // null, nat, bridged, intnet, hostonly, natnetwork or generic, as modifyvm spells them.
    QString attachment = QStringLiteral("null");
    QString hostOnlyInterface;
    QString bridgedInterface;
    QString internalNetwork;
    QString natNetwork;
    QString type = QStringLiteral("82540EM");
    bool cableConnected = true;
    QString mac;
};

struct Attachment
{
    int port = 0;
    int device = 0;
    QString type = QStringLiteral("hdd");
    QString mediumUuid;
};

struct StorageController
{
    QString name;
    QString type = QStringLiteral("PIIX4");
    int portCount = 2;
    int maxPortCount = 2;
    bool bootable = true;
    QList<Attachment> attachments;

    const Attachment *attachmentAt(int port, int device) const;
};

// What a snapshot saves and a restore brings back.
struct MachineConfig
{
    int cpus = 1;
    int memoryMB = 1024;
    QString osType = QStringLiteral("Linux26");
    QList<NetworkAdapter> nics;
    QList<StorageController> controllers;
    QList<GuestProperty> guestProperties;

    const GuestProperty *guestProperty(const QString &name) const;
    void setGuestProperty(const QString &name, const QString &value, qint64 timestampNs,
                          const QString &flags = QString());
    bool removeGuestProperty(const QString &name);
    QStringList mediumUuids() const;
};

struct Snapshot
{
    QString uuid;
    QString name;
    QString description;
    qint64 timeMs = 0;
    MachineConfig config;
    std::vector<Snapshot> children;
};

struct Machine
{
    QString uuid;
    QString name;
    QString settingsFile;
    MachineConfig config;
    QString state = QStringLiteral("powered off");
    qint64 stateSinceMs = 0;
    qint64 startedAtMs = 0;
    bool addressPublished = false;
    std::vector<Snapshot> snapshots;
    QString currentSnapshot;
    QMap<QString, QString> extraData;

    QString folder() const;
    bool isRunning() const;
    Snapshot *findSnapshot(const QString &nameOrUuid);
    QStringList allMediumUuids() const;
};

struct Medium
{
    QString uuid;
    QString location;
    QString format = QStringLiteral("VDI");
    qint64 sizeMB = 0;
    QString parent; // of a differencing image, the UUID of the medium it grows on
};

struct HostOnlyInterface
{
    QString name;
    int index = 0;
    QString ipAddress;
    QString networkMask;
    bool up = true;
};

struct BridgedInterface
{
    QString name;
    QString ipAddress;
    QString networkMask;
    QString mac;
};

struct DhcpServer
{
    QString networkName;
    QString ipAddress;
    QString networkMask;
    QString lowerIp;
    QString upperIp;
    bool enabled = true;
    QMap<QString, QString> leases; // MAC address to leased IPv4 address
};

struct HostState
{
    QList<Machine> machines;
    QList<Medium> media;
    QList<HostOnlyInterface> hostOnlyInterfaces;
    QList<BridgedInterface> bridgedInterfaces;
    QList<DhcpServer> dhcpServers;
    QString machineFolder;
    int processorCount = 8;
    int coreCount = 4;
    qint64 memoryMB = 16384;

    static HostState defaultHost(const QString &home);

    Machine *findMachine(const QString &nameOrUuid);
    Medium *findMedium(const QString &uuidOrLocation);
    HostOnlyInterface *findHostOnly(const QString &name);
    DhcpServer *findDhcpServer(const QString &networkName);
    // The machines (by UUID) whose current state or snapshots use the medium.
    QStringList machinesUsing(const QString &mediumUuid) const;

    QJsonObject toJson() const;
    static HostState fromJson(const QJsonObject &json);
};

QString newUuid();
QString newMacAddress();
// An adapter slot that is switched off, with its own MAC address as VirtualBox keeps one.
NetworkAdapter disabledAdapter();
qint64 nowMs();
// "2024-06-03T09:14:07.512000000": UTC, nine fraction digits, no zone letter.
QString sinceText(qint64 ms);
QString cleanAbsolutePath(const QString &path);

} // namespace VBoxSim
