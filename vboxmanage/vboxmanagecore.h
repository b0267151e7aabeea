// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vmtools/loadstateinfo.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachinelisting.h>

#include <QHostAddress>
#include <QList>
#include <QString>

// The VirtualBox engine: every operation runs VBoxManage and reads its output.
// It keeps no list of machines; each query asks VirtualBox again.
class VBoxManageCore final : public VMToolsEngine, public VMToolsMachineListing
{
public:
    // A host-only interface as the engine sees it; an empty name means none.
    struct InterfaceInfo
    {
        QString name;
        QHostAddress ipAddress;
        QHostAddress networkMask;
    };

    // One VirtualBox DHCP server.
    struct DhcpServerInfo
    {
        QString networkName;
        QHostAddress ipAddress;
        QHostAddress networkMask;
        QHostAddress lowerIpAddress;
        QHostAddress upperIpAddress;
    };

    VBoxManageCore();
    ~VBoxManageCore() override;

    // VMToolsEngine, in the host's slot order.
    LoadStateInfo initialize() override;
    bool shutdown() override;
    void dumpInfos(QFile *file) override;
    QString version() override;
    bool isSystemReady() const override;
    QList<VMToolsMachine *> getMachines() override;
    VMToolsMachine *getMachine(const QString &id) override;
    bool doesMachineExist(const QString &id) const override;
    QString getAdapterName() const override;
    unsigned int createMachine(const QString &appliancePath, const QString &name, unsigned int cpus,
                               unsigned int memory, unsigned int sdCardSize) override;
    bool startMachine(VMToolsMachine *machine, VMToolsMachine::LaunchType type) override;
    bool stopMachine(VMToolsMachine *machine) override;
    bool startStopDevice(VMToolsMachine *machine) override;
    bool deleteMachine(VMToolsMachine *machine) override;
    bool renameMachine(VMToolsMachine *machine, const QString &newName) override;
    unsigned int cloneMachine(VMToolsMachine *machine, const QString &newName,
                              bool withFactoryBackup) override;
    bool exportMachine(VMToolsMachine *machine, const QString &path,
                       VMToolsObserver *observer) override;
    unsigned int getMaxCpuCount() override;
    unsigned int getMaxMemory() override;
    unsigned int copyDisk(const QString &source, const QString &target) const override;
    unsigned int deleteDisk(const QString &path) const override;
    void checkAndCreateVboxInterface() override;
    QString getDataDiskName() const override;
    QString getSDCardDiskName() const override;

    // VMToolsMachineListing: getMachines in two halves.
    bool listMachines(QList<Entry> *entries) override;
    VMToolsMachine *openListedMachine(const Entry &entry) override;

    // Host limits, from the text of "list hostinfo".
    void loadMaxCPUNumber(const QString &hostinfo);
    void loadMaxMemorySize(const QString &hostinfo);

    // VirtualBox's default machine folder, switched around import, clone and delete.
    QString getCurrentVBoxMachineFolderValue() const;
    bool setVBoxMachineFolderValue(const QString &path) const;

    // Host networking.
    QList<DhcpServerInfo> getAvailableDhcpServerList();
    bool checkIfInterfaceHasValidDhcp(const InterfaceInfo &iface, const DhcpServerInfo &server);
    bool findHostOnlyInterface();
    InterfaceInfo getSavedHostOnlyInterface();
    LoadStateInfo createHostOnlyInterface();
    bool deleteHostOnlyInterface(const QString &name);
    bool deleteHostOnlyInterface();
    bool isCompatible(const QString &machine) const;

    // Disk media and device folders.
    unsigned int createSDCard(VMToolsMachine *machine, unsigned int size) const;
    bool cleanDeployDir(const QString &path) const;

private:
    // The same, with the deploy directory an operation has read already.
    bool cleanDeployDir(const QString &path, const QString &deployDir) const;
    // What VirtualBox's own look-up of exactly one name says: a machine answers to it, none
    // does, or VirtualBox gave no clear answer.
    enum class NameUse { Free, Taken, Unknown };
    // Asked before a device folder is cleaned or written: anything but Free comes with a
    // critical line, and the caller must then leave every folder as it is. Never a pattern:
    // "Pixel (2)" must not pass for free.
    NameUse nameUse(const char *operation, const QString &name) const;
    // The same question for a name or UUID, without a log line; `error` gets VirtualBox's
    // message when the answer is Unknown.
    NameUse lookUp(const QString &nameOrUuid, QString *error) const;
    // The first settings file in `folder` of a machine that VirtualBox knows, or cannot rule
    // out; empty when there is none. VirtualBox names a machine's folder after the name with
    // characters such as '+' and '*' replaced, so "x_y" may well be the folder of "x+y".
    QString machineSettingsIn(const QString &folder) const;
    // The folder that holds one sub-folder per device ("vms.path"), ending in a separator.
    QString deployDirectory() const;
    // Whether deployDirectory() + name stays a sub-folder of the deploy directory.
    static bool isSafeDeviceName(const QString &name);
    // Folders that a clean-up must never remove: the root, home, product and deploy
    // folders, and every folder that contains one of them.
    bool isProtectedFolder(const QString &path, const QString &deployDir) const;
    // The unit numbers of the appliance's hard disks, in the appliance's order; empty
    // when VirtualBox could not list them.
    QList<int> applianceDiskUnits(const QString &appliancePath);
    // Steps of createHostOnlyInterface once VirtualBox has made the interface.
    bool configureHostOnlyInterface(const QString &name);
    bool addDhcpServer(const QString &name, const QString &subnet, const QString &mask);

    QString m_vboxManagePath;
    QString m_adapterName;
    unsigned int m_maxCpuCount = 8;
    unsigned int m_maxMemory = 4096;
    QString m_version;
};
