// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "console.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

namespace VBoxSim {

namespace {

const QString MiscFile = QStringLiteral("VBoxManageMisc.cpp");
const QString ModifyFile = QStringLiteral("VBoxManageModifyVM.cpp");
const QString ControlFile = QStringLiteral("VBoxManageControlVM.cpp");

void invalidArgument(const QString &message, const QString &component, const QString &context,
                     int line)
{
    printComError({message, codeInvalidArg(), component, QStringLiteral("IMachine"), context, line,
                   ModifyFile});
}

// Renames the settings file and, when it is named after the machine, the machine folder
// with the media inside it, as VirtualBox does when it saves a new name.
bool renameMachine(Context &context, Machine &m, const QString &newName)
{
    const QString oldFolder = m.folder();
    QString newFolder = oldFolder;
    if (QFileInfo(oldFolder).fileName() == sanitizedFileName(m.name)) {
        newFolder = QFileInfo(oldFolder).dir().filePath(sanitizedFileName(newName));
        if (newFolder != oldFolder && QFileInfo::exists(newFolder)) {
            printComError({QStringLiteral("Could not rename the directory '%1' to '%2' to save "
                                          "the settings file (VERR_ALREADY_EXISTS)")
                               .arg(oldFolder, newFolder),
                           codeFailure(), QStringLiteral("SessionMachine"),
                           QStringLiteral("IMachine"), QStringLiteral("SaveSettings()"),
                           context.format->sourceLine(SourceCall::SaveRenamedSettings),
                           ModifyFile});
            return false;
        }
        if (newFolder != oldFolder && QFileInfo(oldFolder).isDir())
            QDir().rename(oldFolder, newFolder);
    }
    const QString oldFile = QDir(newFolder).filePath(QFileInfo(m.settingsFile).fileName());
    const QString newFile = QDir(newFolder).filePath(sanitizedFileName(newName) + ".vbox");
    if (oldFile != newFile) {
        QFile::rename(oldFile, newFile);
        QFile::rename(oldFile + QStringLiteral("-prev"), newFile + QStringLiteral("-prev"));
    }
    for (Medium &medium : context.host.media)
        if (medium.location.startsWith(oldFolder + '/'))
            medium.location = newFolder + medium.location.mid(oldFolder.size());
    m.settingsFile = newFile;
    m.name = newName;
    return true;
}

NetworkAdapter &adapter(Machine &m, int slot)
{
    while (m.config.nics.size() < 8)
        m.config.nics.append(disabledAdapter());
    return m.config.nics[slot - 1];
}

bool applyNicOption(Machine &m, const QString &name, const QString &value, int *exitCode)
{
    static const QRegularExpression re(QStringLiteral("^--([a-z]+?)([1-8])$"));
    const QRegularExpressionMatch match = re.match(name);
    if (!match.hasMatch())
        return false;
    const QString option = match.captured(1);
    const int slot = match.captured(2).toInt();
    NetworkAdapter &nic = adapter(m, slot);
    static const QStringList attachments = {"none",   "null",     "nat",     "bridged",
                                            "intnet", "hostonly", "generic", "natnetwork"};
    static const QStringList types = {"Am79C970A", "Am79C973", "82540EM",
                                      "82543GC",   "82545EM",  "virtio"};
    if (option == QLatin1String("nic")) {
        if (!attachments.contains(value)) {
            printError(
                QStringLiteral("Invalid type '%1' specfied for NIC %2").arg(value).arg(slot));
            *exitCode = ExitFailure;
            return true;
        }
        nic.enabled = value != QLatin1String("none");
        if (nic.enabled)
            nic.attachment = value;
    } else if (option == QLatin1String("hostonlyadapter")) {
        nic.hostOnlyInterface = value;
    } else if (option == QLatin1String("bridgeadapter")) {
        nic.bridgedInterface = value;
    } else if (option == QLatin1String("intnet")) {
        nic.internalNetwork = value;
    } else if (option == QLatin1String("nictype")) {
        if (!types.contains(value)) {
            printError(
                QStringLiteral("Invalid NIC type '%1' specified for NIC %2").arg(value).arg(slot));
            *exitCode = ExitFailure;
            return true;
        }
        nic.type = value;
    } else if (option == QLatin1String("cableconnected")) {
        nic.cableConnected = value == QLatin1String("on");
    } else if (option == QLatin1String("macaddress")) {
        nic.mac = value == QLatin1String("auto") ? newMacAddress() : value.toUpper();
    } else {
        return false;
    }
    return true;
}

int applyModifyOption(Context &context, Machine &m, const QString &name, const QString &value)
{
    bool ok = false;
    if (name == QLatin1String("--name"))
        return renameMachine(context, m, value) ? ExitSuccess : ExitFailure;
    if (name == QLatin1String("--cpus")) {
        const int cpus = value.toInt(&ok);
        if (!ok || cpus < 1 || cpus > 32) {
            invalidArgument(QStringLiteral("Invalid virtual CPU count: %1 (must be in range [1, "
                                           "32])")
                                .arg(value),
                            QStringLiteral("MachineWrap"),
                            QStringLiteral("COMSETTER(CPUCount)(ValueUnion.u32)"), 655);
            return ExitFailure;
        }
        m.config.cpus = cpus;
        return ExitSuccess;
    }
    if (name == QLatin1String("--memory")) {
        const int memory = value.toInt(&ok);
        if (!ok || memory < 4 || memory > 2097152) {
            invalidArgument(QStringLiteral("Invalid RAM size: %1 MB (must be in range [4, 2097152] "
                                           "MB)")
                                .arg(value),
                            QStringLiteral("MachineWrap"),
                            QStringLiteral("COMSETTER(MemorySize)(ValueUnion.u32)"), 711);
            return ExitFailure;
        }
        m.config.memoryMB = memory;
        return ExitSuccess;
    }
    if (name == QLatin1String("--ostype")) {
        m.config.osType = value;
        return ExitSuccess;
    }
    int exitCode = ExitSuccess;
    if (applyNicOption(m, name, value, &exitCode))
        return exitCode;
    printError(QStringLiteral("Unknown option: %1").arg(name));
    return ExitSyntax;
}

void dropTransientProperties(Machine &m)
{
    QList<GuestProperty> kept;
    for (const GuestProperty &p : m.config.guestProperties)
        if (!p.flags.contains(QLatin1String("TRANSIENT")))
            kept.append(p);
    m.config.guestProperties = kept;
}

void setState(Machine &m, const QString &state)
{
    m.state = state;
    m.stateSinceMs = nowMs();
}

// A host-only adapter bound to an interface that the host does not have stops the start.
bool checkAdapters(Context &context, const Machine &m)
{
    for (const NetworkAdapter &nic : m.config.nics) {
        if (!nic.enabled || nic.attachment != QLatin1String("hostonly") ||
            context.host.findHostOnly(nic.hostOnlyInterface))
            continue;
        const QString network = QStringLiteral("HostInterfaceNetworking-") + nic.hostOnlyInterface;
        printError(QStringLiteral("Failed to open/create the internal network '%1' "
                                  "(VERR_INTNET_FLT_IF_NOT_FOUND).\nFailed to attach the network "
                                  "LUN (VERR_INTNET_FLT_IF_NOT_FOUND)\nDetails: code %2, component "
                                  "ConsoleWrap, interface IConsole")
                       .arg(network, codeFailure()));
        return false;
    }
    return true;
}

// What the VM process reports for a status it failed to start with ("%N (%Rrc)").
QString startMessage(const QString &rc)
{
    static const QHash<QString, QString> messages{
        {"VERR_VMX_NO_VMX", "VT-x is not available (%1)"},
        {"VERR_SVM_DISABLED", "AMD-V is disabled in the BIOS (or by the host OS) (%1)"},
        {"VERR_VMX_IN_VMX_ROOT_MODE",
         "VT-x is being used by another hypervisor (%1).\nVirtualBox can't operate in VMX root "
         "mode. Please disable the KVM kernel extension, recompile your kernel and reboot (%1)."},
        {"VERR_SVM_IN_USE",
         "AMD-V is being used by another hypervisor (%1).\nVirtualBox can't enable the AMD-V "
         "extension. Please disable the KVM kernel extension, recompile your kernel and reboot "
         "(%1)."},
        {"VERR_SVM_HOST_SVME_NOT_ENABLED", "Host API has not enabled SVME bit in EFER MSR. (%1)"},
        {"VERR_VMM_R0_VERSION_MISMATCH",
         "The VMMR0.r0 module version does not match VBoxVMM.dll/so/dylib (%1)"},
        {"VERR_VM_DRIVER_VERSION_MISMATCH",
         "The installed support driver doesn't match the version of the user (%1)"}};
    return messages.value(rc, QStringLiteral("Injected failure (%1)")).arg(rc);
}

int startFailure(const Machine &m, const QString &rc)
{
    // Without its kernel driver the VM process dies before it can tell why.
    if (rc == QLatin1String("VERR_VM_DRIVER_NOT_INSTALLED")) {
        printProgressError({QStringLiteral("The virtual machine '%1' has terminated unexpectedly "
                                           "during startup with exit code 1 (0x1)")
                                .arg(m.name),
                            codeFailure(), QStringLiteral("MachineWrap"),
                            QStringLiteral("IMachine"), QString(), 0, QString()});
        return ExitFailure;
    }
    printError(QStringLiteral("%1\nDetails: code %2, component ConsoleWrap, interface IConsole")
                   .arg(serviceMessage(startMessage(rc)), codeFailure()));
    return ExitFailure;
}

// A linked clone's disk is a child of this machine's: VirtualBox has unregistered the
// machine when it finds out, and keeps every file.
int childMediaFailure(Context &context, const Machine &machine)
{
    const QStringList uuids = machine.allMediumUuids();
    const Medium *disk = uuids.isEmpty() ? nullptr : context.host.findMedium(uuids.first());
    printErr(context.format->progressFailure(QStringLiteral("VBOX_E_OBJECT_IN_USE")));
    printProgressError({QStringLiteral("Machine delete failed\nCannot close medium '%1' because "
                                       "it has 1 child media")
                            .arg(disk ? disk->location : machine.settingsFile),
                        codeWithValue(QStringLiteral("VBOX_E_OBJECT_IN_USE")),
                        QStringLiteral("MediumWrap"), QStringLiteral("IMedium"),
                        QStringLiteral("RTEXITCODE handleUnregisterVM(HandlerArg*)"), 194,
                        MiscFile});
    return ExitFailure;
}

} // namespace

int lockedError(const QString &machineName, const QString &context, int line, const QString &file)
{
    printComError({QStringLiteral("The machine '%1' is already locked for a session (or being "
                                  "unlocked)")
                       .arg(machineName),
                   codeInvalidObjectState(), QStringLiteral("MachineWrap"),
                   QStringLiteral("IMachine"), context, line, file});
    return ExitFailure;
}

QString sanitizedFileName(const QString &name)
{
    // VirtualBox keeps blanks, ( ) - . _, ASCII letters and digits and the code points from
    // U+00A0 to U+D7AF; every byte of any other character becomes '_'.
    const auto kept = [](uint c) {
        return c == ' ' || c == '(' || c == ')' || c == '-' || c == '.' || c == '_' ||
               (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               (c >= 0xa0 && c <= 0xd7af);
    };
    QString clean;
    for (const uint c : name.toUcs4())
        clean += kept(c) ? QString::fromUcs4(&c, 1)
                         : QString(QString::fromUcs4(&c, 1).toUtf8().size(), QLatin1Char('_'));
    if (clean.isEmpty())
        return clean;
    // No leading dot or dash, no trailing dot, and no blank at either end.
    if (clean.front() == '.' || clean.front() == '-')
        clean.front() = '_';
    if (clean.back() == '.')
        clean.back() = '_';
    for (int i = 0; i < clean.size() && clean[i] == ' '; ++i)
        clean[i] = '_';
    for (int i = clean.size() - 1; i > 0 && clean[i] == ' '; --i)
        clean[i] = '_';
    return clean;
}

int showVmInfoCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {"--details", "--machinereadable"});
    if (options.positional().isEmpty())
        return syntaxError(context, QStringLiteral("VM name or UUID required"));
    Machine *m = context.machine(options.positional().first(),
                                 QStringLiteral("FindMachine(Bstr(VMNameOrUuid).raw(), "
                                                "machine.asOutParam())"),
                                 context.format->sourceLine(SourceCall::FindShownMachine),
                                 QStringLiteral("VBoxManageInfo.cpp"));
    if (!m)
        return ExitFailure;
    printOut(context.format->showVmInfo(context.host, *m));
    return ExitSuccess;
}

