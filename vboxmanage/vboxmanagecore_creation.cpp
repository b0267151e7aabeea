#include "vboxmanagecore.h"

unsigned int VBoxManageCore::createMachine(const QString &appliancePath, const QString &name, unsigned int cpus, unsigned int memory, unsigned int sdCardSize)
{
    return 0;
}
