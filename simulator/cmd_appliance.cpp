// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "console.h"
#include "ovf.h"
#include "tar.h"
#include "vmdk.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QThread>

namespace VBoxSim {

namespace {

const QString ApplianceFile = QStringLiteral("VBoxManageAppliance.cpp");
const QString OvfFormatUrl =
    QStringLiteral("http://www.vmware.com/interfaces/specifications/vmdk.html#streamOptimized");

struct Package
{
    QString descriptorName;
    Ovf::VirtualSystem system;
    QMap<QString, QByteArray> files;
};

int applianceError(Context &context, const QString &summary, const QString &message,
                   const QString &handler, int line, const QString &code = codeFileError())
{
    printErr(context.format->progressFailure(code.section(' ', 0, 0)));
    printProgressError({summary + '\n' + message, code, QStringLiteral("ApplianceWrap"),
                        QStringLiteral("IAppliance"),
                        QStringLiteral("RTEXITCODE %1(HandlerArg*)").arg(handler), line,
                        ApplianceFile});
    return ExitFailure;
}

// Fills `package`, or sets `error` and `code` as VirtualBox fails to read the file.
bool readPackage(const QString &path, Package *package, QString *error, QString *code)
{
    *code = codeFileError();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("Could not read OVF file '%1' (VERR_FILE_NOT_FOUND)").arg(path);
        return false;
    }
    QList<Tar::Entry> entries;
    if (!Tar::parse(file.readAll(), &entries) || entries.isEmpty()) {
        // The tar reader's own status, passed on as it is.
        *code = QStringLiteral("VBOX_E_IPRT_ERROR (0x80bb0005)");
        *error = QStringLiteral("Error reading OVA '%1' (VERR_TAR_UNEXPECTED_EOS)").arg(path);
        return false;
    }
    if (!entries.first().name.endsWith(QLatin1String(".ovf"))) {
        *error = QStringLiteral("Could not read OVF file '%1' (VERR_TAR_UNEXPECTED_EOS)").arg(path);
        return false;
    }
    package->descriptorName = entries.first().name;
    for (const Tar::Entry &entry : entries)
        package->files.insert(entry.name, entry.data);
    QString ovfError;
    if (!Ovf::read(entries.first().data, &package->system, &ovfError)) {
        *error = QStringLiteral("Error reading \"%1\": %2").arg(path, ovfError);
        return false;
    }
    return true;
}

QList<ApplianceItem> describe(Context &context, const Ovf::VirtualSystem &s,
                              const QString &machineFolder)
{
    QList<ApplianceItem> items;
    items.append({ApplianceItem::OsType, s.osType, {}});
    items.append({ApplianceItem::Name, s.name, {}});
    if (context.format->listsMachineFolderItems()) {
        items.append({ApplianceItem::Group, QStringLiteral("/"), {}});
        items.append({ApplianceItem::SettingsFile,
                      QDir(machineFolder).filePath(s.name + '/' + s.name + ".vbox"),
                      {}});
        items.append({ApplianceItem::BaseFolder, machineFolder, {}});
    }
    items.append({ApplianceItem::Cpus, QString::number(s.cpus), {}});
    items.append({ApplianceItem::Memory, QString::number(s.memoryMB), {}});
    if (s.sound)
        items.append({ApplianceItem::SoundCard, QStringLiteral("ensoniq1371"), {}});
    if (s.usb)
        items.append({ApplianceItem::Usb, {}, {}});
    for (int i = 0; i < s.adapters.size(); ++i)
        items.append({ApplianceItem::NetworkAdapter, s.adapters[i], QString::number(i)});
    const int firstChannel = items.size();
    items.append({ApplianceItem::Controller, {}, s.controllerType});
    items.append({ApplianceItem::Controller, {}, s.controllerType});
    for (const Ovf::Disk &disk : s.disks) {
        ApplianceItem item{ApplianceItem::Disk, disk.fileName,
                           QDir(machineFolder).filePath(s.name + '/' + disk.fileName)};
        item.controllerUnit = firstChannel + disk.port;
        item.channel = disk.device;
        items.append(item);
    }
    return items;
}

// Applies "--vsys 0 --vmname/--cpus/--memory/--basefolder" and "--unit N --disk/--ignore" in
// order.
void applyOverrides(const Options &options, QList<ApplianceItem> *items, QList<bool> *ignored)
{
    int unit = -1;
    for (const auto &option : options.all()) {
        const QString &name = option.first;
        const QString &value = option.second;
        if (name == QLatin1String("--basefolder")) {
            for (ApplianceItem &item : *items) {
                if (item.kind == ApplianceItem::BaseFolder) {
                    item.value = cleanAbsolutePath(value);
                    item.overridden = true;
                }
            }
        } else if (name == QLatin1String("--vsys")) {
            unit = -1;
        } else if (name == QLatin1String("--unit")) {
            unit = value.toInt();
        } else if (name == QLatin1String("--ignore") && unit >= 0 && unit < items->size()) {
            (*ignored)[unit] = true;
        } else if (name == QLatin1String("--disk") && unit >= 0 && unit < items->size()) {
            if ((*items)[unit].kind == ApplianceItem::Disk) {
                (*items)[unit].extra = cleanAbsolutePath(value);
                (*items)[unit].overridden = true;
            }
        } else {
            const ApplianceItem::Kind kind = name == QLatin1String("--vmname") ? ApplianceItem::Name
                                             : name == QLatin1String("--cpus") ? ApplianceItem::Cpus
                                             : name == QLatin1String("--memory")
                                                 ? ApplianceItem::Memory
                                                 : ApplianceItem::OsType;
            for (ApplianceItem &item : *items) {
                if (item.kind == kind && name != QLatin1String("--ostype") &&
                    kind != ApplianceItem::OsType) {
                    item.value = value;
                    item.overridden = true;
                }
                if (kind == ApplianceItem::OsType && name == QLatin1String("--ostype") &&
                    item.kind == ApplianceItem::OsType)
                    item.value = value;
            }
        }
    }
}

QString itemValue(const QList<ApplianceItem> &items, ApplianceItem::Kind kind)
{
    for (const ApplianceItem &item : items)
        if (item.kind == kind)
            return item.value;
    return QString();
}

NetworkAdapter importedAdapter(const HostState &host, const QString &connection)
{
    NetworkAdapter nic;
    nic.enabled = true;
    nic.mac = newMacAddress();
    if (connection.compare(QLatin1String("HostOnly"), Qt::CaseInsensitive) == 0) {
        nic.attachment = QStringLiteral("hostonly");
        if (!host.hostOnlyInterfaces.isEmpty())
            nic.hostOnlyInterface = host.hostOnlyInterfaces.first().name;
    } else if (connection.compare(QLatin1String("Bridged"), Qt::CaseInsensitive) == 0) {
        nic.attachment = QStringLiteral("bridged");
        if (!host.bridgedInterfaces.isEmpty())
            nic.bridgedInterface = host.bridgedInterfaces.first().name;
    } else {
        nic.attachment = QStringLiteral("nat");
    }
    return nic;
}

QString disksListing(const Package &package)
{
    QString text = QStringLiteral("Disks:\n");
    for (int i = 0; i < package.system.disks.size(); ++i) {
        const Ovf::Disk &disk = package.system.disks[i];
        text += QStringLiteral("  vmdisk%1\t%2\t-1\t%3\t%4\t%5\t-1\t\n")
                    .arg(i + 1)
                    .arg(disk.capacityBytes)
                    .arg(OvfFormatUrl, disk.fileName)
                    .arg(disk.fileSize);
    }
    return text + '\n';
}

Machine machineFromAppliance(const HostState &host, const QList<ApplianceItem> &items,
                             const Ovf::VirtualSystem &s, const QString &settingsFile)
{
    Machine m;
    m.uuid = newUuid();
    m.name = itemValue(items, ApplianceItem::Name);
    m.settingsFile = settingsFile;
    m.stateSinceMs = nowMs();
    m.config.osType = itemValue(items, ApplianceItem::OsType);
    m.config.cpus = itemValue(items, ApplianceItem::Cpus).toInt();
    m.config.memoryMB = itemValue(items, ApplianceItem::Memory).toInt();
    m.config.guestProperties = s.guestProperties;
    for (int i = 0; i < 8; ++i)
        m.config.nics.append(i < s.adapters.size() ? importedAdapter(host, s.adapters[i])
                                                   : disabledAdapter());
    StorageController controller;
    controller.name = s.controllerName;
    controller.type = s.controllerType;
    m.config.controllers.append(controller);
    return m;
}

QString diskImportFailure(Context &context, const QString &target)
{
    if (QFileInfo::exists(target) || context.host.findMedium(target))
        return QStringLiteral("Cannot create the imported medium '%1'.\nVMDK: cannot create "
                              "image '%1' (VERR_ALREADY_EXISTS)")
            .arg(target);
    if (context.faultIs("diskfull"))
        return QStringLiteral("Could not create the imported medium '%1'.\nVMDK: cannot write "
                              "allocated data block in '%1' (VERR_DISK_FULL)")
            .arg(target);
    if (!QDir().mkpath(QFileInfo(target).absolutePath()))
        return QStringLiteral("Could not create the directory '%1' (VERR_ACCESS_DENIED)")
            .arg(QFileInfo(target).absolutePath());
    return QString();
}

// Writes the disks that are not ignored and attaches them; on failure removes what it
// wrote and returns VirtualBox's message.
QString importDisks(Context &context, const Package &package, const QList<ApplianceItem> &items,
                    const QList<bool> &ignored, Machine *m, QList<Medium> *media)
{
    int firstChannel = 0;
    while (firstChannel < items.size() && items[firstChannel].kind != ApplianceItem::Controller)
        ++firstChannel;
    for (int unit = 0; unit < items.size(); ++unit) {
        if (items[unit].kind != ApplianceItem::Disk || ignored[unit])
            continue;
        const QString target = items[unit].extra;
        const QString failure = diskImportFailure(context, target);
        if (!failure.isEmpty()) {
            for (const Medium &made : *media)
                QFile::remove(made.location);
            return failure;
        }
        const QByteArray data = package.files.value(items[unit].value);
        const Medium medium{newUuid(), target, QStringLiteral("VMDK"), 0, {}};
        // A real VMDK image is kept whole as the payload, so that copies carry it; an image
        // of the stand-in's own export gets its new UUID.
        if (data.startsWith("KDMV")) {
            writeImageFile(target, medium, data);
        } else {
            QFile file(target);
            if (file.open(QIODevice::WriteOnly))
                file.write(data);
            file.close();
            copyImageFile(target, target, medium);
        }
        media->append(medium);
        // The port is which of the two IDE channel items the disk hangs on.
        m->config.controllers.first().attachments.append({items[unit].controllerUnit - firstChannel,
                                                          items[unit].channel,
                                                          QStringLiteral("hdd"), medium.uuid});
    }
    return QString();
}

int doImport(Context &context, const Package &package, const QList<ApplianceItem> &items,
             const QList<bool> &ignored, const QString &baseFolder)
{
    const QString name = itemValue(items, ApplianceItem::Name);
    const QString folder = QDir(baseFolder).filePath(sanitizedFileName(name));
    const QString settingsFile = QDir(folder).filePath(sanitizedFileName(name) + ".vbox");
    const QString summary = QStringLiteral("Appliance import failed");
    if (QFileInfo::exists(settingsFile))
        return applianceError(
            context, summary,
            QStringLiteral("Machine settings file '%1' already exists").arg(settingsFile),
            QStringLiteral("handleImportAppliance"),
            context.format->sourceLine(SourceCall::ImportAppliance));
    Machine m = machineFromAppliance(context.host, items, package.system, settingsFile);
    QList<Medium> media;
    QDir().mkpath(folder);
    const QString failure = importDisks(context, package, items, ignored, &m, &media);
    if (!failure.isEmpty()) {
        QDir().rmdir(folder);
        return applianceError(context, summary, failure, QStringLiteral("handleImportAppliance"),
                              context.format->sourceLine(SourceCall::ImportAppliance));
    }
    printErr(context.format->progress());
    context.host.machines.append(m);
    context.host.media.append(media);
    context.changed = true;
    printOut(QStringLiteral("Successfully imported the appliance.\n"));
    return ExitSuccess;
}

bool sleepInterruptibly(int ms)
{
    for (int waited = 0; waited < ms; waited += 20) {
        if (g_interrupted)
            return false;
        QThread::msleep(20);
    }
    return !g_interrupted;
}

// Writes the archive in ten steps with progress, honouring SIGINT and injected faults.
int writeArchive(Context &context, const QString &output, const QByteArray &whole, int paceMs)
{
    // A run that reports success for an archive cut short.
    const QByteArray archive = context.faultIs("partial") ? whole.left(100) : whole;
    QFile file(output);
    if (!file.open(QIODevice::WriteOnly))
        return applianceError(
            context, QStringLiteral("Appliance write failed"),
            QStringLiteral("Could not create OVA file '%1' (VERR_PATH_NOT_FOUND)").arg(output),
            QStringLiteral("handleExportAppliance"),
            context.format->sourceLine(SourceCall::ExportAppliance));
    const qint64 chunk = (archive.size() + 9) / 10;
    printErr(QStringLiteral("0%..."));
    for (int step = 1; step <= 10; ++step) {
        if (context.faultIs("diskfull") && step == 5) {
            file.close();
            QFile::remove(output);
            printErr(context.format->progressFailure(QStringLiteral("VBOX_E_FILE_ERROR"))
                         .mid(QStringLiteral("0%...").size()));
            printProgressError(
                {QStringLiteral("Appliance write failed\nCould not write to OVA file "
                                "'%1' (VERR_DISK_FULL)")
                     .arg(output),
                 codeFileError(), QStringLiteral("ApplianceWrap"), QStringLiteral("IAppliance"),
                 QStringLiteral("RTEXITCODE handleExportAppliance(HandlerArg*)"),
                 context.format->sourceLine(SourceCall::ExportAppliance), ApplianceFile});
            return ExitFailure;
        }
        file.write(archive.mid((step - 1) * chunk, chunk));
        file.flush();
        if (!sleepInterruptibly(paceMs / 10)) {
            file.close();
            QFile::remove(output);
            printErr(QStringLiteral("CANCELED\n"));
            printError(QStringLiteral("Appliance write failed\nThe operation was canceled by the "
                                      "user"));
            return ExitFailure;
        }
        printErr(QStringLiteral("%1%").arg(step * 10) + (step < 10 ? "..." : "\n"));
    }
    return ExitSuccess;
}

} // namespace

int importCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {"--dry-run", "-n", "--ignore"});
    if (options.positional().isEmpty())
        return syntaxError(context, QStringLiteral("Not enough arguments for \"import\" command."));
    const QString path = cleanAbsolutePath(options.positional().first());
    Package package;
    QString error, code;
    if (!readPackage(path, &package, &error, &code))
        return applianceError(context, QStringLiteral("Appliance read failed"), error,
                              QStringLiteral("handleImportAppliance"),
                              context.format->sourceLine(SourceCall::ReadAppliance), code);
    printErr(context.format->progress());
    printErr(QStringLiteral("Interpreting %1...\nOK.\n").arg(path));
    QList<ApplianceItem> items = describe(context, package.system, context.host.machineFolder);
    QList<bool> ignored;
    for (int i = 0; i < items.size(); ++i)
        ignored.append(false);
    applyOverrides(options, &items, &ignored);
    // Disks that keep their suggested place (and, as the version has it, the settings file)
    // follow a new machine name and base folder. 5.2 has no base folder item and ignores
    // the option.
    const QString name = itemValue(items, ApplianceItem::Name);
    const QString base = context.format->listsMachineFolderItems()
                             ? itemValue(items, ApplianceItem::BaseFolder)
                             : context.host.machineFolder;
    const QString folder = QDir(base).filePath(sanitizedFileName(name));
    for (ApplianceItem &item : items) {
        if (item.kind == ApplianceItem::Disk && !item.overridden)
            item.extra = folder + '/' + item.value;
        if (item.kind == ApplianceItem::SettingsFile && context.format->settingsFileFollowsName())
            item.value = folder + '/' + sanitizedFileName(name) + QStringLiteral(".vbox");
    }
    printOut(disksListing(package) + context.format->importListing(items));
    if (options.has(QStringLiteral("--dry-run")) || options.has(QStringLiteral("-n")))
        return ExitSuccess;
    return doImport(context, package, items, ignored, base);
}

