// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

#include <vmtools/engineresult.h>
#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QDir>
#include <QFileInfo>

namespace {

// VBoxManage gets clean paths in the platform's own separators.
QString nativePath(const QString &path)
{
    return QDir::toNativeSeparators(QDir::cleanPath(path));
}

} // namespace

unsigned int VBoxManageCore::copyDisk(const QString &source, const QString &target) const
{
    // Copying a large image can take far longer than any fixed limit.
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("clonehd"), nativePath(source), nativePath(target)},
        VBoxManageCommon::WaitForever);
    return result.exitCode == 0 ? EngineResult::Success : EngineResult::DiskCopyFailed;
}

unsigned int VBoxManageCore::deleteDisk(const QString &path) const
{
    // Nothing runs for a missing file, even if VirtualBox still lists a medium at that path.
    if (!QFileInfo::exists(path))
        return EngineResult::Success;
    const VBoxManageCommon::CallResult result =
        VBoxManageCommon::call(m_vboxManagePath,
                               {QStringLiteral("closemedium"), QStringLiteral("disk"),
                                nativePath(path), QStringLiteral("--delete")},
                               VBoxManageCommon::WaitForever);
    return result.exitCode == 0 ? EngineResult::Success : EngineResult::DiskDeletionFailed;
}

unsigned int VBoxManageCore::createSDCard(VMToolsMachine *machine, unsigned int size) const
{
    if (!machine)
        return EngineResult::SdCardCreationFailed;
    // Without the machine's folder the image would land at the root of the file system.
    const QString folder = machine->getPath();
    if (folder.isEmpty()) {
        VBoxLog::critical() << "[createSDCard]"
                            << "No folder for device" << machine->getName();
        return EngineResult::SdCardCreationFailed;
    }
    const QString path = nativePath(folder + QDir::separator() + getSDCardDiskName());
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath,
        {QStringLiteral("createhd"), QStringLiteral("--filename"), path, QStringLiteral("--size"),
         QString::number(size), QStringLiteral("--format"), QStringLiteral("VDI")});
    if (result.exitCode != 0)
        return EngineResult::SdCardCreationFailed;
    return machine->attachDisk(path, SecondaryPort, MasterDevice)
               ? EngineResult::Success
               : EngineResult::SdCardAttachFailed;
}
