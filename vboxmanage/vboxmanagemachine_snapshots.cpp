// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagemachine.h"

#include "vboxoutputparser.h"

#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

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
    const QStringList names = VBoxOutputParser::parseSnapshotNames(result.output);
    for (const QString &name : names)
        VBoxLog::debug() << "-" << m_name << ": Snapshot found:" << name;
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
