#include "vboxmanagecore.h"

QList<VMToolsMachine *> VBoxManageCore::getMachines()
{
    return {};
}

VMToolsMachine * VBoxManageCore::getMachine(const QString &id)
{
    return nullptr;
}

bool VBoxManageCore::doesMachineExist(const QString &id) const
{
    return false;
}

QString VBoxManageCore::getCurrentVBoxMachineFolderValue() const
{
    return {};
}

bool VBoxManageCore::setVBoxMachineFolderValue(const QString &path) const
{
    return false;
}