int modifyVmCommand(Context &context, const QStringList &args)
{
    if (args.size() < 2)
        return syntaxError(context, QStringLiteral("Not enough parameters"));
    Machine *m = context.machine(args[1],
                                 QStringLiteral("FindMachine(Bstr(a->argv[0]).raw(), "
                                                "machine.asOutParam())"),
                                 516, ModifyFile);
    if (!m)
        return ExitFailure;
    if (m->isRunning())
        return lockedError(m->name, QStringLiteral("LockMachine(a->session, LockType_Write)"), 525,
                           ModifyFile);
    const Options options(args, 2, {});
    if (!options.missingValue().isEmpty())
        return syntaxError(context,
                           QStringLiteral("Missing value for %1").arg(options.missingValue()));
    for (const auto &option : options.all()) {
        const int code = applyModifyOption(context, *m, option.first, option.second);
        if (code != ExitSuccess) {
            context.changed = false; // VirtualBox discards a half-applied change
            return code;
        }
    }
    context.changed = true;
    return ExitSuccess;
}

int startVmCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {});
    if (options.positional().isEmpty())
        return syntaxError(context, QStringLiteral("VM name or UUID required"));
    const QString type = options.value(QStringLiteral("--type"), QStringLiteral("gui"));
    static const QStringList types = {"gui", "headless", "sdl", "separate"};
    if (!types.contains(type)) {
        printError(QStringLiteral("Invalid session type '%1'").arg(type));
        return ExitSyntax;
    }
    Machine *m = context.machine(options.positional().first(),
                                 QStringLiteral("FindMachine(Bstr(VMName).raw(), "
                                                "machine.asOutParam())"),
                                 693, MiscFile);
    if (!m)
        return ExitFailure;
    if (m->isRunning())
        return lockedError(m->name,
                           QStringLiteral("LaunchVMProcess(a->session, sessionType.raw(), "
                                          "Bstr(strEnv).raw(), progress.asOutParam())"),
                           727, MiscFile);
    // VirtualBox names the machine as it was given.
    printOut(
        QStringLiteral("Waiting for VM \"%1\" to power on...\n").arg(options.positional().first()));
    const QString rc = context.fault ? context.fault->rc : QString();
    if (context.faultIs("fail") && rc.isEmpty()) {
        printError(context.fault->message.isEmpty() ? QStringLiteral("Injected failure")
                                                    : context.fault->message);
        return context.fault->exitCode;
    }
    if (context.faultIs("fail"))
        return startFailure(*m, rc);
    if (context.faultIs("vmx"))
        return startFailure(*m, rc.isEmpty() ? QStringLiteral("VERR_VMX_NO_VMX") : rc);
    if (context.faultIs("svm"))
        return startFailure(*m, rc.isEmpty() ? QStringLiteral("VERR_SVM_DISABLED") : rc);
    if (!checkAdapters(context, *m))
        return ExitFailure;
    setState(*m, QStringLiteral("running"));
    m->startedAtMs = m->stateSinceMs;
    m->addressPublished = false;
    const qint64 ns = m->startedAtMs * 1000000;
    const QString flags = QStringLiteral("TRANSIENT, RDONLYGUEST");
    const QString version = context.format->versionString();
    m->config.setGuestProperty(QStringLiteral("/VirtualBox/HostInfo/VBoxVer"),
                               version.section('r', 0, 0), ns, flags);
    m->config.setGuestProperty(QStringLiteral("/VirtualBox/HostInfo/VBoxRev"),
                               version.section('r', 1), ns, flags);
    m->config.setGuestProperty(QStringLiteral("/VirtualBox/VMInfo/ResumeCounter"),
                               QStringLiteral("0"), ns, flags);
    context.changed = true;
    printOut(QStringLiteral("VM \"%1\" has been successfully started.\n").arg(m->name));
    return ExitSuccess;
}

