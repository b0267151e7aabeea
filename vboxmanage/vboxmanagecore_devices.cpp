// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

#include "machinefolderswitch.h"

#include <vmtools/engineresult.h>
#include <vmtools/paths.h>
#include <vmtools/settings.h>
#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <memory>

namespace {

// A path as written and, when it exists, with its links resolved: a device folder that is
// a link to the home folder must be recognised as the home folder.
QStringList absoluteForms(const QString &path)
{
    const QFileInfo info(QDir::fromNativeSeparators(path));
    QStringList forms{QDir::cleanPath(info.absoluteFilePath())};
    const QString canonical = info.canonicalFilePath();
    if (!canonical.isEmpty() && canonical != forms.first())
        forms.append(canonical);
    return forms;
}

bool isSameOrAncestor(const QString &folder, const QString &other)
{
    if (folder == other)
        return true;
    const QString prefix = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
    return other.startsWith(prefix);
}

// Whether the folder of `folderForms` (its absoluteForms()) is `other` or one of its parents.
bool containsFolder(const QStringList &folderForms, const QString &other)
{
    for (const QString &folderForm : folderForms) {
        for (const QString &otherForm : absoluteForms(other)) {
            if (isSameOrAncestor(folderForm, otherForm))
                return true;
        }
    }
    return false;
}

unsigned int cloneFailureCode(const QString &error)
{
    if (error.contains(QLatin1String("already exists")))
        return EngineResult::CloneNameExists;
    if (error.contains(QLatin1String("VERR_DISK_FULL")))
        return EngineResult::CloneDiskFull;
    return EngineResult::CloneFailed;
}

} // namespace

QString VBoxManageCore::deployDirectory() const
{
    const QString fallback = Paths::getQuillomatePath() + QStringLiteral("/deployed/");
    QString folder = QDir::toNativeSeparators(
        QDir::cleanPath(Settings::get(QStringLiteral("vms.path"), fallback).toString()));
    if (!folder.endsWith(QDir::separator()))
        folder += QDir::separator();
    return folder;
}

bool VBoxManageCore::isSafeDeviceName(const QString &name)
{
    // Only the platform's separators split a path: on Linux a backslash is a letter like any.
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..") &&
           !name.contains(QLatin1Char('/')) && !name.contains(QDir::separator()) &&
           !name.contains(QChar(QChar::Null));
}

bool VBoxManageCore::isProtectedFolder(const QString &path, const QString &deployDir) const
{
    // An empty path names the current folder.
    if (path.trimmed().isEmpty())
        return true;
    const QStringList guarded{QDir::rootPath(), QDir::homePath(), Paths::getQuillomatePath(),
                              deployDir};
    const QStringList forms = absoluteForms(path);
    for (const QString &folder : guarded) {
        if (containsFolder(forms, folder))
            return true;
    }
    return false;
}

bool VBoxManageCore::cleanDeployDir(const QString &path) const
{
    return cleanDeployDir(path, deployDirectory());
}

bool VBoxManageCore::cleanDeployDir(const QString &path, const QString &deployDir) const
{
    if (isProtectedFolder(path, deployDir)) {
        VBoxLog::critical() << "[cleanDeployDir]"
                            << "Refusing to remove protected folder" << path;
        return false;
    }
    QDir folder(path);
    if (!folder.exists())
        return true;
    const QString settings = machineSettingsIn(path);
    if (!settings.isEmpty()) {
        VBoxLog::critical() << "[cleanDeployDir]"
                            << "Refusing to remove folder" << path
                            << "holding the settings of a registered machine:" << settings;
        return false;
    }
    VBoxLog::debug() << "[cleanDeployDir]"
                     << "Removing local folder..." << path;
    // VirtualBox must forget each medium before its file goes, or it keeps a stale entry
    // that blocks a new disk of the same name.
    const QStringList disks =
        folder.entryList({QStringLiteral("*.vdi"), QStringLiteral("*.vmdk")}, QDir::Files);
    for (const QString &disk : disks)
        deleteDisk(path + QDir::separator() + disk);
    return folder.removeRecursively();
}

unsigned int VBoxManageCore::cloneMachine(VMToolsMachine *machine, const QString &newName,
                                          bool withFactoryBackup)
{
    if (!machine)
        return EngineResult::CloneFailed;
    const QString sourceName = machine->getName();
    for (const QString &name : {sourceName, newName}) {
        if (!isSafeDeviceName(name)) {
            VBoxLog::critical() << "[Clone device]"
                                << "Refusing unsafe device name" << name;
            return EngineResult::CloneFailed;
        }
    }

    MachineFolderSwitch folderSwitch(*this);
    if (!folderSwitch.lock("[Clone device]"))
        return EngineResult::CloneFailed;
    // The folder of a registered device (the source itself, or another of the new name) is
    // never cleaned, nor one that VirtualBox could not rule out.
    switch (nameUse("[Clone device]", newName)) {
    case NameUse::Taken:
        return EngineResult::CloneNameExists;
    case NameUse::Unknown:
        return EngineResult::CloneFailed;
    case NameUse::Free:
        break;
    }
    const QString deployDir = deployDirectory();
    folderSwitch.remember(getCurrentVBoxMachineFolderValue());
    if (!folderSwitch.switchTo(deployDir))
        return EngineResult::CloneFailed;

    // Leftovers of an earlier attempt would make VirtualBox refuse the clone.
    if (!cleanDeployDir(deployDir + newName, deployDir)) {
        folderSwitch.restore();
        return EngineResult::CloneFailed;
    }

    QStringList arguments{QStringLiteral("clonevm"),
                          sourceName,
                          QStringLiteral("--mode"),
                          QStringLiteral("all"),
                          QStringLiteral("--name"),
                          newName,
                          QStringLiteral("--register"),
                          QStringLiteral("--basefolder"),
                          deployDir};
    if (withFactoryBackup && machine->canResetToFactory())
        arguments << QStringLiteral("--snapshot") << QStringLiteral("factory-backup");
    const VBoxManageCommon::CallResult result =
        VBoxManageCommon::call(m_vboxManagePath, arguments, VBoxManageCommon::LongTimeout);
    folderSwitch.restore();
    if (result.exitCode != 0)
        return cloneFailureCode(result.error);

    // VirtualBox reported success, so the clone counts as made even if it cannot be found.
    const std::unique_ptr<VMToolsMachine> clone(getMachine(newName));
    if (clone) {
        VBoxLog::debug() << "[Clone device] Device clone with success:" << sourceName << "to"
                         << newName;
    } else {
        VBoxLog::critical()
            << "[Clone device] can't retrieve new virtual device after its creation!" << newName;
    }
    return EngineResult::Success;
}

