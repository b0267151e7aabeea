// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

namespace VBoxSim {

// One run of the VBoxManage stand-in: the arguments after the program name in, the exit
// code out; output goes straight to stdout and stderr.
int runVBoxManage(const QStringList &args);

// What the /usr/bin/VBoxManage wrapper script prints before it starts VBoxManage: the
// kernel module warning when a nodriver fault asks for it.
void printWrapperWarnings(const QStringList &args);

// One run of the ip stand-in.
int runIp(const QStringList &args);

} // namespace VBoxSim
