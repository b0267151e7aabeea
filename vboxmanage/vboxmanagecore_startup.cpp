#include "vboxmanagecore.h"

LoadStateInfo VBoxManageCore::initialize()
{
    return {};
}
