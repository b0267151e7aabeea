// SPDX-License-Identifier: Apache-2.0
#include "commandcontext.h"
#include "commandline.h"
#include "commands.h"
#include "devicereads.h"
#include "diagnostics.h"
#include "guestlimits.h"
#include "interrupt.h"
#include "jsonvalues.h"
#include "output.h"
#include "profilekeys.h"
#include "resultwords.h"

#include <vmtools/callmemo.h>
#include <vmtools/engineresult.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QMutex>

#include <algorithm>
#include <memory>

namespace {

const QString UnknownAddress = QStringLiteral("0.0.0.0");
const QString NoHeadersOption = QStringLiteral("no-headers");

QJsonObject listedDevice(VMToolsMachine &machine)
{
    const VMToolsMachine::State state = machine.getOnLoadStatus();
    // Only a running device can have published an address.
    const QString address = state == VMToolsMachine::On ? machine.getIPAddress() : UnknownAddress;
    const ProfileKey &resolution = *ProfileKeys::find(QStringLiteral("resolution"));
    return {
        {QStringLiteral("name"), machine.getName()},
        {QStringLiteral("uuid"), machine.getUuid()},
        {QStringLiteral("state"), JsonValues::state(state)},
        {QStringLiteral("ipAddress"), JsonValues::address(address)},
        {QStringLiteral("cpus"), JsonValues::count(machine.getCPUCount())},
        {QStringLiteral("memory"), JsonValues::count(machine.getRAM())},
        {QStringLiteral("androidVersion"), JsonValues::text(machine.getAndroidVersion())},
        {QStringLiteral("resolution"),
         ProfileKeys::jsonValue(resolution, resolution.read(machine))},
    };
}

// A table cell: "-" for what could not be read, never a made-up value.
QString cell(const QJsonValue &value, const QString &unit = QString())
{
    if (value.isNull())
        return QStringLiteral("-");
    return (value.isDouble() ? QString::number(value.toInt()) : value.toString()) + unit;
}

QStringList listedRow(const QJsonObject &device)
{
    QStringList row{device.value(QStringLiteral("name")).toString()};
    for (const char *key : {"state", "ipAddress", "cpus"})
        row.append(cell(device.value(QLatin1String(key))));
    row.append(cell(device.value(QStringLiteral("memory")), QStringLiteral(" MB")));
    for (const char *key : {"androidVersion", "resolution"})
        row.append(cell(device.value(QLatin1String(key))));
    return row;
}

QString listText(const QList<QStringList> &rows, bool headers)
{
    if (rows.isEmpty())
        return headers ? QStringLiteral("No devices.") : QString();
    return TextFormat::table({QStringLiteral("NAME"), QStringLiteral("STATE"),
                              QStringLiteral("ADDRESS"), QStringLiteral("CPUS"),
                              QStringLiteral("MEMORY"), QStringLiteral("ANDROID"),
                              QStringLiteral("RESOLUTION")},
                             rows, headers);
}

int list(CommandContext &c)
{
    if (!c.step(QStringLiteral("Listing devices")))
        return c.interrupted();
    CallMemo memo;
    const CallMemo::Scope reads(memo);
    DeviceReads::Devices machines;
    QHash<VMToolsMachine *, QJsonObject> read;
    QMutex readLock;
    DeviceReads::readListing(memo, Commands::deployDirectory());
    const bool listed = DeviceReads::openDevices(
        *c.engine(), memo, [&c] { return c.isInterrupted(); },
        [&](VMToolsMachine &machine) {
            const QJsonObject device = listedDevice(machine);
            const QMutexLocker locker(&readLock);
            read.insert(&machine, device);
        },
        &machines);
    c.stepDone();
    if (c.isInterrupted())
        return c.interrupted();
    // An empty listing is no answer when VirtualBox could not list its machines. A machine
    // it cannot read (another application's, whose folder is gone) is only passed over.
    if (!listed)
        return c.fail(QStringLiteral("the devices could not be listed"));

    // By name as people read it; VirtualBox lists in the order the machines were made.
    std::stable_sort(machines.begin(), machines.end(), [](const auto &a, const auto &b) {
        return QString::compare(a->getName(), b->getName(), Qt::CaseInsensitive) < 0;
    });
    QJsonArray devices;
    QList<QStringList> rows;
    for (const auto &machine : machines) {
        const QJsonObject device = read.value(machine.get());
        devices.append(device);
        rows.append(listedRow(device));
    }
    return c.out().done({{QStringLiteral("devices"), devices}},
                        listText(rows, !c.options().isSet(NoHeadersOption)));
}

QJsonObject profileJson(VMToolsMachine &machine, TextFormat::Fields *fields)
{
    QJsonObject profile;
    for (const ProfileKey &key : ProfileKeys::all()) {
        const QVariant value = key.read(machine);
        profile.insert(ProfileKeys::jsonName(key), ProfileKeys::jsonValue(key, value));
        fields->append({key.name, ProfileKeys::displayText(key, value)});
    }
    return profile;
}

int show(CommandContext &c, VMToolsMachine &machine)
{
    if (!c.step(QStringLiteral("Reading %1").arg(machine.getName())))
        return c.interrupted();
    const VMToolsMachine::State status = machine.getStatus();
    const QString state = ResultWords::state(status);
    const QString folder = machine.getPath();
    const QString address = machine.getIPAddress();
    const QString serial = address == UnknownAddress ? QString() : machine.getAdbSerial();
    const bool factoryBackup = machine.canResetToFactory();
    const VMToolsMachine::AdapterType adapter1Type = machine.getAdapterType(1);
    const VMToolsMachine::ConnectionInfo connection = machine.getConnectionInfo();
    const QString sdCard = machine.getDiskUuid(SecondaryPort, MasterDevice);
    c.stepDone();

    const QString network = ResultWords::connection(connection.type());
    TextFormat::Fields fields{
        {QStringLiteral("Name"), machine.getName()},
        {QStringLiteral("UUID"), machine.getUuid()},
        {QStringLiteral("State"), state},
        {QStringLiteral("Folder"), folder},
        {QStringLiteral("IP address"),
         address == UnknownAddress ? QStringLiteral("(unknown)") : address},
        {QStringLiteral("ADB serial"), serial.isEmpty() ? QStringLiteral("(unknown)") : serial},
        {QStringLiteral("Factory backup"), TextFormat::yesNo(factoryBackup)},
        {QStringLiteral("Adapter 1"), ResultWords::adapter(adapter1Type)},
        {QStringLiteral("Adapter 2"), connection.name().isEmpty()
                                          ? network
                                          : network + QStringLiteral(" to ") + connection.name()},
        {QStringLiteral("SD-card disk"), sdCard.isEmpty() ? QStringLiteral("(none)") : sdCard},
    };
    TextFormat::Fields profileFields;
    const QJsonObject profile = profileJson(machine, &profileFields);
    const QJsonObject json{
        {QStringLiteral("name"), machine.getName()},
        {QStringLiteral("uuid"), machine.getUuid()},
        {QStringLiteral("state"), JsonValues::state(status)},
        {QStringLiteral("folder"), JsonValues::text(folder)},
        {QStringLiteral("ipAddress"), JsonValues::address(address)},
        {QStringLiteral("adbSerial"), JsonValues::text(serial)},
        {QStringLiteral("factoryBackup"), factoryBackup},
        {QStringLiteral("adapter1"), JsonValues::adapter(adapter1Type)},
        {QStringLiteral("adapter2"),
         QJsonObject{{QStringLiteral("type"), JsonValues::connection(connection.type())},
                     {QStringLiteral("interface"), JsonValues::text(connection.name())}}},
        {QStringLiteral("sdCardDisk"), JsonValues::text(sdCard)},
        {QStringLiteral("profile"), profile},
    };
    return c.out().done(json, TextFormat::fields(fields) + QStringLiteral("\nProfile:\n") +
                                  TextFormat::fields(profileFields));
}

// A name that a registered machine has is refused here, before anything runs, with the
// words of a name clash. VirtualBox's own look-up of exactly that name decides: the engine's
// existence check reads the name as a pattern and would miss "Pixel (2)".
bool nameIsFree(CommandContext &c, const QString &name, int *exitCode)
{
    if (!c.step(QStringLiteral("Checking the name %1").arg(name))) {
        *exitCode = c.interrupted();
        return false;
    }
    const std::unique_ptr<VMToolsMachine> holder(c.engine()->getMachine(name));
    c.stepDone();
    if (!holder) {
        Diagnostics::reset(); // that VirtualBox knows no such machine says nothing more
        return true;
    }
    *exitCode = c.fail(ResultWords::engineResult(EngineResult::CloneNameExists),
                       {{QStringLiteral("result"), int(EngineResult::CloneNameExists)}});
    return false;
}

// "3 files: a.vmdk, b.vmdk, phone.vbox", the first few by name, for a folder left behind.
QString leftFiles(const QString &folder)
{
    QStringList files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << QDir(folder).relativeFilePath(it.next());
    if (files.isEmpty())
        return QStringLiteral("empty");
    files.sort();
    const int shown = 3;
    QString text = QStringLiteral("%1 file(s): ").arg(files.size()) +
                   QStringList(files.mid(0, shown)).join(QStringLiteral(", "));
    return files.size() > shown ? text + QStringLiteral(", ...") : text;
}

int engineFailure(CommandContext &c, unsigned int result)
{
    c.stepDone();
    return c.fail(ResultWords::engineResult(result),
                  {{QStringLiteral("result"), static_cast<double>(result)}});
}

bool sdCardOption(CommandContext &c, unsigned int *size, int *exitCode)
{
    const QString text = CommandLine::unmarked(c.options().value(QStringLiteral("sdcard")));
    if (text == QLatin1String("0")) {
        *size = 0;
        return true;
    }
    return c.countOption(QStringLiteral("sdcard"), size, exitCode);
}

bool withinLimits(CommandContext &c, unsigned int cpus, unsigned int memory, int *exitCode)
{
    const GuestLimits::Limits limits =
        GuestLimits::read(c.engine()->getMaxCpuCount(), c.engine()->getMaxMemory());
    QString problem = GuestLimits::problem(QStringLiteral("--cpus"), cpus, limits.cpus);
    if (problem.isEmpty())
        problem = GuestLimits::problem(QStringLiteral("--memory"), memory, limits.memory,
                                       QStringLiteral("MB"));
    if (problem.isEmpty())
        return true;
    *exitCode = c.usage(problem);
    return false;
}

int checkCreate(CommandContext &c)
{
    int code = ExitCode::Success;
    unsigned int count = 0;
    if (!c.checkNewName(c.argument(0), &code) ||
        !c.countOption(QStringLiteral("cpus"), &count, &code) ||
        !c.countOption(QStringLiteral("memory"), &count, &code) || !sdCardOption(c, &count, &code))
        return code;
    if (!QFileInfo(c.argument(1)).isFile())
        return c.fail(QStringLiteral("no appliance file at %1").arg(c.argument(1)));
    return ExitCode::Success;
}

// A clone or a new name: a usable name of its own.
int checkSecondName(CommandContext &c)
{
    int code = ExitCode::Success;
    if (!c.checkNewName(c.argument(1), &code))
        return code;
    if (c.argument(1) == c.argument(0))
        return c.usage(c.command().name == QLatin1String("clone")
                           ? QStringLiteral("the clone needs a name of its own")
                           : QStringLiteral("the new name is the old one"));
    return ExitCode::Success;
}

int checkDelete(CommandContext &c)
{
    return c.confirm(QStringLiteral("Delete the device %1 and all its files?").arg(c.argument(0)));
}

int create(CommandContext &c)
{
    const QString name = c.argument(0);
    const QFileInfo appliance(c.argument(1));
    int code = ExitCode::Success;
    unsigned int cpus = 0, memory = 0, sdCard = 0;
    if (!c.checkNewName(name, &code) || !c.countOption(QStringLiteral("cpus"), &cpus, &code) ||
        !c.countOption(QStringLiteral("memory"), &memory, &code) ||
        !sdCardOption(c, &sdCard, &code) || !withinLimits(c, cpus, memory, &code))
        return code;
    if (!appliance.isFile())
        return c.fail(QStringLiteral("no appliance file at %1").arg(appliance.filePath()));
    if (!nameIsFree(c, name, &code))
        return code;

    if (!c.step(QStringLiteral("Creating %1 from %2").arg(name, appliance.fileName())))
        return c.interrupted();
    const unsigned int result = [&] {
        const ProtectedSection folderSwitch(c.interruption());
        return c.engine()->createMachine(appliance.absoluteFilePath(), name, cpus, memory, sdCard);
    }();
    if (result != EngineResult::Success)
        return engineFailure(c, result);
    c.stepDone();
    const QString card =
        sdCard ? QStringLiteral("a %1 MB SD card").arg(sdCard) : QStringLiteral("no SD card");
    return c.out().done({{QStringLiteral("name"), name},
                         {QStringLiteral("cpus"), static_cast<double>(cpus)},
                         {QStringLiteral("memory"), static_cast<double>(memory)},
                         {QStringLiteral("sdCard"), static_cast<double>(sdCard)}},
                        QStringLiteral("Created %1 with %2 CPU(s), %3 MB of memory and %4.")
                            .arg(name)
                            .arg(cpus)
                            .arg(memory)
                            .arg(card));
}

// VirtualBox copies the source's current state along with its snapshots, so a clone that
// is to start from the factory backup is returned to the copy of it that it carries.
bool returnToFactoryBackup(CommandContext &c, const QString &clone, int *code)
{
    const auto machine = c.machine(clone, code);
    if (!machine)
        return false;
    if (!c.step(QStringLiteral("Returning %1 to the factory backup").arg(clone))) {
        *code = c.interrupted();
        return false;
    }
    if (machine->resetFactory() != 0) {
        *code = c.fail(QStringLiteral("%1 was made, but not returned to the factory backup; "
                                      "run 'vmtools factory-reset %1'")
                           .arg(clone));
        return false;
    }
    c.stepDone();
    return true;
}

int cloneDevice(CommandContext &c)
{
    const QString source = c.argument(0);
    const QString target = c.argument(1);
    const bool fromFactory = c.options().isSet(QStringLiteral("from-factory"));
    int code = ExitCode::Success;
    if (!c.checkNewName(target, &code))
        return code;
    if (target == source)
        return c.usage(QStringLiteral("the clone needs a name of its own"));
    const auto machine = c.machine(source, &code);
    if (!machine || !nameIsFree(c, target, &code))
        return code;
    if (fromFactory) {
        if (!c.step(QStringLiteral("Looking for the factory backup of %1").arg(source)))
            return c.interrupted();
        if (!machine->canResetToFactory()) {
            Diagnostics::reset(); // VirtualBox's "no snapshots" adds nothing
            return c.fail(QStringLiteral("%1 has no factory backup; take one with 'vmtools "
                                         "factory-backup %1', or clone without --from-factory")
                              .arg(source));
        }
    }
    if (!c.step(QStringLiteral("Cloning %1 to %2").arg(source, target)))
        return c.interrupted();
    const unsigned int result = [&] {
        const ProtectedSection folderSwitch(c.interruption());
        return c.engine()->cloneMachine(machine.get(), target, fromFactory);
    }();
    if (result != EngineResult::Success)
        return engineFailure(c, result);
    // VirtualBox may call a clone done that it never registered.
    if (!std::unique_ptr<VMToolsMachine>(c.engine()->getMachine(target)))
        return c.fail(QStringLiteral("%1 was not cloned: VirtualBox reported the clone done, but "
                                     "no device %2 is registered; clone again")
                          .arg(source, target));
    c.stepDone();
    if (fromFactory && !returnToFactoryBackup(c, target, &code))
        return code;
    return c.out().done({{QStringLiteral("source"), source}, {QStringLiteral("name"), target}},
                        QStringLiteral("Cloned %1 to %2.").arg(source, target));
}

int renameDevice(CommandContext &c)
{
    const QString oldName = c.argument(0);
    const QString newName = c.argument(1);
    int code = ExitCode::Success;
    if (!c.checkNewName(newName, &code))
        return code;
    if (newName == oldName)
        return c.usage(QStringLiteral("the new name is the old one"));
    const auto machine = c.machine(oldName, &code);
    if (!machine || !nameIsFree(c, newName, &code))
        return code;
    if (!c.step(QStringLiteral("Renaming %1 to %2").arg(oldName, newName)))
        return c.interrupted();
    bool renamed = false;
    {
        const ProtectedSection folderSwitch(c.interruption());
        renamed = c.engine()->renameMachine(machine.get(), newName);
    }
    if (!renamed)
        return c.fail(
            QStringLiteral("VirtualBox could not rename %1 (is it running?)").arg(oldName));
    const std::unique_ptr<VMToolsMachine> renamedMachine(c.engine()->getMachine(newName));
    if (!renamedMachine || renamedMachine->getUuid() != machine->getUuid())
        return c.fail(QStringLiteral("%1 was not renamed: VirtualBox reported it done, but no "
                                     "device answers to %2; see 'vmtools list'")
                          .arg(oldName, newName));
    c.stepDone();
    return c.out().done({{QStringLiteral("oldName"), oldName}, {QStringLiteral("name"), newName}},
                        QStringLiteral("Renamed %1 to %2.").arg(oldName, newName));
}

int deleteDevice(CommandContext &c)
{
    const QString name = c.argument(0);
    int code = ExitCode::Success;
    const auto machine = c.machine(name, &code);
    if (!machine)
        return code;
    if (!c.step(QStringLiteral("Deleting %1").arg(name)))
        return c.interrupted();
    // Asked first: once the device is gone VirtualBox cannot tell where its folder was.
    const QString folder = machine->getPath();
    const bool deleted = [&] {
        const ProtectedSection folderSwitch(c.interruption());
        return c.engine()->deleteMachine(machine.get());
    }();
    // The engine also reports success when it could not even begin; ask VirtualBox. By the
    // UUID, which the existence check cannot mistake, unlike a name such as "Pixel (2)".
    const bool stillThere = c.engine()->doesMachineExist(machine->getUuid());
    c.stepDone();
    if (stillThere)
        return c.fail(QStringLiteral("%1 could not be deleted (is it running?)").arg(name));
    if (!folder.isEmpty() && QFileInfo::exists(folder))
        return c.fail(QStringLiteral("%1 was only partly deleted: VirtualBox unregistered it but "
                                     "left its folder %2 (%3)")
                          .arg(name, folder, leftFiles(folder)));
    if (!deleted && folder.isEmpty())
        return c.fail(QStringLiteral("%1 was unregistered, but its folder is unknown and may be "
                                     "left")
                          .arg(name));
    return c.out().done({{QStringLiteral("name"), name}},
                        QStringLiteral("Deleted %1 and its files.").arg(name));
}

} // namespace

