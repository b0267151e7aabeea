#include "vboxmanagecore.h"

unsigned int VBoxManageCore::copyDisk(const QString &source, const QString &target) const
{
    return 0;
}

unsigned int VBoxManageCore::deleteDisk(const QString &path) const
{
    return 0;
}

unsigned int VBoxManageCore::createSDCard(VMToolsMachine *machine, unsigned int size) const
{
    return 0;
}
