// SPDX-License-Identifier: Apache-2.0
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

// One "label value" line of showvminfo, kept apart until it is laid out so that later
// versions can rename, move and translate it by its English label.
struct InfoLine
{
    QString label;
    QString value;
    int width = 0; // the column the label is padded to; 0 for the version's own
};
using InfoLines = QList<InfoLine>;

// Calls of VBoxManage whose source line the "Context:" of an error quotes.
enum class SourceCall {
    HostOnlyCreate,
    HostOnlyRemove,
    HostOnlyIpConfig,
    CreateMedium,
    CloneCreateMachine,
    CloneProgress,
    ImportAppliance,
    ExportAppliance,
    ReadAppliance,
    FindShownMachine,
    SaveRenamedSettings
};

// The output formats of one VirtualBox version. The base class prints 5.2; later
// versions override what they changed.
class Format
{
public:
    virtual ~Format() = default;
    // `language` is the message language the environment asks for, e.g. "C" or "ru_RU".
    static std::unique_ptr<Format> create(const QString &version,
                                          const QString &language = QStringLiteral("C"));

    // The text in the message language: only 7.x has translations, and only of the
    // texts in the translation table.
    QString tr(const QString &english) const;

    virtual QString versionString() const;
    virtual QString logo() const;
    QString hostInfo(const HostState &host) const;
    virtual QString systemProperties(const HostState &host) const;
    virtual QString dhcpServers(const HostState &host) const;
    virtual QString natNetworks() const;
    QString showVmInfo(HostState &host, const Machine &machine) const;
    virtual QString guestProperties(const QList<GuestProperty> &properties) const;
    // 7.0 and later list guest properties anew and take --old-format for the old lines.
    bool newStyleGuestProperties() const { return release() >= 70; }
    QString snapshotList(const Machine &machine) const;
    // What follows the progress dots when an operation fails.
    virtual QString progressFailure(const QString &hresult) const;
    QString importListing(const QList<ApplianceItem> &items) const;
    // 6.0 and later list the group, settings file and base folder of the new machine.
    virtual bool listsMachineFolderItems() const { return false; }
    // 6.1.28 and later allow host-only addresses only in 192.168.56.0/21 by default.
    virtual bool restrictsHostOnlyAddresses() const { return false; }
    int sourceLine(SourceCall call) const;
    // The call text of CreateMachine in the context of a failed clone.
    QString cloneCreateMachineCall() const;
    // Until 7.2 the suggested settings file of an import follows a name given with --vmname.
    virtual bool settingsFileFollowsName() const { return true; }
    // The sound card an appliance expects, as the import listing quotes it.
    virtual QString expectedSoundCard(const QString &ovfType) const { return ovfType; }
    // 6.1 rewrote "dhcpserver": new option names beside the old ones, other messages.
    virtual bool rewrittenDhcpServerCommand() const { return false; }

    QString hostOnlyInterfaces(const HostState &host) const;
    QString bridgedInterfaces(const HostState &host) const;
    QString internalNetworks(const HostState &host) const;
    QString progress() const;

protected:
    // The release as a number, 52 for 5.2.44, 72 for 7.2.22.
    int release() const;
    QString versionNumber() const;
    virtual int copyrightYear() const { return 2020; }
    // 7.0 and later load translations.
    virtual bool translates() const { return false; }
    QString language() const { return m_language; }

    virtual int labelWidth() const { return 16; }
    virtual QString onOff(bool value) const;
    // A label (translated) padded to `width`, a blank and the value.
    QString row(const QString &label, const QString &value, int width) const;
    QString field(const QString &label, const QString &value) const;
    QString interfaceBlock(const QString &name, const QString &ip, const QString &mask,
                           const QString &ipv6, const QString &mac, const QString &status) const;
    // Lines of "list systemproperties" added in or dropped after some release.
    enum class PropertyGroup { Head, Limits, Rest };
    QString propertyLines(PropertyGroup group, const HostState &host) const;
    virtual QString dhcpServer(const DhcpServer &server) const;

    virtual InfoLines vmHeadLines(const HostState &host, const Machine &machine) const;
    static void insertAfter(InfoLines &lines, const QString &anchor, const InfoLine &line);
    QString layout(const InfoLines &lines) const;
    virtual QString vmStorage(HostState &host, const Machine &machine) const;
    QString vmNics(const Machine &machine) const;
    // The lines after a NAT adapter.
    virtual QString natSettings(int slot) const;
    QString attachment(const NetworkAdapter &nic) const;
    virtual QString vmTail(const Machine &machine) const;
    QString legacyDevices() const;
    QString snapshotTree(const std::vector<Snapshot> &list, const QString &current,
                         const QString &prefix) const;
    virtual QString snapshotDescription(const QString &prefix, const QString &text) const;
    virtual QString diskItem(const QString &unit, int index, const ApplianceItem &item) const;

private:
    QString m_language = QStringLiteral("C");
    bool m_russian = false;
};

// The GUID that VirtualBox on Linux makes up for a host interface from its name and MAC.
QString interfaceGuid(const QString &name, const QString &mac);
QString hostOnlyMac(int index);
// What `uname -r` says on the simulated host.
QString hostKernelRelease();

} // namespace VBoxSim
