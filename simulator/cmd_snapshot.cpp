#include "commands.h"
#include "console.h"

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
    m.config = s->config;
    m.currentSnapshot = s->uuid;
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
    removeSnapshot(m.snapshots, uuid);
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
