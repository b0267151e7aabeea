#include "vboxmanagemachine.h"

#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QRegExp>

namespace {

// Taken once after deployment; restoring it returns the device to its first state.
const QString FactorySnapshot = QStringLiteral("factory-backup");
const QString FactorySnapshotDescription =
    QStringLiteral("Initial snapshot to reset factory state");

enum RestoreResult { Restored = 0, NoSuchSnapshot = 1, RestoreFailed = 2 };

} // namespace

bool VBoxManageMachine::createFactoryBackup()
{
    return takeSnapshot(FactorySnapshot, FactorySnapshotDescription);
}

bool VBoxManageMachine::canResetToFactory()
{
    return doesSnapshotExist(FactorySnapshot);
}

int VBoxManageMachine::resetFactory()
{
    return restoreSnapshot(FactorySnapshot);
}

bool VBoxManageMachine::takeSnapshot(const QString &snapshotName, const QString &description)
{
    const QStringList arguments{QStringLiteral("snapshot"),      m_name,
                                QStringLiteral("take"),          snapshotName,
                                QStringLiteral("--description"), description};
    if (VBoxManageCommon::call(m_vboxManagePath, arguments, VBoxManageCommon::LongTimeout)
            .exitCode != 0)
        return false;
    VBoxLog::debug() << m_name << ": Snapshot created with success:" << snapshotName;
    return true;
}

QStringList VBoxManageMachine::listSnapshots()
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("snapshot"), m_name, QStringLiteral("list")});
    if (result.exitCode != 0)
        return {};
    VBoxLog::debug() << "List all snapshot(s):";
    // Children are indented below their parent; trimming flattens the tree in listing order.
    QRegExp snapshotLine(QStringLiteral("Name:\\s+(.+)\\s+\\(UUID:\\s+(.+)\\)"));
    QStringList names;
    const QStringList lines = result.output.split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (snapshotLine.indexIn(line.trimmed()) < 0)
            continue;
        names.append(snapshotLine.cap(1));
        VBoxLog::debug() << "-" << m_name << ": Snapshot found:" << snapshotLine.cap(1);
    }
    return names;
}

bool VBoxManageMachine::doesSnapshotExist(const QString &snapshotName)
{
    if (listSnapshots().contains(snapshotName)) {
        VBoxLog::debug() << m_name << ": snapshot found:" << snapshotName;
        return true;
    }
    VBoxLog::critical() << m_name << ": snapshot not found:" << snapshotName;
    return false;
}

int VBoxManageMachine::restoreSnapshot(const QString &snapshotName)
{
    if (!doesSnapshotExist(snapshotName)) {
        VBoxLog::critical() << m_name << ": Unable to restore snapshot:" << snapshotName
                            << ": no such snapshot";
        return NoSuchSnapshot;
    }
    const QStringList arguments{QStringLiteral("snapshot"), m_name, QStringLiteral("restore"),
                                snapshotName};
    if (VBoxManageCommon::call(m_vboxManagePath, arguments, VBoxManageCommon::LongTimeout)
            .exitCode != 0)
        return RestoreFailed;
    VBoxLog::debug() << m_name << ": Snapshot restored with success:" << snapshotName;
    return Restored;
}
