// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/loadstateinfo.h>
#include <vmtools/vmtoolsmachine.h>

#include <QString>

// The engine's numeric results in plain words.
namespace ResultWords {

// A code of createMachine, cloneMachine, copyDisk or deleteDisk (EngineResult).
QString engineResult(unsigned int code);
// A result of resetFactory: 0 done, 1 no factory backup, 2 the restore failed.
QString factoryReset(int code);
// Why the engine could not be loaded; `info.state` -1 means the plug-in gave no engine.
QString loadFailure(const LoadStateInfo &info, const QString &pluginFolder);
// A run state: "running", "off", "paused", "busy", "aborted" or "unknown".
QString state(VMToolsMachine::State state);
// What a network adapter slot holds: "hostonly", "other" (any other attachment) or "none".
QString adapter(VMToolsMachine::AdapterType type);
// Adapter 2's connection: "nat", "bridged" or "unknown".
QString connection(VMToolsMachine::ConnectionType type);

} // namespace ResultWords