namespace Commands {

QList<Command> deviceCommands()
{
    const QString name = QStringLiteral("NAME");
    Command listCommand{QStringLiteral("list"),
                        QStringLiteral("List the devices"),
                        QStringLiteral("Lists this host's Android devices, sorted by name, "
                                       "with their state, address,\nCPUs, memory, Android "
                                       "version and screen size; \"-\" marks what VirtualBox "
                                       "could\nnot tell."),
                        QString(),
                        0,
                        0,
                        {{NoHeadersOption, QStringLiteral("Leave out the header line, for "
                                                          "scripts.")}},
                        EngineUse::Open,
                        list,
                        {}};
    Command showCommand{QStringLiteral("show"),
                        QStringLiteral("Show one device's whole profile and state"),
                        QStringLiteral("Shows the device's state, folder, address, factory "
                                       "backup, network adapters, SD-card\ndisk and every "
                                       "profile value."),
                        name,
                        1,
                        1,
                        {},
                        EngineUse::Open,
                        onReadDevice(show, DeviceReads::Depth::Open),
                        {}};
    Command createCommand{
        QStringLiteral("create"),
        QStringLiteral("Create a device from an appliance (OVA)"),
        QStringLiteral("Imports APPLIANCE as a new device called NAME, in its own folder of the "
                       "deploy directory,\nand gives it an SD card and the host-only network."),
        QStringLiteral("NAME APPLIANCE"),
        2,
        2,
        {{QStringLiteral("cpus"), QStringLiteral("Number of processors (default 2)."),
          QStringLiteral("N"), QStringLiteral("2")},
         {QStringLiteral("memory"), QStringLiteral("Memory in MB (default 2048)."),
          QStringLiteral("MB"), QStringLiteral("2048")},
         {QStringLiteral("sdcard"), QStringLiteral("SD-card size in MB; 0 for none (default 0)."),
          QStringLiteral("MB"), QStringLiteral("0")}},
        EngineUse::StartUp,
        create,
        {}};
    Command cloneCommand{QStringLiteral("clone"),
                         QStringLiteral("Copy a device under a new name"),
                         QStringLiteral("Makes NEW-NAME a full copy of NAME, with its own disks, "
                                        "in the deploy directory."),
                         QStringLiteral("NAME NEW-NAME"),
                         2,
                         2,
                         {{QStringLiteral("from-factory"),
                           QStringLiteral("Copy the factory backup instead of the current "
                                          "state.")}},
                         EngineUse::Open,
                         cloneDevice,
                         {}};
    Command renameCommand{QStringLiteral("rename"),
                          QStringLiteral("Rename a device"),
                          QString(),
                          QStringLiteral("NAME NEW-NAME"),
                          2,
                          2,
                          {},
                          EngineUse::Open,
                          renameDevice,
                          {}};
    Command deleteCommand{QStringLiteral("delete"),
                          QStringLiteral("Delete a device with its disks and folder"),
                          QString(),
                          name,
                          1,
                          1,
                          {},
                          EngineUse::Open,
                          deleteDevice,
                          {}};
    createCommand.check = checkCreate;
    cloneCommand.check = checkSecondName;
    renameCommand.check = checkSecondName;
    deleteCommand.check = checkDelete;
    deleteCommand.options.append(CommandContext::yesOption());
    return {listCommand, showCommand, createCommand, cloneCommand, renameCommand, deleteCommand};
}

} // namespace Commands
