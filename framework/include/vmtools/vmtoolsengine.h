// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/loadstateinfo.h>
#include <vmtools/vmtools_export.h>
#include <vmtools/vmtoolsmachine.h>

#include <QList>
#include <QString>

class QFile;
class VMToolsObserver;

// The engine a host application loads from its plug-in folder. The order of the
// virtual operations is the host's contract: never rearrange them.
class VMTOOLS_EXPORT VMToolsEngine
{
public:
    VMToolsEngine();
    virtual ~VMToolsEngine();

    bool isCPUVirtualizationAvailable() const;
    QString getChipset() const;
    void updateCPUVirtualizationAvailability();

    // Opens "<application directory>/plugins/vboxmanage", creates the engine and
    // initializes it. The caller owns the result; null on failure. `info` is written
    // only when the plug-in produced an engine.
    static VMToolsEngine *loadEngine(LoadStateInfo *info);

    // Whether start-up may replace a host-only interface that is not usable. A host that
    // only reads (lists devices, shows values) forbids it, so that looking never changes
    // the network of devices that are running on it.
    enum class NetworkRepair { Allowed, Forbidden };
    static VMToolsEngine *loadEngine(LoadStateInfo *info, NetworkRepair repair);
    // Opens the plug-in and creates its engine without starting it up: no host limits and
    // no host-only interface, but every device operation that needs neither works.
    static VMToolsEngine *openEngine();
    // For an engine's initialize: whether the start-up in progress may repair the network.
    static bool mayRepairNetwork();

    virtual LoadStateInfo initialize() = 0;
    virtual bool shutdown() = 0;
    virtual void dumpInfos(QFile *file) = 0;
    virtual QString version() = 0;
    virtual bool isSystemReady() const = 0;
    virtual QList<VMToolsMachine *> getMachines() = 0;
    virtual VMToolsMachine *getMachine(const QString &id) = 0;
    virtual bool doesMachineExist(const QString &id) const = 0;
    virtual QString getAdapterName() const = 0;
    virtual unsigned int createMachine(const QString &appliancePath, const QString &name,
                                       unsigned int cpus, unsigned int memory,
                                       unsigned int sdCardSize) = 0;
    virtual bool startMachine(VMToolsMachine *machine, VMToolsMachine::LaunchType type) = 0;
    virtual bool stopMachine(VMToolsMachine *machine) = 0;
    virtual bool startStopDevice(VMToolsMachine *machine) = 0;
    virtual bool deleteMachine(VMToolsMachine *machine) = 0;
    virtual bool renameMachine(VMToolsMachine *machine, const QString &newName) = 0;
    virtual unsigned int cloneMachine(VMToolsMachine *machine, const QString &newName,
                                      bool withFactoryBackup) = 0;
    virtual bool exportMachine(VMToolsMachine *machine, const QString &path,
                               VMToolsObserver *observer) = 0;
    virtual unsigned int getMaxCpuCount() = 0;
    virtual unsigned int getMaxMemory() = 0;
    virtual unsigned int copyDisk(const QString &source, const QString &target) const = 0;
    virtual unsigned int deleteDisk(const QString &path) const = 0;
    virtual void checkAndCreateVboxInterface() = 0;
    virtual QString getDataDiskName() const = 0;
    virtual QString getSDCardDiskName() const = 0;

private:
    QString m_chipset;
    bool m_cpuVirtualizationAvailable = false;
};

// The plug-in's factory: a C-linkage function of this type named "getVMToolsEngine".
extern "C" {
typedef VMToolsEngine *(*GetVMToolsEngineFunction)();
}
