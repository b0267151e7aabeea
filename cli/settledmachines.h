// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "machinesettingsfile.h"

#include <QString>

class CallMemo;

// Machines that no process runs, read from their settings files instead of from VirtualBox's
// service: a description of every machine costs the service tens of milliseconds each, its
// file microseconds.
namespace SettledMachines {

// Keeps in `memo`, as the answers to reads of `program` about `id` (the name or UUID of a
// machine that no process runs), what its settings file says: its guest properties ("guestproperty
// enumerate"), its published address ("guestproperty get") and its snapshots ("snapshot list").
void keepFileAnswers(CallMemo &memo, const QString &program, const QString &id,
                     const MachineSettingsFile::Machine &machine);

// Keeps in `memo`, as the answers to reads of `program`, what each machine of `listing`
// ("list vms") that `running` ("list runningvms") does not name would say: its "showvminfo"
// and, from the same file, its "guestproperty enumerate" and the read of its published
// address. Its file is the one the registry names or else, for a device, the one in its
// folder under `deployDirectory`; a machine whose file does not read well, is another
// machine's, or holds a saved or aborted state is left to be read as before.
void keepAnswers(CallMemo &memo, const QString &program, const QString &listing,
                 const QString &running, const QString &deployDirectory);

} // namespace SettledMachines
