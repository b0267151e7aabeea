#include "vboxmanagemachine.h"

bool VBoxManageMachine::createFactoryBackup()
{
    return false;
}

bool VBoxManageMachine::canResetToFactory()
{
    return false;
}

int VBoxManageMachine::resetFactory()
{
    return 0;
}

bool VBoxManageMachine::takeSnapshot(const QString &snapshotName, const QString &description)
{
    return false;
}

QStringList VBoxManageMachine::listSnapshots()
{
    return {};
}

bool VBoxManageMachine::doesSnapshotExist(const QString &snapshotName)
{
    return false;
}

int VBoxManageMachine::restoreSnapshot(const QString &snapshotName)
{
    return 0;
}