namespace {

Ovf::VirtualSystem describeMachine(const Machine &m)
{
    Ovf::VirtualSystem system;
    system.name = m.name;
    system.uuid = m.uuid;
    system.osType = m.config.osType;
    system.cpus = m.config.cpus;
    system.memoryMB = m.config.memoryMB;
    for (const NetworkAdapter &nic : m.config.nics)
        if (nic.enabled)
            system.adapters.append(nic.attachment == QLatin1String("hostonly")  ? "HostOnly"
                                   : nic.attachment == QLatin1String("bridged") ? "Bridged"
                                                                                : "NAT");
    for (const GuestProperty &p : m.config.guestProperties)
        if (!p.flags.contains(QLatin1String("TRANSIENT")))
            system.guestProperties.append(p);
    return system;
}

// The members of the OVA: the descriptor first, then the disks, then the manifest if asked.
QList<Tar::Entry> packageMachine(HostState &host, const Machine &m, const QString &base,
                                 bool manifest)
{
    Ovf::VirtualSystem system = describeMachine(m);
    QList<Tar::Entry> entries;
    entries.append({base + ".ovf", {}});
    for (const StorageController &c : m.config.controllers) {
        system.controllerName = c.name;
        system.controllerType = c.type;
        for (const Attachment &a : c.attachments) {
            const Medium *medium = host.findMedium(a.mediumUuid);
            QFile image(medium ? medium->location : QString());
            if (!medium || !image.open(QIODevice::ReadOnly))
                continue;
            const QString fileName = QStringLiteral("%1-disk%2.vmdk")
                                         .arg(base)
                                         .arg(system.disks.size() + 1, 3, 10, QLatin1Char('0'));
            entries.append({fileName, image.readAll()});
            system.disks.append({fileName, a.port, a.device, medium->sizeMB * 1024 * 1024,
                                 entries.last().data.size(), medium->uuid});
        }
    }
    entries.first().data = Ovf::write(system);
    if (manifest) {
        QString text;
        for (const Tar::Entry &e : entries)
            text +=
                QStringLiteral("SHA256 (%1) = %2\n")
                    .arg(e.name,
                         QString::fromLatin1(
                             QCryptographicHash::hash(e.data, QCryptographicHash::Sha256).toHex()));
        entries.append({base + ".mf", text.toUtf8()});
    }
    return entries;
}

} // namespace

int exportCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {"--manifest", "--ovf09", "--ovf10", "--ovf20", "--opc10"});
    QString output = options.value(QStringLiteral("--output"), options.value(QStringLiteral("-o")));
    if (options.positional().isEmpty())
        return syntaxError(context, QStringLiteral("Not enough arguments for \"export\" command."));
    if (output.isEmpty())
        return syntaxError(context,
                           QStringLiteral("Missing --output argument with export command."));
    Machine *m = context.machine(options.positional().first(),
                                 QStringLiteral("FindMachine(Bstr(itM->c_str()).raw(), "
                                                "machine.asOutParam())"),
                                 1180, ApplianceFile);
    if (!m)
        return ExitFailure;
    output = cleanAbsolutePath(output);
    if (QFileInfo::exists(output))
        return applianceError(context, QStringLiteral("Appliance write failed"),
                              QStringLiteral("The target file '%1' already exists").arg(output),
                              QStringLiteral("handleExportAppliance"),
                              context.format->sourceLine(SourceCall::ExportAppliance));
    const QList<Tar::Entry> entries =
        packageMachine(context.host, *m, QFileInfo(output).completeBaseName(),
                       options.has(QStringLiteral("--manifest")));
    // Writing the archive changes nothing in the host, so other commands may run meanwhile.
    if (!context.changed)
        context.store->unlock();
    installInterruptHandler();
    const int pace = context.faultIs("slow") ? context.fault->ms : 0;
    const int code = writeArchive(context, output, Tar::build(entries, nowMs() / 1000), pace);
    if (code == ExitSuccess)
        printOut(QStringLiteral("Successfully exported 1 machine(s).\n"));
    return code;
}

