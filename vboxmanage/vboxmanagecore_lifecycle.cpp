#include "vboxmanagecore.h"

bool VBoxManageCore::startMachine(VMToolsMachine *machine, VMToolsMachine::LaunchType type)
{
    return false;
}

bool VBoxManageCore::stopMachine(VMToolsMachine *machine)
{
    return false;
}

bool VBoxManageCore::startStopDevice(VMToolsMachine *machine)
{
    return false;
}
