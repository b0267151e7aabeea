// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "console.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace VBoxSim {

namespace {

const QString DiskFile = QStringLiteral("VBoxManageDisk.cpp");
const QString StorageFile = QStringLiteral("VBoxManageStorageController.cpp");

QString formatFromSuffix(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toUpper();
    return suffix == QLatin1String("VMDK") || suffix == QLatin1String("VHD")
               ? suffix
               : QStringLiteral("VDI");
}

bool looksLikeUuid(const QString &text)
{
    return !QUuid(text).isNull();
}

int mediumFailure(Context &context, const QString &summary, const QString &message,
                  const QString &hresult, const QString &handler, int line)
{
    printErr(context.format->progressFailure(hresult));
    printProgressError({summary + '\n' + message, codeFileError(), QStringLiteral("MediumWrap"),
                        QStringLiteral("IMedium"),
                        QStringLiteral("RTEXITCODE %1(HandlerArg*)").arg(handler), line, DiskFile});
    return ExitFailure;
}

void detach(StorageController &controller, int port, int device)
{
    for (int i = 0; i < controller.attachments.size(); ++i)
        if (controller.attachments[i].port == port && controller.attachments[i].device == device)
            controller.attachments.removeAt(i--);
}

void removeMedium(HostState &host, const QString &uuid)
{
    for (int i = 0; i < host.media.size(); ++i)
        if (host.media[i].uuid == uuid)
            host.media.removeAt(i--);
}

} // namespace

void printProgress(Context &context)
{
    printErr(context.format->progress());
}

Medium *openMedium(Context &context, const QString &pathOrUuid)
{
    if (Medium *medium = context.host.findMedium(pathOrUuid))
        return medium;
    const QString path = cleanAbsolutePath(pathOrUuid);
    if (looksLikeUuid(pathOrUuid) || !QFileInfo(path).isFile()) {
        const QString message =
            looksLikeUuid(pathOrUuid)
                ? QStringLiteral("Could not find an open hard disk with UUID {%1}").arg(pathOrUuid)
                : QStringLiteral("Could not find file for the medium '%1' (VERR_FILE_NOT_FOUND)")
                      .arg(path);
        printComError({message, looksLikeUuid(pathOrUuid) ? codeObjectNotFound() : codeFileError(),
                       QStringLiteral("MediumWrap"), QStringLiteral("IMedium"),
                       QStringLiteral("OpenMedium(Bstr(pszFilenameOrUuid).raw(), enmDevType, "
                                      "enmAccessMode, fForceNewUuidOnOpen, "
                                      "pMedium.asOutParam())"),
                       179, DiskFile});
        return nullptr;
    }
    context.host.media.append({newUuid(), path, formatFromSuffix(path), 0, {}});
    context.changed = true;
    return &context.host.media.last();
}

namespace {

const QString AttachContext = QStringLiteral("AttachDevice(Bstr(pszCtl).raw(), port, device, "
                                             "DeviceType_HardDisk, pMedium2Mount)");

void machineError(const QString &message, const QString &code, const QString &context, int line)
{
    printComError({message, code, QStringLiteral("MachineWrap"), QStringLiteral("IMachine"),
                   context, line, StorageFile});
}

// What VirtualBox refuses before it looks at the medium: a running machine, a slot out of
// the controller's range.
bool slotUsable(const Machine &m, const StorageController &controller, int port, int device)
{
    if (m.isRunning()) {
        machineError(QStringLiteral("The machine is not mutable (state is %1)")
                         .arg(m.state == QLatin1String("paused") ? "Paused" : "Running"),
                     codeInvalidVmState(), AttachContext, 936);
        return false;
    }
    if (port < 0 || port >= controller.portCount || device < 0 || device > 1) {
        machineError(QStringLiteral("The port and/or device parameter are out of range: port=%1 "
                                    "(must be in range [0, %2]), device=%3 (must be in range [0, "
                                    "1])")
                         .arg(port)
                         .arg(controller.portCount - 1)
                         .arg(device),
                     codeInvalidArg(), AttachContext, 936);
        return false;
    }
    return true;
}

int detachMedium(Context &context, StorageController &controller, int port, int device)
{
    if (!controller.attachmentAt(port, device)) {
        machineError(QStringLiteral("No storage device attached to device slot %1 on port %2 of "
                                    "controller '%3'")
                         .arg(device)
                         .arg(port)
                         .arg(controller.name),
                     codeObjectNotFound(),
                     QStringLiteral("DetachDevice(Bstr(pszCtl).raw(), port, device)"), 423);
        return ExitFailure;
    }
    detach(controller, port, device);
    context.changed = true;
    return ExitSuccess;
}

int attachMedium(Context &context, Machine &m, StorageController &controller, int port, int device,
                 const Options &options)
{
    Medium *medium = openMedium(context, options.value(QStringLiteral("--medium")));
    if (!medium)
        return ExitFailure;
    for (const StorageController &c : m.config.controllers) {
        for (const Attachment &a : c.attachments) {
            const bool samePlace = &c == &controller && a.port == port && a.device == device;
            if (a.mediumUuid != medium->uuid || samePlace)
                continue;
            machineError(QStringLiteral("Medium '%1' is already attached to port %2, device %3 "
                                        "of controller '%4' of this virtual machine")
                             .arg(medium->location)
                             .arg(a.port)
                             .arg(a.device)
                             .arg(c.name),
                         codeObjectNotFound(), AttachContext, 936);
            return ExitFailure;
        }
    }
    detach(controller, port, device);
    controller.attachments.append({port, device,
                                   options.value(QStringLiteral("--type"), QStringLiteral("hdd")),
                                   medium->uuid});
    context.changed = true;
    return ExitSuccess;
}

} // namespace

