// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonObject>
#include <QString>

// What `vmtools --version` tells: vmtools', the plug-in's and VirtualBox's versions, found
// without starting the engine (which would check and perhaps rebuild the host-only network).
namespace VersionReport {

struct Versions
{
    QString vmtools;
    QString plugin;     // null when the plug-in is not in its folder
    QString virtualBox; // null when VBoxManage could not be run or named no version
};

// The plug-in is built with vmtools from the same version number.
Versions read(const QString &pluginFolder,
              const QString &vboxManage = QStringLiteral("VBoxManage"));
// The release line of `VBoxManage --version`, which may follow warnings; null without one.
QString versionLine(const QString &output);

QString text(const Versions &versions);
QJsonObject json(const Versions &versions);

} // namespace VersionReport
