// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "console.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>

namespace VBoxSim {

namespace {

const QString MiscFile = QStringLiteral("VBoxManageMisc.cpp");

void remapMedia(MachineConfig &config, const QMap<QString, QString> &map)
{
    for (StorageController &c : config.controllers)
        for (Attachment &a : c.attachments)
            a.mediumUuid = map.value(a.mediumUuid, a.mediumUuid);
}

void remapSnapshots(std::vector<Snapshot> &list, const QMap<QString, QString> &media,
                    QMap<QString, QString> *snapshotIds)
{
    for (Snapshot &s : list) {
        const QString id = newUuid();
        snapshotIds->insert(s.uuid, id);
        s.uuid = id;
        remapMedia(s.config, media);
        remapSnapshots(s.children, media, snapshotIds);
    }
}

void newMacs(MachineConfig &config)
{
    for (NetworkAdapter &nic : config.nics)
        nic.mac = newMacAddress();
}

int cloneFailure(Context &context, const QString &message)
{
    printErr(context.format->progressFailure(QStringLiteral("VBOX_E_FILE_ERROR")));
    printProgressError({QStringLiteral("Clone VM failed\n") + message, codeFileError(),
                        QStringLiteral("MediumWrap"), QStringLiteral("IMedium"),
                        QStringLiteral("RTEXITCODE handleCloneVM(HandlerArg*)"),
                        context.format->sourceLine(SourceCall::CloneProgress), MiscFile});
    return ExitFailure;
}

// The states a clone is made of: the current one or a snapshot's, and for mode "all" the
// snapshots that come with it. Mode "all" copies the whole machine, current state and every
// snapshot, whatever snapshot is named.
struct ClonedStates
{
    MachineConfig config;
    std::vector<Snapshot> snapshots;
    QString current;
};

bool selectStates(Machine &source, const Options &options, ClonedStates *states)
{
    const bool all = options.value(QStringLiteral("--mode")) == QLatin1String("all");
    states->config = source.config;
    states->current = source.currentSnapshot;
    if (!options.has(QStringLiteral("--snapshot"))) {
        if (all)
            states->snapshots = source.snapshots;
        return true;
    }
    const QString wanted = options.value(QStringLiteral("--snapshot"));
    const Snapshot *snapshot = source.findSnapshot(wanted);
    if (!snapshot) {
        printComError({QStringLiteral("Could not find a snapshot named '%1'").arg(wanted),
                       codeObjectNotFound(), QStringLiteral("MachineWrap"),
                       QStringLiteral("IMachine"),
                       QStringLiteral("FindSnapshot(Bstr(pszSnapshotName).raw(), "
                                      "srcSnapshot.asOutParam())"),
                       453, MiscFile});
        return false;
    }
    if (all) {
        states->snapshots = source.snapshots;
        return true;
    }
    states->config = snapshot->config;
    states->current = snapshot->uuid;
    return true;
}

// Copies every medium of the cloned states once into the clone's folder. On failure the
// copies made so far are removed (nothing else in the folder) and the message returned.
QString copyMedia(Context &context, const ClonedStates &states, const QString &folder,
                  const QString &name, QMap<QString, QString> *map, QList<Medium> *copies)
{
    Machine probe;
    probe.config = states.config;
    probe.snapshots = states.snapshots;
    const QStringList uuids = probe.allMediumUuids();
    QDir().mkpath(folder);
    int baseDisks = 0;
    for (int i = 0; i < uuids.size(); ++i) {
        const Medium *medium = context.host.findMedium(uuids[i]);
        if (!medium)
            continue;
        Medium copy = *medium;
        copy.uuid = newUuid();
        // Base disks are named after the clone; differencing images keep their chain, in
        // the clone's snapshot folder.
        const QString suffix = QFileInfo(medium->location).suffix();
        if (medium->parent.isEmpty()) {
            copy.location = QDir(folder).filePath(QStringLiteral("%1-disk%2.%3")
                                                      .arg(sanitizedFileName(name))
                                                      .arg(++baseDisks)
                                                      .arg(suffix));
        } else {
            QDir(folder).mkpath(QStringLiteral("Snapshots"));
            copy.location =
                QDir(folder).filePath(QStringLiteral("Snapshots/{%1}.%2").arg(copy.uuid, suffix));
        }
        const bool full = context.faultIs("diskfull");
        if (full || !copyImageFile(medium->location, copy.location, copy)) {
            QFile::remove(copy.location);
            for (const Medium &made : *copies)
                QFile::remove(made.location);
            QDir(folder).rmdir(QStringLiteral("Snapshots"));
            QDir().rmdir(folder);
            return QStringLiteral("Could not create the clone medium '%1' (%2)")
                .arg(copy.location, full ? QStringLiteral("VERR_DISK_FULL")
                                         : QStringLiteral("VERR_FILE_NOT_FOUND"));
        }
        map->insert(medium->uuid, copy.uuid);
        copies->append(copy);
    }
    for (Medium &copy : *copies)
        if (!copy.parent.isEmpty())
            copy.parent = map->value(copy.parent, copy.parent);
    return QString();
}

} // namespace

int cloneVmCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {"--register"});
    if (options.positional().isEmpty())
        return syntaxError(context, QStringLiteral("VM name or UUID required"));
    Machine *source = context.machine(options.positional().first(),
                                      QStringLiteral("FindMachine(Bstr(pszSrcName).raw(), "
                                                     "srcMachine.asOutParam())"),
                                      437, MiscFile);
    ClonedStates states;
    if (!source || !selectStates(*source, options, &states))
        return ExitFailure;
    const QString name = options.value(QStringLiteral("--name"), source->name + " Clone");
    const QString base = cleanAbsolutePath(
        options.value(QStringLiteral("--basefolder"), context.host.machineFolder));
    const QString folder = QDir(base).filePath(sanitizedFileName(name));
    const QString settingsFile = QDir(folder).filePath(sanitizedFileName(name) + ".vbox");
    if (QFileInfo::exists(settingsFile)) {
        printComError(
            {QStringLiteral("Machine settings file '%1' already exists").arg(settingsFile),
             codeFileError(), QStringLiteral("MachineWrap"), QStringLiteral("IMachine"),
             context.format->cloneCreateMachineCall(),
             context.format->sourceLine(SourceCall::CloneCreateMachine), MiscFile});
        return ExitFailure;
    }
    QMap<QString, QString> mediaMap;
    QList<Medium> copies;
    const QString failure = copyMedia(context, states, folder, name, &mediaMap, &copies);
    if (!failure.isEmpty())
        return cloneFailure(context, failure);

    Machine clone;
    clone.uuid = newUuid();
    clone.name = name;
    clone.settingsFile = settingsFile;
    clone.config = states.config;
    remapMedia(clone.config, mediaMap);
    newMacs(clone.config);
    clone.stateSinceMs = nowMs();
    clone.extraData = source->extraData;
    QMap<QString, QString> snapshotIds;
    remapSnapshots(states.snapshots, mediaMap, &snapshotIds);
    clone.snapshots = states.snapshots;
    clone.currentSnapshot = snapshotIds.value(states.current);
    writeSettingsFile(clone);
    printProgress(context);
    if (options.has(QStringLiteral("--register"))) {
        context.host.machines.append(clone);
        context.host.media.append(copies);
        context.changed = true;
    }
    printOut(QStringLiteral("Machine has been successfully cloned as \"%1\"\n").arg(name));
    return ExitSuccess;
}

} // namespace VBoxSim
