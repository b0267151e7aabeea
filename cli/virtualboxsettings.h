// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHash>
#include <QString>

// VirtualBox's own settings of the user (VirtualBox.xml), read only. VirtualBox's service
// writes the file again whenever one of its global settings changes, so what the file says is
// what the service holds, read in microseconds instead of a client run of a tenth of a second.
namespace VirtualBoxSettings {

// VirtualBox's folder for the user: VBOX_USER_HOME, or the folder of older versions when it
// is still there, or the one under ~/.config.
QString folder();

// The settings file of each machine in VirtualBox's registry, by UUID; none when there is no
// such registry or it cannot be read.
QHash<QString, QString> registeredFiles();

// What "VBoxManage list dhcpservers" says of the DHCP servers (network, addresses and whether
// each is enabled), as VirtualBox 5.2 prints it. False when the file is not there (a fresh
// VirtualBox has a default server that it writes nowhere until a setting changes), cannot be
// read, or leaves out an address of a server.
bool dhcpServersText(QString *text);

} // namespace VirtualBoxSettings