bool VBoxManageCore::renameMachine(VMToolsMachine *machine, const QString &newName)
{
    if (!machine)
        return false;
    if (!isSafeDeviceName(newName)) {
        VBoxLog::critical() << "[renameMachine]"
                            << "Refusing unsafe device name" << newName;
        return false;
    }
    const QString oldName = machine->getName();
    VBoxLog::debug() << "[renameMachine]"
                     << "Machine" << oldName << "as" << newName;
    // VirtualBox renames the device's folder too: never onto another device's.
    if (newName != oldName && nameUse("[renameMachine]", newName) != NameUse::Free)
        return false;
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("modifyvm"), oldName, QStringLiteral("--name"), newName},
        VBoxManageCommon::WaitForever);
    if (result.exitCode != 0) {
        VBoxLog::critical() << "[renameMachine]"
                            << "Failed to rename device";
        return false;
    }
    VBoxLog::debug() << "[renameMachine]"
                     << "Machine" << oldName << "renamed as" << newName;
    machine->setName(newName);
    return true;
}

bool VBoxManageCore::deleteMachine(VMToolsMachine *machine)
{
    if (!machine)
        return false;
    const QString name = machine->getName();
    if (!isSafeDeviceName(name)) {
        VBoxLog::critical() << "[deleteMachine]"
                            << "Refusing unsafe device name" << name;
        return false;
    }
    const QString machineFolder = QDir::cleanPath(QDir::fromNativeSeparators(machine->getPath()));
    MachineFolderSwitch folderSwitch(*this);
    if (!folderSwitch.lock("[deleteMachine]"))
        return false;
    const QString userFolder = getCurrentVBoxMachineFolderValue();
    const QString previousFolder = QDir::cleanPath(QDir::fromNativeSeparators(userFolder));
    // The folder is the one VirtualBox reports. It is checked before anything changes, so that
    // a device whose folder cannot be told, or whose folder holds VirtualBox's own machine
    // folder (which may read "default", naming no folder), is never half deleted.
    const bool holdsMachineFolder = QDir::isAbsolutePath(previousFolder) &&
                                    containsFolder(absoluteForms(machineFolder), previousFolder);
    const QString deployDir = QDir::fromNativeSeparators(deployDirectory());
    if (isProtectedFolder(machineFolder, deployDir) || holdsMachineFolder) {
        VBoxLog::critical() << "[deleteMachine]"
                            << "Refusing to delete folder" << machineFolder << "of device" << name;
        return false;
    }
    folderSwitch.remember(userFolder);
    if (!folderSwitch.switchTo(deployDir))
        return true;

    VBoxLog::debug() << "[deleteMachine]"
                     << "Deleting medium...";
    deleteDisk(deployDir + name + QDir::separator() + QStringLiteral("android_sdcard_disk.vmdk"));
    VBoxLog::debug() << "[deleteMachine]"
                     << "Unregistering VM...";
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("unregistervm"), name, QStringLiteral("--delete")});
    folderSwitch.restore();
    if (result.exitCode != 0)
        return false;

    if (!cleanDeployDir(machineFolder, deployDir)) {
        VBoxLog::critical() << "[deleteMachine]"
                            << "Unable to delete directory:" << machineFolder;
        return false;
    }
    // VirtualBox's folder for a name such as "x+y" is "x_y"; the disks went to "x+y", which
    // unregistering emptied.
    QDir(deployDir).rmdir(name);
    VBoxLog::debug() << "[deleteMachine]"
                     << "Machine" << name << "deleted.";
    return true;
}

bool VBoxManageCore::exportMachine(VMToolsMachine *machine, const QString &path,
                                   VMToolsObserver *observer)
{
    if (!machine)
        return false;
    const QString name = machine->getName();
    // Beside the target, so that the final move stays on one file system. The folder and
    // whatever is left in it go away on every path out of this function.
    QTemporaryDir workFolder(path + QStringLiteral("-XXXXXX"));
    if (!workFolder.isValid()) {
        VBoxLog::warning() << "[export] failed to create ova for:" << name << "in" << path << ":"
                           << "no temporary folder beside the target";
        return false;
    }
    const QString output = workFolder.path() + QStringLiteral("/export.ova");
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(
        m_vboxManagePath, {QStringLiteral("export"), name, QStringLiteral("--output"), output},
        VBoxManageCommon::WaitForever, observer);
    if (result.exitCode != 0) {
        VBoxLog::warning() << "[export] failed to create ova for:" << name << "in" << path << ":"
                           << result.error;
        return false;
    }
    if (!QFile::rename(output, path)) {
        VBoxLog::warning() << "[export] failed to create ova for:" << name << "in" << path << ":"
                           << "copy from temporary file failed";
        return false;
    }
    VBoxLog::debug() << "[export] created ova for:" << name << "in" << path;
    return true;
}
