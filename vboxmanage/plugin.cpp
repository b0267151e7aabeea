// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

// The one symbol a host looks up in this library.
extern "C" __attribute__((visibility("default"))) VMToolsEngine *getVMToolsEngine()
{
    return new VBoxManageCore;
}