int storageAttachCommand(Context &context, const QStringList &args)
{
    if (args.size() < 2)
        return syntaxError(context, QStringLiteral("Not enough parameters"));
    Machine *m = context.machine(args[1],
                                 QStringLiteral("FindMachine(Bstr(a->argv[0]).raw(), "
                                                "machine.asOutParam())"),
                                 116, StorageFile);
    if (!m)
        return ExitFailure;
    const Options options(args, 2, {});
    const QString controllerName = options.value(QStringLiteral("--storagectl"));
    if (controllerName.isEmpty())
        return syntaxError(context, QStringLiteral("Storage controller name not specified"));
    StorageController *controller = nullptr;
    for (StorageController &c : m->config.controllers)
        if (c.name == controllerName)
            controller = &c;
    if (!controller) {
        // VirtualBox's message carries its own line feed, hence the empty error line.
        printError(QStringLiteral("Could not find a controller named '%1'\n").arg(controllerName));
        return ExitFailure;
    }
    const int port = options.value(QStringLiteral("--port"), QStringLiteral("0")).toInt();
    const int device = options.value(QStringLiteral("--device"), QStringLiteral("0")).toInt();
    if (!slotUsable(*m, *controller, port, device))
        return ExitFailure;
    const QString medium = options.value(QStringLiteral("--medium"));
    if (medium == QLatin1String("none") || medium == QLatin1String("emptydrive"))
        return detachMedium(context, *controller, port, device);
    return attachMedium(context, *m, *controller, port, device, options);
}

int createMediumCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {});
    QString filename = options.value(QStringLiteral("--filename"));
    const QString size = options.value(QStringLiteral("--size"));
    if (filename.isEmpty())
        return syntaxError(context, QStringLiteral("Parameters --filename is required"));
    if (size.isEmpty())
        return syntaxError(context, QStringLiteral("Parameters --size is required"));
    const QString format = options.value(QStringLiteral("--format"), QStringLiteral("VDI"));
    if (QFileInfo(filename).suffix().isEmpty())
        filename += '.' + format.toLower();
    const QString path = cleanAbsolutePath(filename);
    const QString summary = QStringLiteral("Failed to create medium");
    const QString unit = QStringLiteral("Could not create the medium storage unit '%1'.").arg(path);
    if (const Medium *existing = context.host.findMedium(path)) {
        printErr(context.format->progressFailure(QStringLiteral("NS_ERROR_INVALID_ARG")));
        printProgressError({QStringLiteral("Cannot register the hard disk '%1' {%2} because a hard "
                                           "disk '%1' with UUID {%3} already exists")
                                .arg(path, newUuid(), existing->uuid),
                            codeInvalidArg(), QStringLiteral("VirtualBoxWrap"),
                            QStringLiteral("IVirtualBox"),
                            QStringLiteral("RTEXITCODE handleCreateMedium(HandlerArg*)"),
                            context.format->sourceLine(SourceCall::CreateMedium), DiskFile});
        return ExitFailure;
    }
    if (QFileInfo::exists(path))
        return mediumFailure(context, summary,
                             unit + QStringLiteral("\n%1: cannot create image '%2' "
                                                   "(VERR_ALREADY_EXISTS)")
                                        .arg(format, path),
                             QStringLiteral("VBOX_E_FILE_ERROR"),
                             QStringLiteral("handleCreateMedium"),
                             context.format->sourceLine(SourceCall::CreateMedium));
    if (!QFileInfo(QFileInfo(path).absolutePath()).isDir())
        return mediumFailure(context, summary,
                             unit + QStringLiteral("\n%1: cannot create image '%2' "
                                                   "(VERR_PATH_NOT_FOUND)")
                                        .arg(format, path),
                             QStringLiteral("VBOX_E_FILE_ERROR"),
                             QStringLiteral("handleCreateMedium"),
                             context.format->sourceLine(SourceCall::CreateMedium));
    if (context.faultIs("diskfull"))
        return mediumFailure(context, summary,
                             unit + QStringLiteral("\n%1: disk would overflow creating image "
                                                   "'%2' (VERR_DISK_FULL).")
                                        .arg(format, path),
                             QStringLiteral("VBOX_E_FILE_ERROR"),
                             QStringLiteral("handleCreateMedium"),
                             context.format->sourceLine(SourceCall::CreateMedium));
    const Medium medium{newUuid(), path, format.toUpper(), size.toLongLong(), {}};
    writeImageFile(path, medium);
    context.host.media.append(medium);
    context.changed = true;
    printProgress(context);
    printOut(QStringLiteral("Medium created. UUID: %1\n").arg(medium.uuid));
    return ExitSuccess;
}

int cloneMediumCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {"--existing"});
    QStringList files = options.positional();
    if (!files.isEmpty() && (files.first() == QLatin1String("disk")))
        files.removeFirst();
    if (files.size() != 2)
        return syntaxError(context, QStringLiteral("Mandatory UUID or input file parameter "
                                                   "missing"));
    Medium *source = openMedium(context, files[0]);
    if (!source)
        return ExitFailure;
    const Medium sourceCopy = *source;
    const QString target = cleanAbsolutePath(files[1]);
    const QString format = options.value(QStringLiteral("--format"), sourceCopy.format).toUpper();
    const QString summary = QStringLiteral("Failed to clone medium");
    if (QFileInfo::exists(target) || context.host.findMedium(target))
        return mediumFailure(context, summary,
                             QStringLiteral("Could not create the clone medium '%1' "
                                            "(VERR_ALREADY_EXISTS)")
                                 .arg(target),
                             QStringLiteral("VBOX_E_FILE_ERROR"),
                             QStringLiteral("handleCloneMedium"), 993);
    const Medium clone{newUuid(), target, format, sourceCopy.sizeMB, {}};
    if (context.faultIs("diskfull") || !copyImageFile(sourceCopy.location, target, clone)) {
        QFile::remove(target);
        return mediumFailure(
            context, summary,
            QStringLiteral("Could not create the clone medium '%1' (%2)")
                .arg(target, context.faultIs("diskfull") ? QStringLiteral("VERR_DISK_FULL")
                                                         : QStringLiteral("VERR_PATH_NOT_FOUND")),
            QStringLiteral("VBOX_E_FILE_ERROR"), QStringLiteral("handleCloneMedium"), 993);
    }
    context.host.media.append(clone);
    context.changed = true;
    printProgress(context);
    printOut(
        QStringLiteral("Clone medium created in format '%1'. UUID: %2\n").arg(format, clone.uuid));
    return ExitSuccess;
}

int closeMediumCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {"--delete"});
    QStringList ids = options.positional();
    if (!ids.isEmpty() &&
        (ids.first() == QLatin1String("disk") || ids.first() == QLatin1String("dvd") ||
         ids.first() == QLatin1String("floppy")))
        ids.removeFirst();
    if (ids.size() != 1)
        return syntaxError(context, QStringLiteral("Mandatory UUID or input file parameter "
                                                   "missing"));
    Medium *medium = openMedium(context, ids.first());
    if (!medium)
        return ExitFailure;
    const Medium found = *medium;
    const QStringList users = context.host.machinesUsing(found.uuid);
    const bool erase = options.has(QStringLiteral("--delete"));
    if (!users.isEmpty()) {
        const QString message =
            erase ? QStringLiteral("Cannot delete storage: medium '%1' is still attached to the "
                                   "following %2 virtual machine(s): %3")
                        .arg(found.location)
                        .arg(users.size())
                        .arg(users.join(QStringLiteral(", ")))
                  : QStringLiteral("Medium '%1' cannot be closed because it is still attached to "
                                   "%2 virtual machines")
                        .arg(found.location)
                        .arg(users.size());
        printComError({message, QStringLiteral("VBOX_E_OBJECT_IN_USE (0x80bb000c)"),
                       QStringLiteral("MediumWrap"), QStringLiteral("IMedium"),
                       erase ? QStringLiteral("DeleteStorage(progress.asOutParam())")
                             : QStringLiteral("Close()"),
                       erase ? 1548 : 1579, DiskFile});
        return ExitFailure;
    }
    if (erase) {
        printProgress(context);
        QFile::remove(found.location);
    }
    removeMedium(context.host, found.uuid);
    context.changed = true;
    return ExitSuccess;
}

} // namespace VBoxSim
