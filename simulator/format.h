#pragma once

#include "simstate.h"

#include <QString>
#include <memory>

namespace VBoxSim {

// One description of a virtual system in an appliance, as "import" lists it.
struct ApplianceItem
{
    enum Kind {
        OsType,
        Name,
        Group,
        SettingsFile,
        BaseFolder,
        Cpus,
        Memory,
        SoundCard,
        Usb,
        NetworkAdapter,
        Controller,
        Disk
    };
    Kind kind;
    QString value; // the suggested value (or the source image of a disk)
    QString extra; // controller type, adapter config or disk target path
    bool overridden = false;
    int controllerUnit = 0;
    int channel = 0;
};

// The output formats of one VirtualBox version. The base class prints 5.2; later
// versions override what they changed.
class Format
{
public:
    virtual ~Format() = default;
    static std::unique_ptr<Format> create(const QString &version);

    virtual QString versionString() const;
    virtual QString logo() const;
    virtual QString hostInfo(const HostState &host) const;
    virtual QString systemProperties(const HostState &host) const;
    virtual QString dhcpServers(const HostState &host) const;
    virtual QString natNetworks() const;
    virtual QString showVmInfo(HostState &host, const Machine &machine) const;
    virtual QString guestProperties(const QList<GuestProperty> &properties) const;
    virtual QString snapshotList(const Machine &machine) const;
    // What follows the progress dots when an operation fails.
    virtual QString progressFailure(const QString &hresult) const;
    QString importListing(const QList<ApplianceItem> &items) const;
    // 6.0 and later list the group, settings file and base folder of the new machine.
    virtual bool listsMachineFolderItems() const { return false; }
    // 6.1.28 and later allow host-only addresses only in 192.168.56.0/21 by default.
    virtual bool restrictsHostOnlyAddresses() const { return false; }
    // Line of the interface look-up in VBoxManageHostonly.cpp for "remove" and "ipconfig".
    virtual int hostOnlyLookupLine(bool forRemove) const { return forRemove ? 139 : 231; }

    QString hostOnlyInterfaces(const HostState &host) const;
    QString bridgedInterfaces(const HostState &host) const;
    QString internalNetworks(const HostState &host) const;
    QString progress() const;

protected:
    virtual int labelWidth() const { return 16; }
    virtual QString onOff(bool value) const;
    QString field(const QString &label, const QString &value) const;
    virtual QString vmHead(const HostState &host, const Machine &machine) const;
    virtual QString vmStorage(HostState &host, const Machine &machine) const;
    QString vmNics(const Machine &machine) const;
    virtual QString vmTail(const Machine &machine) const;
    QString legacyDevices() const;
    QString snapshotTree(const std::vector<Snapshot> &list, const QString &current,
                         const QString &prefix) const;
    virtual QString snapshotDescription(const QString &prefix, const QString &text) const;
    virtual QString diskItem(const QString &unit, int index, const ApplianceItem &item) const;
};

class Format61 : public Format
{
public:
    QString versionString() const override;
    QString hostInfo(const HostState &host) const override;
    QString systemProperties(const HostState &host) const override;
    QString dhcpServers(const HostState &host) const override;
    bool listsMachineFolderItems() const override { return true; }
    bool restrictsHostOnlyAddresses() const override { return true; }
    int hostOnlyLookupLine(bool forRemove) const override { return forRemove ? 140 : 232; }

protected:
    int labelWidth() const override { return 28; }
    QString diskItem(const QString &unit, int index, const ApplianceItem &item) const override;
    QString onOff(bool value) const override;
    QString vmHead(const HostState &host, const Machine &machine) const override;
    QString vmTail(const Machine &machine) const override;
    // The device lines from the pointing device to USB, alike from 6.1 on but for the
    // audio driver's name.
    QString vmDevices(const QString &audioDriver) const;
};

class Format71 final : public Format61
{
public:
    QString versionString() const override;
    QString logo() const override;
    QString hostInfo(const HostState &host) const override;
    QString systemProperties(const HostState &host) const override;
    QString guestProperties(const QList<GuestProperty> &properties) const override;
    QString progressFailure(const QString &hresult) const override;
    int hostOnlyLookupLine(bool forRemove) const override { return forRemove ? 150 : 242; }

protected:
    QString vmHead(const HostState &host, const Machine &machine) const override;
    QString vmStorage(HostState &host, const Machine &machine) const override;
    QString vmTail(const Machine &machine) const override;
    QString snapshotDescription(const QString &prefix, const QString &text) const override;
};

// The GUID that VirtualBox on Linux makes up for a host interface from its name and MAC.
QString interfaceGuid(const QString &name, const QString &mac);
QString hostOnlyMac(int index);

} // namespace VBoxSim
