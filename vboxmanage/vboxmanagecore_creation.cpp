// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

#include "hostlock.h"
#include "machinefolderswitch.h"

#include "vboxoutputparser.h"
#include "vboxversion.h"

#include <vmtools/engineresult.h>
#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QDir>

#include <memory>

namespace {

QString nativePath(const QString &path)
{
    return QDir::toNativeSeparators(QDir::cleanPath(path));
}

// The appliance's disks go to `disks`, the first to the first unit and so on.
QStringList importArguments(const QString &appliancePath, const QString &name, unsigned int cpus,
                            unsigned int memory, const QStringList &disks, const QList<int> &units)
{
    QStringList arguments{QStringLiteral("import"),   nativePath(appliancePath),
                          QStringLiteral("--vsys"),   QStringLiteral("0"),
                          QStringLiteral("--vmname"), name,
                          QStringLiteral("--cpus"),   QString::number(cpus),
                          QStringLiteral("--memory"), QString::number(memory)};
    for (int i = 0; i < disks.size() && i < units.size(); ++i) {
        arguments << QStringLiteral("--vsys") << QStringLiteral("0") << QStringLiteral("--unit")
                  << QString::number(units[i]) << QStringLiteral("--disk") << disks[i];
    }
    return arguments;
}

} // namespace

QList<int> VBoxManageCore::applianceDiskUnits(const QString &appliancePath)
{
    // 5.2 lists the system's own items and then the disks, at 10, 11 and 12.
    if (!VBoxVersion(version()).needsImportDryRun())
        return {10, 11, 12};
    const VBoxManageCommon::CallResult listing = VBoxManageCommon::call(
        m_vboxManagePath,
        {QStringLiteral("import"), nativePath(appliancePath), QStringLiteral("-n")},
        VBoxManageCommon::LongTimeout);
    if (listing.exitCode != 0)
        return {};
    return VBoxOutputParser::parseImportDiskUnits(listing.output);
}

unsigned int VBoxManageCore::createMachine(const QString &appliancePath, const QString &name,
                                           unsigned int cpus, unsigned int memory,
                                           unsigned int sdCardSize)
{
    if (!isSafeDeviceName(name)) {
        VBoxLog::critical() << "[createMachine]"
                            << "Refusing unsafe device name" << name;
        return EngineResult::CreationFailed;
    }

    // Held until the user's folder is back: another process's create, clone or delete
    // would otherwise take our deploy directory for the user's folder, or clean the folder
    // of a device made meanwhile.
    MachineFolderSwitch folderSwitch(*this);
    if (!folderSwitch.lock("[createMachine]"))
        return EngineResult::CreationFailed;
    const QString previousFolder = getCurrentVBoxMachineFolderValue();
    const QString deployDir = deployDirectory();
    const QString deviceFolder = deployDir + name + QDir::separator();
    // The folder of a registered device, or of one VirtualBox could not rule out, is never
    // cleaned: only an earlier attempt's leftovers go.
    if (nameUse("[createMachine]", name) != NameUse::Free ||
        !cleanDeployDir(deployDir + name, deployDir))
        return EngineResult::CreationFailed;

    folderSwitch.remember(previousFolder);
    if (!folderSwitch.switchTo(deployDir)) {
        folderSwitch.restore();
        return EngineResult::CreationFailed;
    }

    // Stale registrations of disks with the same paths would make the import fail.
    const QStringList disks{deviceFolder + QStringLiteral("android_system_disk.vmdk"),
                            deviceFolder + QStringLiteral("android_data_disk.vmdk"),
                            deviceFolder + QStringLiteral("android_sdcard_disk.vmdk")};
    for (const QString &disk : disks)
        deleteDisk(disk);

    const QList<int> units = applianceDiskUnits(appliancePath);
    if (units.isEmpty()) {
        VBoxLog::critical() << "[createMachine]"
                            << "No disk found in the appliance" << appliancePath;
        folderSwitch.restore();
        return EngineResult::CreationFailed;
    }
    const VBoxManageCommon::CallResult imported = VBoxManageCommon::call(
        m_vboxManagePath, importArguments(appliancePath, name, cpus, memory, disks, units),
        VBoxManageCommon::LongTimeout);
    if (imported.exitCode != 0) {
        folderSwitch.restore();
        return EngineResult::CreationFailed;
    }

    const std::unique_ptr<VMToolsMachine> machine(getMachine(name));
    if (!machine) {
        VBoxLog::critical() << "Can't retrieve virtual device after its creation!" << name;
        folderSwitch.restore();
        return EngineResult::CreationFailed;
    }

    // The appliance's SD-card disk gives way to an image of the size asked for.
    machine->deleteDisk(SecondaryPort, MasterDevice);
    deleteDisk(deviceFolder + getSDCardDiskName());
    if (sdCardSize != 0) {
        const unsigned int sdCard = createSDCard(machine.get(), sdCardSize);
        if (sdCard != EngineResult::Success) {
            folderSwitch.restore();
            return sdCard;
        }
    }
    folderSwitch.restore();

    HostLock networkLock(QStringLiteral("host-only-interface"));
    networkLock.acquire("[createMachine]");
    if (!findHostOnlyInterface() && createHostOnlyInterface().state != 0)
        return EngineResult::NoHostOnlyInterface;
    networkLock.release();
    machine->setAdapterType(1, VMToolsMachine::HostOnlyAdapter, getAdapterName());
    machine->setPlayerVersion(1);
    return EngineResult::Success;
}
