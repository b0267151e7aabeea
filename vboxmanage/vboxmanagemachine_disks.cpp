// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagemachine.h"

#include "vboxoutputparser.h"

#include <vmtools/vboxmanagecommon.h>

#include <QDir>

namespace {

const QString Controller = QStringLiteral("IDEController");

QStringList placeArguments(const QString &machine, DiskPort port, DiskDevice device)
{
    return {QStringLiteral("storageattach"), machine,
            QStringLiteral("--storagectl"),  Controller,
            QStringLiteral("--port"),        QString::number(port),
            QStringLiteral("--device"),      QString::number(device)};
}

} // namespace

QString VBoxManageMachine::getDiskUuid(DiskPort port, DiskDevice device) const
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("showvminfo"), m_name}, VBoxManageCommon::WaitForever);
    if (result.exitCode != 0)
        return {};
    return VBoxOutputParser::parseDiskUuid(result.output, port, device);
}

bool VBoxManageMachine::deleteDisk(DiskPort port, DiskDevice device) const
{
    // Read while still attached: once detached the place no longer names the medium.
    const QString uuid = getDiskUuid(port, device);
    const QStringList detach = placeArguments(m_name, port, device)
                               << QStringLiteral("--medium") << QStringLiteral("none");
    if (VBoxManageCommon::call(m_vboxManagePath, detach, VBoxManageCommon::WaitForever).exitCode !=
        0)
        return false;
    const QStringList close{QStringLiteral("closemedium"), QStringLiteral("disk"), uuid,
                            QStringLiteral("--delete")};
    return VBoxManageCommon::call(m_vboxManagePath, close, VBoxManageCommon::WaitForever)
               .exitCode == 0;
}

bool VBoxManageMachine::attachDisk(const QString &path, DiskPort port, DiskDevice device) const
{
    const QStringList arguments = placeArguments(m_name, port, device)
                                  << QStringLiteral("--type") << QStringLiteral("hdd")
                                  << QStringLiteral("--medium")
                                  << QDir::toNativeSeparators(QDir::cleanPath(path));
    return VBoxManageCommon::call(m_vboxManagePath, arguments, VBoxManageCommon::WaitForever)
               .exitCode == 0;
}