int controlVmCommand(Context &context, const QStringList &args)
{
    if (args.size() < 3)
        return syntaxError(context, QStringLiteral("Not enough parameters"));
    Machine *m = context.machine(args[1],
                                 QStringLiteral("FindMachine(Bstr(a->argv[0]).raw(), "
                                                "machine.asOutParam())"),
                                 104, ControlFile);
    if (!m)
        return ExitFailure;
    if (!m->isRunning()) {
        printError(QStringLiteral("Machine '%1' is not currently running.").arg(m->name));
        return ExitFailure;
    }
    const QString action = args[2];
    if (action == QLatin1String("poweroff")) {
        printProgress(context);
        setState(*m, QStringLiteral("powered off"));
        dropTransientProperties(*m);
        m->addressPublished = false;
    } else if (action == QLatin1String("pause")) {
        setState(*m, QStringLiteral("paused"));
    } else if (action == QLatin1String("resume")) {
        if (m->state != QLatin1String("paused")) {
            printComError({QStringLiteral("Cannot resume the machine as it is not paused (machine "
                                          "state: Running)"),
                           codeInvalidVmState(), QStringLiteral("ConsoleWrap"),
                           QStringLiteral("IConsole"), QStringLiteral("Resume()"), 204,
                           ControlFile});
            return ExitFailure;
        }
        setState(*m, QStringLiteral("running"));
    } else {
        return syntaxError(context, QStringLiteral("Invalid parameter '%1'").arg(action));
    }
    context.changed = true;
    return ExitSuccess;
}

int unregisterVmCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {"--delete"});
    if (options.positional().isEmpty())
        return syntaxError(context, QStringLiteral("VM name or UUID required"));
    Machine *m = context.machine(options.positional().first(),
                                 QStringLiteral("FindMachine(Bstr(VMName).raw(), "
                                                "machine.asOutParam())"),
                                 158, MiscFile);
    if (!m)
        return ExitFailure;
    if (m->isRunning()) {
        printComError(
            {QStringLiteral("Cannot unregister the machine '%1' while it is locked").arg(m->name),
             codeInvalidObjectState(), QStringLiteral("MachineWrap"), QStringLiteral("IMachine"),
             QStringLiteral("Unregister(CleanupMode_DetachAllReturnHardDisksOnly, "
                            "ComSafeArrayAsOutParam(aMedia))"),
             172, MiscFile});
        return ExitFailure;
    }
    const Machine machine = *m;
    for (int i = 0; i < context.host.machines.size(); ++i)
        if (context.host.machines[i].uuid == machine.uuid)
            context.host.machines.removeAt(i--);
    context.changed = true;
    if (!options.has(QStringLiteral("--delete")))
        return ExitSuccess;
    printProgress(context);
    if (context.faultIs("childmedia"))
        return childMediaFailure(context, machine);
    for (const QString &uuid : machine.allMediumUuids()) {
        if (!context.host.machinesUsing(uuid).isEmpty())
            continue;
        for (int i = 0; i < context.host.media.size(); ++i) {
            if (context.host.media[i].uuid == uuid) {
                QFile::remove(context.host.media[i].location);
                context.host.media.removeAt(i--);
            }
        }
    }
    QFile::remove(machine.settingsFile);
    QFile::remove(machine.settingsFile + QStringLiteral("-prev"));
    // Only what VirtualBox itself wrote goes; a folder that still holds other files stays.
    QDir logs(QDir(machine.folder()).filePath(QStringLiteral("Logs")));
    for (const QString &log : logs.entryList({QStringLiteral("VBox.log*")}, QDir::Files))
        logs.remove(log);
    QDir(machine.folder()).rmdir(QStringLiteral("Logs"));
    QDir(machine.folder()).rmdir(QStringLiteral("Snapshots"));
    QDir().rmdir(machine.folder());
    return ExitSuccess;
}

} // namespace VBoxSim
