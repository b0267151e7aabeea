#include "vboxmanagemachine.h"

void VBoxManageMachine::dumpInfos(QFile *file)
{
}
