// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command.h"

// The sub-commands, grouped as the overview shows them.
namespace Commands {
QList<Command> engineCommands();    // info, doctor, repair-network, deploy-dir, dump
QList<Command> deviceCommands();    // list, show, create, clone, rename, delete
QList<Command> lifecycleCommands(); // start, stop, check, wait-ip, factory-backup/-reset
QList<Command> profileCommands();   // get, set, network
QList<Command> mediaCommands();     // export, copy-disk, delete-disk
Command doctorCommand();            // one of the engine commands

QList<Command> all();
QString deployDirectory(); // where the engine makes devices, as the settings say
const Command *find(const QString &name);
} // namespace Commands
