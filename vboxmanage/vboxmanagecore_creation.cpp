#include "vboxmanagecore.h"

#include <vmtools/engineresult.h>
#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QDir>

#include <memory>

namespace {

QStringList importArguments(const QString &appliancePath, const QString &name, unsigned int cpus,
                            unsigned int memory, const QStringList &disks)
{
    QStringList arguments{
        QStringLiteral("import"),   QDir::toNativeSeparators(QDir::cleanPath(appliancePath)),
        QStringLiteral("--vsys"),   QStringLiteral("0"),
        QStringLiteral("--vmname"), name,
        QStringLiteral("--cpus"),   QString::number(cpus),
        QStringLiteral("--memory"), QString::number(memory)};
    // The appliance's disks are units 10, 11 and 12 of its first (only) system.
    int unit = 10;
    for (const QString &disk : disks) {
        arguments << QStringLiteral("--vsys") << QStringLiteral("0") << QStringLiteral("--unit")
                  << QString::number(unit++) << QStringLiteral("--disk") << disk;
    }
    return arguments;
}

} // namespace

unsigned int VBoxManageCore::createMachine(const QString &appliancePath, const QString &name,
                                           unsigned int cpus, unsigned int memory,
                                           unsigned int sdCardSize)
{
    if (!isSafeDeviceName(name)) {
        VBoxLog::critical() << "[createMachine]"
                            << "Refusing unsafe device name" << name;
        return EngineResult::CreationFailed;
    }

    const QString previousFolder = getCurrentVBoxMachineFolderValue();
    const QString deployDir = deployDirectory();
    const QString deviceFolder = deployDir + name + QDir::separator();
    // A registered device of that name keeps its folder; the import then fails on its own.
    if (!doesMachineExist(name))
        cleanDeployDir(deployDir + name);

    if (!setVBoxMachineFolderValue(deployDir)) {
        setVBoxMachineFolderValue(previousFolder);
        return EngineResult::CreationFailed;
    }

    // Stale registrations of disks with the same paths would make the import fail.
    const QStringList disks{deviceFolder + QStringLiteral("android_system_disk.vmdk"),
                            deviceFolder + QStringLiteral("android_data_disk.vmdk"),
                            deviceFolder + QStringLiteral("android_sdcard_disk.vmdk")};
    for (const QString &disk : disks)
        deleteDisk(disk);

    const VBoxManageCommon::CallResult imported = VBoxManageCommon::call(
        m_vboxManagePath, importArguments(appliancePath, name, cpus, memory, disks),
        VBoxManageCommon::LongTimeout);
    if (imported.exitCode != 0) {
        setVBoxMachineFolderValue(previousFolder);
        return EngineResult::CreationFailed;
    }

    const std::unique_ptr<VMToolsMachine> machine(getMachine(name));
    if (!machine) {
        VBoxLog::critical() << "Can't retrieve virtual device after its creation!" << name;
        setVBoxMachineFolderValue(previousFolder);
        return EngineResult::CreationFailed;
    }

    // The appliance's SD-card disk gives way to an image of the size asked for.
    machine->deleteDisk(SecondaryPort, MasterDevice);
    deleteDisk(deviceFolder + getSDCardDiskName());
    if (sdCardSize != 0) {
        const unsigned int sdCard = createSDCard(machine.get(), sdCardSize);
        if (sdCard != EngineResult::Success) {
            setVBoxMachineFolderValue(previousFolder);
            return sdCard;
        }
    }
    setVBoxMachineFolderValue(previousFolder);

    if (!findHostOnlyInterface() && createHostOnlyInterface().state != 0)
        return EngineResult::NoHostOnlyInterface;
    machine->setAdapterType(1, VMToolsMachine::HostOnlyAdapter, getAdapterName());
    machine->setPlayerVersion(1);
    return EngineResult::Success;
}