bool writeSampleAppliance(const QString &path)
{
    // Fixed identities and times, so that every build writes the same bytes.
    Ovf::VirtualSystem system;
    system.name = QStringLiteral("Android");
    system.uuid = QStringLiteral("5a1e0c3d-7b2f-4e91-a6d8-3c4b5e6f7a80");
    system.osType = QStringLiteral("Linux26");
    system.cpus = 2;
    system.memoryMB = 2048;
    system.adapters = QStringList{QStringLiteral("HostOnly"), QStringLiteral("NAT")};
    struct SampleDisk
    {
        const char *fileName;
        int port;
        int device;
        int capacityMB;
        const char *uuid;
    };
    const SampleDisk samples[] = {
        {"android_system_disk.vmdk", 0, 0, 8, "5a1e0c3d-7b2f-4e91-a6d8-3c4b5e6f7a81"},
        {"android_data_disk.vmdk", 0, 1, 4, "5a1e0c3d-7b2f-4e91-a6d8-3c4b5e6f7a82"},
        {"android_sdcard_disk.vmdk", 1, 0, 2, "5a1e0c3d-7b2f-4e91-a6d8-3c4b5e6f7a83"}};
    QList<Tar::Entry> disks;
    quint32 cid = 0x5a1e0c30;
    for (const SampleDisk &sample : samples) {
        const qint64 capacity = qint64(sample.capacityMB) << 20;
        const QByteArray image =
            Vmdk::streamOptimized({sample.fileName, capacity, sample.uuid, ++cid});
        system.disks.append(
            {sample.fileName, sample.port, sample.device, capacity, image.size(), sample.uuid});
        disks.append({sample.fileName, image});
    }
    const qint64 ns = qint64(1700000000000) * 1000000;
    const QList<QPair<QString, QString>> profile = {{"vbox_graph_mode", "768x1280-16"},
                                                    {"vbox_dpi", "320"},
                                                    {"android_version", "8.0"},
                                                    {"quillomate_version", "3.0.0"},
                                                    {"quillomate_platform", "x86"},
                                                    {"quillomate_device_version", "2"},
                                                    {"product_manufacturer", "Quillomate"},
                                                    {"product_model", "Sample Phone"},
                                                    {"product_name", "sample_phone"},
                                                    {"product_brand", "quillomate"},
                                                    {"product_device", "sample"},
                                                    {"product_board", "sample"},
                                                    {"build_version_release", "8.0"},
                                                    {"sensor_camera", "1"},
                                                    {"sensor_gyro", "1"},
                                                    {"hardware_opengl", "1"},
                                                    {"datadisk_size", "4096"},
                                                    {"template_uuid", "sample-device"}};
    for (const auto &p : profile)
        system.guestProperties.append({p.first, p.second, ns, QString()});
    QList<Tar::Entry> entries;
    entries.append({QStringLiteral("Android.ovf"), Ovf::write(system)});
    entries.append(disks);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    return file.write(Tar::build(entries, 1700000000)) > 0;
}

} // namespace VBoxSim
