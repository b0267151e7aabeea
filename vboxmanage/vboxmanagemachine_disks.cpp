#include "vboxmanagemachine.h"

QString VBoxManageMachine::getDiskUuid(DiskPort port, DiskDevice device) const
{
    return {};
}

bool VBoxManageMachine::deleteDisk(DiskPort port, DiskDevice device) const
{
    return false;
}

bool VBoxManageMachine::attachDisk(const QString &path, DiskPort port, DiskDevice device) const
{
    return false;
}
