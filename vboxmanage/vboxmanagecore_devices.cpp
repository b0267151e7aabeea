#include "vboxmanagecore.h"

bool VBoxManageCore::deleteMachine(VMToolsMachine *machine)
{
    return false;
}

bool VBoxManageCore::renameMachine(VMToolsMachine *machine, const QString &newName)
{
    return false;
}

unsigned int VBoxManageCore::cloneMachine(VMToolsMachine *machine, const QString &newName, bool withFactoryBackup)
{
    return 0;
}

bool VBoxManageCore::exportMachine(VMToolsMachine *machine, const QString &path, VMToolsObserver *observer)
{
    return false;
}

bool VBoxManageCore::cleanDeployDir(const QString &path) const
{
    return false;
}
