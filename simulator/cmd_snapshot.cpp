// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "console.h"

#include <QDir>
#include <QFile>

namespace VBoxSim {

namespace {

const QString SnapshotFile = QStringLiteral("VBoxManageSnapshot.cpp");

bool addChild(std::vector<Snapshot> &list, const QString &parent, const Snapshot &child)
{
    for (Snapshot &s : list) {
        if (s.uuid == parent) {
            s.children.push_back(child);
            return true;
        }
        if (addChild(s.children, parent, child))
            return true;
    }
    return false;
}

// Removes the snapshot and hands its children to its parent, as VirtualBox merges them.
bool removeSnapshot(std::vector<Snapshot> &list, const QString &uuid)
{
    for (size_t i = 0; i < list.size(); ++i) {
        if (list[i].uuid == uuid) {
            std::vector<Snapshot> children = list[i].children;
            list.erase(list.begin() + long(i));
            list.insert(list.begin() + long(i), children.begin(), children.end());
            return true;
        }
        if (removeSnapshot(list[i].children, uuid))
            return true;
    }
    return false;
}

void replaceMedium(MachineConfig &config, const QString &from, const QString &to)
{
    for (StorageController &c : config.controllers)
        for (Attachment &a : c.attachments)
            if (a.mediumUuid == from)
                a.mediumUuid = to;
}

void replaceMedium(std::vector<Snapshot> &list, const QString &from, const QString &to)
{
    for (Snapshot &s : list) {
        replaceMedium(s.config, from, to);
        replaceMedium(s.children, from, to);
    }
}

void removeMedium(HostState &host, const QString &uuid)
{
    for (int i = 0; i < host.media.size(); ++i) {
        if (host.media[i].uuid == uuid) {
            QFile::remove(host.media[i].location);
            host.media.removeAt(i--);
        }
    }
}

// Once a snapshot holds a disk, VirtualBox writes to a new differencing image of it in the
// snapshot folder, named after its UUID; the image starts out with its parent's contents.
void attachDifferencingImages(HostState &host, Machine &m)
{
    const QString folder = QDir(m.folder()).filePath(QStringLiteral("Snapshots"));
    for (StorageController &c : m.config.controllers) {
        for (Attachment &a : c.attachments) {
            const Medium *parent = host.findMedium(a.mediumUuid);
            if (!parent || a.type != QLatin1String("hdd"))
                continue;
            Medium diff = *parent;
            diff.uuid = newUuid();
            diff.parent = parent->uuid;
            diff.location =
                QStringLiteral("%1/{%2}.%3").arg(folder, diff.uuid, parent->format.toLower());
            QDir().mkpath(folder);
            copyImageFile(parent->location, diff.location, diff);
            a.mediumUuid = diff.uuid;
            host.media.append(diff);
        }
    }
}

// The differencing images of the current state that no snapshot and no other machine
// holds, which a restore throws away.
void discardCurrentImages(HostState &host, const Machine &m)
{
    Machine snapshotsOnly;
    snapshotsOnly.snapshots = m.snapshots;
    const QStringList kept = snapshotsOnly.allMediumUuids();
    for (const QString &uuid : m.config.mediumUuids()) {
        const Medium *medium = host.findMedium(uuid);
        if (medium && !medium->parent.isEmpty() && !kept.contains(uuid) &&
            host.machinesUsing(uuid).size() <= 1)
            removeMedium(host, uuid);
    }
}

// After a snapshot is gone, each of its disks that nothing holds any more takes in its one
// differencing image (which then goes), as VirtualBox merges them.
void mergeReleasedImages(HostState &host, Machine &m, const MachineConfig &released)
{
    for (const QString &uuid : released.mediumUuids()) {
        if (m.allMediumUuids().contains(uuid) || !host.machinesUsing(uuid).isEmpty())
            continue;
        QStringList children;
        for (const Medium &medium : host.media)
            if (medium.parent == uuid)
                children.append(medium.uuid);
        const Medium *parent = host.findMedium(uuid);
        if (!parent || children.size() > 1)
            continue;
        if (children.isEmpty()) {
            if (!parent->parent.isEmpty())
                removeMedium(host, uuid);
            continue;
        }
        const Medium *child = host.findMedium(children.first());
        copyImageFile(child->location, parent->location, *parent);
        for (Medium &medium : host.media)
            if (medium.parent == child->uuid)
                medium.parent = uuid;
        replaceMedium(m.config, child->uuid, uuid);
        replaceMedium(m.snapshots, child->uuid, uuid);
        removeMedium(host, children.first());
    }
}

Snapshot *findOrComplain(Machine &m, const QString &name)
{
    Snapshot *s = m.findSnapshot(name);
    if (!s)
        printComError({QStringLiteral("Could not find a snapshot named '%1'").arg(name),
                       codeObjectNotFound(), QStringLiteral("MachineWrap"),
                       QStringLiteral("IMachine"),
                       QStringLiteral("FindSnapshot(Bstr(a->argv[2]).raw(), "
                                      "pSnapshot.asOutParam())"),
                       393, SnapshotFile});
    return s;
}

int take(Context &context, Machine &m, const QStringList &args)
{
    if (args.size() < 4)
        return syntaxError(context, QStringLiteral("Missing snapshot name"));
    const Options options(args, 4, {"--live", "--pause"});
    Snapshot snapshot;
    snapshot.uuid = newUuid();
    snapshot.name = args[3];
    snapshot.description = options.value(QStringLiteral("--description"));
    snapshot.timeMs = nowMs();
    snapshot.config = m.config;
    if (m.currentSnapshot.isEmpty() || !addChild(m.snapshots, m.currentSnapshot, snapshot))
        m.snapshots.push_back(snapshot);
    m.currentSnapshot = snapshot.uuid;
    attachDifferencingImages(context.host, m);
    context.changed = true;
    printProgress(context);
    printOut(QStringLiteral("Snapshot taken. UUID: %1\n").arg(snapshot.uuid));
    return ExitSuccess;
}

int restore(Context &context, Machine &m, const QStringList &args)
{
    if (args.size() < 4)
        return syntaxError(context, QStringLiteral("Missing snapshot name"));
    Snapshot *s = findOrComplain(m, args[3]);
    if (!s)
        return ExitFailure;
    if (m.isRunning()) {
        printComError({QStringLiteral("Cannot delete the current state of the running machine "
                                      "(machine state: %1)")
                           .arg(m.state == QLatin1String("paused") ? "Paused" : "Running"),
                       codeInvalidVmState(), QStringLiteral("SessionMachine"),
                       QStringLiteral("IMachine"),
                       QStringLiteral("RestoreSnapshot(pSnapshot, pProgress.asOutParam())"), 538,
                       SnapshotFile});
        return ExitFailure;
    }
    printOut(QStringLiteral("Restoring snapshot '%1' (%2)\n").arg(s->name, s->uuid));
    printProgress(context);
    discardCurrentImages(context.host, m);
    m.config = s->config;
    m.currentSnapshot = s->uuid;
    attachDifferencingImages(context.host, m);
    context.changed = true;
    return ExitSuccess;
}

int remove(Context &context, Machine &m, const QStringList &args)
{
    if (args.size() < 4)
        return syntaxError(context, QStringLiteral("Missing snapshot name"));
    Snapshot *s = findOrComplain(m, args[3]);
    if (!s)
        return ExitFailure;
    printOut(QStringLiteral("Deleting snapshot '%1' (%2)\n").arg(s->name, s->uuid));
    printProgress(context);
    const QString uuid = s->uuid;
    const MachineConfig released = s->config;
    removeSnapshot(m.snapshots, uuid);
    mergeReleasedImages(context.host, m, released);
    if (m.currentSnapshot == uuid)
        m.currentSnapshot.clear();
    context.changed = true;
    return ExitSuccess;
}

} // namespace

int snapshotCommand(Context &context, const QStringList &args)
{
    if (args.size() < 3)
        return syntaxError(context, QStringLiteral("Not enough parameters"));
    Machine *m = context.machine(args[1],
                                 QStringLiteral("FindMachine(Bstr(a->argv[0]).raw(), "
                                                "pMachine.asOutParam())"),
                                 252, SnapshotFile);
    if (!m)
        return ExitFailure;
    const QString sub = args[2];
    if (sub == QLatin1String("take"))
        return take(context, *m, args);
    if (sub == QLatin1String("restore"))
        return restore(context, *m, args);
    if (sub == QLatin1String("delete"))
        return remove(context, *m, args);
    if (sub == QLatin1String("list")) {
        if (m->snapshots.empty()) {
            printOut(QStringLiteral("This machine does not have any snapshots\n"));
            return ExitFailure;
        }
        printOut(context.format->snapshotList(*m));
        return ExitSuccess;
    }
    return syntaxError(context, QStringLiteral("Invalid parameter '%1'").arg(sub));
}

} // namespace VBoxSim
