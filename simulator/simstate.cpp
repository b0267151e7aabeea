// SPDX-License-Identifier: Apache-2.0
#include "simstate.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QRandomGenerator>
#include <QUuid>

namespace VBoxSim {

namespace {

QJsonObject toJson(const GuestProperty &p)
{
    return {{"name", p.name},
            {"value", p.value},
            {"timestamp", QString::number(p.timestampNs)},
            {"flags", p.flags}};
}

GuestProperty guestPropertyFromJson(const QJsonObject &o)
{
    return {o["name"].toString(), o["value"].toString(), o["timestamp"].toString().toLongLong(),
            o["flags"].toString()};
}

QJsonObject toJson(const NetworkAdapter &n)
{
    return {{"enabled", n.enabled},
            {"attachment", n.attachment},
            {"hostonly", n.hostOnlyInterface},
            {"bridged", n.bridgedInterface},
            {"intnet", n.internalNetwork},
            {"natnetwork", n.natNetwork},
            {"type", n.type},
            {"cable", n.cableConnected},
            {"mac", n.mac}};
}

NetworkAdapter adapterFromJson(const QJsonObject &o)
{
    NetworkAdapter n;
    n.enabled = o["enabled"].toBool();
    n.attachment = o["attachment"].toString();
    n.hostOnlyInterface = o["hostonly"].toString();
    n.bridgedInterface = o["bridged"].toString();
    n.internalNetwork = o["intnet"].toString();
    n.natNetwork = o["natnetwork"].toString();
    n.type = o["type"].toString();
    n.cableConnected = o["cable"].toBool();
    n.mac = o["mac"].toString();
    return n;
}

QJsonObject toJson(const StorageController &c)
{
    QJsonArray attachments;
    for (const Attachment &a : c.attachments)
        attachments.append(QJsonObject{
            {"port", a.port}, {"device", a.device}, {"type", a.type}, {"medium", a.mediumUuid}});
    return {{"name", c.name},         {"type", c.type},
            {"ports", c.portCount},   {"maxPorts", c.maxPortCount},
            {"bootable", c.bootable}, {"attachments", attachments}};
}

StorageController controllerFromJson(const QJsonObject &o)
{
    StorageController c;
    c.name = o["name"].toString();
    c.type = o["type"].toString();
    c.portCount = o["ports"].toInt();
    c.maxPortCount = o["maxPorts"].toInt();
    c.bootable = o["bootable"].toBool();
    for (const QJsonValue &v : o["attachments"].toArray()) {
        const QJsonObject a = v.toObject();
        c.attachments.append(
            {a["port"].toInt(), a["device"].toInt(), a["type"].toString(), a["medium"].toString()});
    }
    return c;
}

QJsonObject toJson(const MachineConfig &c)
{
    QJsonArray nics, controllers, properties;
    for (const NetworkAdapter &n : c.nics)
        nics.append(toJson(n));
    for (const StorageController &s : c.controllers)
        controllers.append(toJson(s));
    for (const GuestProperty &p : c.guestProperties)
        properties.append(toJson(p));
    return {{"cpus", c.cpus}, {"memory", c.memoryMB},       {"osType", c.osType},
            {"nics", nics},   {"controllers", controllers}, {"guestProperties", properties}};
}

MachineConfig configFromJson(const QJsonObject &o)
{
    MachineConfig c;
    c.cpus = o["cpus"].toInt();
    c.memoryMB = o["memory"].toInt();
    c.osType = o["osType"].toString();
    for (const QJsonValue &v : o["nics"].toArray())
        c.nics.append(adapterFromJson(v.toObject()));
    for (const QJsonValue &v : o["controllers"].toArray())
        c.controllers.append(controllerFromJson(v.toObject()));
    for (const QJsonValue &v : o["guestProperties"].toArray())
        c.guestProperties.append(guestPropertyFromJson(v.toObject()));
    return c;
}

QJsonObject toJson(const Snapshot &s)
{
    QJsonArray children;
    for (const Snapshot &child : s.children)
        children.append(toJson(child));
    return {{"uuid", s.uuid},
            {"name", s.name},
            {"description", s.description},
            {"time", QString::number(s.timeMs)},
            {"config", toJson(s.config)},
            {"children", children}};
}

Snapshot snapshotFromJson(const QJsonObject &o)
{
    Snapshot s;
    s.uuid = o["uuid"].toString();
    s.name = o["name"].toString();
    s.description = o["description"].toString();
    s.timeMs = o["time"].toString().toLongLong();
    s.config = configFromJson(o["config"].toObject());
    for (const QJsonValue &v : o["children"].toArray())
        s.children.push_back(snapshotFromJson(v.toObject()));
    return s;
}

QJsonObject toJson(const Machine &m)
{
    QJsonArray snapshots;
    for (const Snapshot &s : m.snapshots)
        snapshots.append(toJson(s));
    QJsonObject extra;
    for (auto it = m.extraData.cbegin(); it != m.extraData.cend(); ++it)
        extra[it.key()] = it.value();
    return {{"uuid", m.uuid},
            {"name", m.name},
            {"settingsFile", m.settingsFile},
            {"config", toJson(m.config)},
            {"state", m.state},
            {"since", QString::number(m.stateSinceMs)},
            {"startedAt", QString::number(m.startedAtMs)},
            {"addressPublished", m.addressPublished},
            {"snapshots", snapshots},
            {"currentSnapshot", m.currentSnapshot},
            {"extraData", extra}};
}

Machine machineFromJson(const QJsonObject &o)
{
    Machine m;
    m.uuid = o["uuid"].toString();
    m.name = o["name"].toString();
    m.settingsFile = o["settingsFile"].toString();
    m.config = configFromJson(o["config"].toObject());
    m.state = o["state"].toString();
    m.stateSinceMs = o["since"].toString().toLongLong();
    m.startedAtMs = o["startedAt"].toString().toLongLong();
    m.addressPublished = o["addressPublished"].toBool();
    for (const QJsonValue &v : o["snapshots"].toArray())
        m.snapshots.push_back(snapshotFromJson(v.toObject()));
    m.currentSnapshot = o["currentSnapshot"].toString();
    const QJsonObject extra = o["extraData"].toObject();
    for (auto it = extra.begin(); it != extra.end(); ++it)
        m.extraData.insert(it.key(), it.value().toString());
    return m;
}

Snapshot *findSnapshotIn(std::vector<Snapshot> &list, const QString &nameOrUuid)
{
    for (Snapshot &s : list) {
        if (s.name == nameOrUuid || s.uuid == nameOrUuid)
            return &s;
        if (Snapshot *found = findSnapshotIn(s.children, nameOrUuid))
            return found;
    }
    return nullptr;
}

void collectMedia(const std::vector<Snapshot> &list, QStringList *uuids)
{
    for (const Snapshot &s : list) {
        for (const QString &uuid : s.config.mediumUuids())
            if (!uuids->contains(uuid))
                uuids->append(uuid);
        collectMedia(s.children, uuids);
    }
}

QString stripBraces(const QString &id)
{
    if (id.startsWith('{') && id.endsWith('}'))
        return id.mid(1, id.size() - 2);
    return id;
}

} // namespace

const Attachment *StorageController::attachmentAt(int port, int device) const
{
    for (const Attachment &a : attachments)
        if (a.port == port && a.device == device)
            return &a;
    return nullptr;
}

const GuestProperty *MachineConfig::guestProperty(const QString &name) const
{
    for (const GuestProperty &p : guestProperties)
        if (p.name == name)
            return &p;
    return nullptr;
}

void MachineConfig::setGuestProperty(const QString &name, const QString &value, qint64 timestampNs,
                                     const QString &flags)
{
    for (GuestProperty &p : guestProperties) {
        if (p.name == name) {
            p.value = value;
            p.timestampNs = timestampNs;
            p.flags = flags;
            return;
        }
    }
    guestProperties.append({name, value, timestampNs, flags});
}

bool MachineConfig::removeGuestProperty(const QString &name)
{
    for (int i = 0; i < guestProperties.size(); ++i) {
        if (guestProperties[i].name == name) {
            guestProperties.removeAt(i);
            return true;
        }
    }
    return false;
}

QStringList MachineConfig::mediumUuids() const
{
    QStringList uuids;
    for (const StorageController &c : controllers)
        for (const Attachment &a : c.attachments)
            if (!a.mediumUuid.isEmpty() && !uuids.contains(a.mediumUuid))
                uuids.append(a.mediumUuid);
    return uuids;
}

QString Machine::folder() const
{
    return QFileInfo(settingsFile).absolutePath();
}

bool Machine::isRunning() const
{
    return state == QLatin1String("running") || state == QLatin1String("paused");
}

Snapshot *Machine::findSnapshot(const QString &nameOrUuid)
{
    return findSnapshotIn(snapshots, stripBraces(nameOrUuid));
}

QStringList Machine::allMediumUuids() const
{
    QStringList uuids = config.mediumUuids();
    collectMedia(snapshots, &uuids);
    return uuids;
}

HostState HostState::defaultHost(const QString &home)
{
    HostState host;
    host.machineFolder = QDir(home).filePath(QStringLiteral("VirtualBox VMs"));
    host.bridgedInterfaces.append({QStringLiteral("eth0"), QStringLiteral("10.0.2.15"),
                                   QStringLiteral("255.255.255.0"),
                                   QStringLiteral("52:54:00:12:34:56")});
    return host;
}

Machine *HostState::findMachine(const QString &nameOrUuid)
{
    const QString id = stripBraces(nameOrUuid);
    for (Machine &m : machines)
        if (m.uuid == id)
            return &m;
    for (Machine &m : machines)
        if (m.name == nameOrUuid)
            return &m;
    return nullptr;
}

Medium *HostState::findMedium(const QString &uuidOrLocation)
{
    const QString id = stripBraces(uuidOrLocation);
    const QString location = cleanAbsolutePath(uuidOrLocation);
    for (Medium &m : media)
        if (m.uuid == id || m.location == location)
            return &m;
    return nullptr;
}

HostOnlyInterface *HostState::findHostOnly(const QString &name)
{
    for (HostOnlyInterface &i : hostOnlyInterfaces)
        if (i.name == name)
            return &i;
    return nullptr;
}

DhcpServer *HostState::findDhcpServer(const QString &networkName)
{
    for (DhcpServer &d : dhcpServers)
        if (d.networkName == networkName)
            return &d;
    return nullptr;
}

QStringList HostState::machinesUsing(const QString &mediumUuid) const
{
    QStringList result;
    for (const Machine &m : machines)
        if (m.allMediumUuids().contains(mediumUuid))
            result.append(m.uuid);
    return result;
}

QJsonObject HostState::toJson() const
{
    QJsonArray machineArray, mediaArray, hostOnlyArray, bridgedArray, dhcpArray;
    for (const Machine &m : machines)
        machineArray.append(VBoxSim::toJson(m));
    for (const Medium &m : media) {
        QJsonObject medium{{"uuid", m.uuid},
                           {"location", m.location},
                           {"format", m.format},
                           {"size", QString::number(m.sizeMB)}};
        if (!m.parent.isEmpty())
            medium.insert(QStringLiteral("parent"), m.parent);
        mediaArray.append(medium);
    }
    for (const HostOnlyInterface &i : hostOnlyInterfaces)
        hostOnlyArray.append(QJsonObject{{"name", i.name},
                                         {"index", i.index},
                                         {"ip", i.ipAddress},
                                         {"mask", i.networkMask},
                                         {"up", i.up}});
    for (const BridgedInterface &b : bridgedInterfaces)
        bridgedArray.append(QJsonObject{
            {"name", b.name}, {"ip", b.ipAddress}, {"mask", b.networkMask}, {"mac", b.mac}});
    for (const DhcpServer &d : dhcpServers) {
        QJsonObject leases;
        for (auto it = d.leases.cbegin(); it != d.leases.cend(); ++it)
            leases[it.key()] = it.value();
        dhcpArray.append(QJsonObject{{"network", d.networkName},
                                     {"ip", d.ipAddress},
                                     {"mask", d.networkMask},
                                     {"lower", d.lowerIp},
                                     {"upper", d.upperIp},
                                     {"enabled", d.enabled},
                                     {"leases", leases}});
    }
    return {{"machines", machineArray},
            {"media", mediaArray},
            {"hostOnlyInterfaces", hostOnlyArray},
            {"bridgedInterfaces", bridgedArray},
            {"dhcpServers", dhcpArray},
            {"machineFolder", machineFolder},
            {"processors", processorCount},
            {"cores", coreCount},
            {"memory", QString::number(memoryMB)}};
}

HostState HostState::fromJson(const QJsonObject &json)
{
    HostState host;
    for (const QJsonValue &v : json["machines"].toArray())
        host.machines.append(machineFromJson(v.toObject()));
    for (const QJsonValue &v : json["media"].toArray()) {
        const QJsonObject o = v.toObject();
        host.media.append({o["uuid"].toString(), o["location"].toString(), o["format"].toString(),
                           o["size"].toString().toLongLong(), o["parent"].toString()});
    }
    for (const QJsonValue &v : json["hostOnlyInterfaces"].toArray()) {
        const QJsonObject o = v.toObject();
        host.hostOnlyInterfaces.append({o["name"].toString(), o["index"].toInt(),
                                        o["ip"].toString(), o["mask"].toString(),
                                        o["up"].toBool(true)});
    }
    for (const QJsonValue &v : json["bridgedInterfaces"].toArray()) {
        const QJsonObject o = v.toObject();
        host.bridgedInterfaces.append(
            {o["name"].toString(), o["ip"].toString(), o["mask"].toString(), o["mac"].toString()});
    }
    for (const QJsonValue &v : json["dhcpServers"].toArray()) {
        const QJsonObject o = v.toObject();
        DhcpServer d;
        d.networkName = o["network"].toString();
        d.ipAddress = o["ip"].toString();
        d.networkMask = o["mask"].toString();
        d.lowerIp = o["lower"].toString();
        d.upperIp = o["upper"].toString();
        d.enabled = o["enabled"].toBool();
        const QJsonObject leases = o["leases"].toObject();
        for (auto it = leases.begin(); it != leases.end(); ++it)
            d.leases.insert(it.key(), it.value().toString());
        host.dhcpServers.append(d);
    }
    host.machineFolder = json["machineFolder"].toString();
    host.processorCount = json["processors"].toInt(8);
    host.coreCount = json["cores"].toInt(4);
    host.memoryMB = json["memory"].toString().toLongLong();
    return host;
}

QString newUuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

QString newMacAddress()
{
    const quint32 tail = QRandomGenerator::global()->bounded(0x1000000u);
    return QStringLiteral("080027") + QString::number(tail, 16).toUpper().rightJustified(6, '0');
}

NetworkAdapter disabledAdapter()
{
    NetworkAdapter nic;
    nic.mac = newMacAddress();
    return nic;
}

qint64 nowMs()
{
    return QDateTime::currentMSecsSinceEpoch();
}

QString sinceText(qint64 ms)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
    return time.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")) + QStringLiteral("000000");
}

QString cleanAbsolutePath(const QString &path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

} // namespace VBoxSim
