// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/vmtoolsmachine.h>

#include <QString>
#include <QStringList>

// Pure parsers of VBoxManage's network listings: text in, values out.
namespace VBoxInterfaceParser {

// The "Name:" of every record of "list bridgedifs", in order, untrimmed.
QStringList parseBridgeableInterfaces(const QString &output);

// How adapter 2 of a "showvminfo" description is connected. Returns true for NAT and
// for bridged (with the interface name); false for anything else or no decision.
bool parseInterfaceStatus(const QString &output, VMToolsMachine::ConnectionType *type,
                          QString *name);

} // namespace VBoxInterfaceParser
