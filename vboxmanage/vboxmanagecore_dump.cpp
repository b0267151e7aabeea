#include "vboxmanagecore.h"

void VBoxManageCore::dumpInfos(QFile *file)
{
}
