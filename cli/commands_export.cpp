// SPDX-License-Identifier: Apache-2.0
#include "commandcontext.h"
#include "commands.h"
#include "interrupt.h"
#include "output.h"
#include "resultwords.h"

#include <vmtools/engineresult.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>
#include <vmtools/vmtoolsobserver.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

// Never write over a file that is already there: it is somebody's data.
bool freeTarget(CommandContext &c, const QFileInfo &target, int *exitCode)
{
    if (target.exists()) {
        *exitCode = c.fail(QStringLiteral("%1 already exists").arg(target.filePath()));
        return false;
    }
    if (!target.absoluteDir().exists()) {
        *exitCode =
            c.fail(QStringLiteral("the folder %1 does not exist").arg(target.absolutePath()));
        return false;
    }
    return true;
}

// What VirtualBox can open as a disk image; anything else is somebody's file.
bool isDiskImage(const QFileInfo &file)
{
    static const QStringList suffixes{QStringLiteral("vdi"),   QStringLiteral("vmdk"),
                                      QStringLiteral("vhd"),   QStringLiteral("vhdx"),
                                      QStringLiteral("hdd"),   QStringLiteral("qcow"),
                                      QStringLiteral("qcow2"), QStringLiteral("qed")};
    return suffixes.contains(file.suffix().toLower());
}

int notADiskImage(CommandContext &c, const QFileInfo &file)
{
    return c.usage(QStringLiteral("%1 is not a disk image (.vdi, .vmdk, .vhd, .vhdx, .hdd, "
                                  ".qcow, .qcow2 or .qed)")
                       .arg(file.filePath()));
}

// The observer lives only as long as Ctrl-C may reach it.
bool exportWithObserver(CommandContext &c, VMToolsMachine *machine, const QString &path,
                        bool *canceled)
{
    VMToolsObserver observer;
    c.interruption().setCancelTarget(&observer);
    const bool exported = c.engine()->exportMachine(machine, path, &observer);
    c.interruption().setCancelTarget(nullptr);
    *canceled = observer.isCanceled() || c.isInterrupted();
    return exported;
}

// An OVA: a tar archive (ustar or GNU) whose first member is the OVF descriptor.
bool isAppliance(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray header = file.read(512);
    if (header.size() < 512 || !header.mid(257, 5).startsWith("ustar"))
        return false;
    const QByteArray name = header.left(100);
    return name.left(name.indexOf('\0')).endsWith(".ovf");
}

int checkExport(CommandContext &c)
{
    if (c.argument(1).trimmed().isEmpty())
        return c.usage(
            QStringLiteral("the export needs a file name, such as %1.ova").arg(c.argument(0)));
    int code = ExitCode::Success;
    freeTarget(c, QFileInfo(QFileInfo(c.argument(1)).absoluteFilePath()), &code);
    return code;
}

int checkCopy(CommandContext &c)
{
    const QFileInfo source(QFileInfo(c.argument(0)).absoluteFilePath());
    const QFileInfo target(QFileInfo(c.argument(1)).absoluteFilePath());
    int code = ExitCode::Success;
    if (!source.isFile())
        return c.fail(QStringLiteral("no disk image at %1").arg(source.filePath()));
    if (!isDiskImage(source))
        return notADiskImage(c, source);
    if (!isDiskImage(target))
        return notADiskImage(c, target);
    freeTarget(c, target, &code);
    return code;
}

int checkDelete(CommandContext &c)
{
    const QFileInfo disk(QFileInfo(c.argument(0)).absoluteFilePath());
    if (disk.exists() && !disk.isFile())
        return c.fail(QStringLiteral("%1 is not a disk image file").arg(disk.filePath()));
    if (disk.exists() && !isDiskImage(disk))
        return notADiskImage(c, disk);
    if (!disk.exists())
        return ExitCode::Success;
    return c.confirm(QStringLiteral("Delete the disk image %1?").arg(disk.filePath()));
}

int exportDevice(CommandContext &c)
{
    const QString name = c.argument(0);
    const QFileInfo target(QFileInfo(c.argument(1)).absoluteFilePath());
    int code = ExitCode::Success;
    const auto machine = c.machine(name, &code);
    if (!machine)
        return code;
    if (!c.step(QStringLiteral("Exporting %1 to %2").arg(name, target.fileName())))
        return c.interrupted();
    bool canceled = false;
    const bool exported = exportWithObserver(c, machine.get(), target.filePath(), &canceled);
    c.stepDone();
    if (!exported) {
        // The engine moves the appliance into place only on success; whatever is there
        // now is a leftover.
        QFile::remove(target.filePath());
        if (canceled)
            return c.out().fail(QStringLiteral("export of %1 cancelled; nothing was written to %2")
                                    .arg(name, target.filePath()),
                                c.interruption().exitCode());
        return c.fail(
            QStringLiteral("%1 could not be exported to %2").arg(name, target.filePath()));
    }
    if (!isAppliance(target.filePath())) {
        const bool there = QFileInfo::exists(target.filePath());
        QFile::remove(target.filePath());
        return c.fail(there ? QStringLiteral("%1 was not exported: VirtualBox reported the export "
                                             "done, but %2 is no appliance; export again")
                                  .arg(name, target.filePath())
                            : QStringLiteral("%1 was not exported: VirtualBox reported the export "
                                             "done, but there is no file %2; export again")
                                  .arg(name, target.filePath()));
    }
    const qint64 size = QFileInfo(target.filePath()).size();
    return c.out().done({{QStringLiteral("name"), name},
                         {QStringLiteral("file"), target.filePath()},
                         {QStringLiteral("bytes"), static_cast<double>(size)}},
                        QStringLiteral("Exported %1 to %2 (%3).")
                            .arg(name, target.filePath(), TextFormat::size(size)));
}

int engineFailure(CommandContext &c, unsigned int result)
{
    c.stepDone();
    return c.fail(ResultWords::engineResult(result),
                  {{QStringLiteral("result"), static_cast<double>(result)}});
}

int copyDisk(CommandContext &c)
{
    const QFileInfo source(QFileInfo(c.argument(0)).absoluteFilePath());
    const QFileInfo target(QFileInfo(c.argument(1)).absoluteFilePath());
    if (!c.step(QStringLiteral("Copying %1").arg(source.fileName())))
        return c.interrupted();
    const unsigned int result = c.engine()->copyDisk(source.filePath(), target.filePath());
    if (result != EngineResult::Success)
        return engineFailure(c, result);
    c.stepDone();
    return c.out().done(
        {{QStringLiteral("source"), source.filePath()},
         {QStringLiteral("target"), target.filePath()}},
        QStringLiteral("Copied %1 to %2.").arg(source.filePath(), target.filePath()));
}

int deleteDisk(CommandContext &c)
{
    const QFileInfo disk(QFileInfo(c.argument(0)).absoluteFilePath());
    if (!disk.exists())
        return c.out().done(
            {{QStringLiteral("file"), disk.filePath()}, {QStringLiteral("deleted"), false}},
            QStringLiteral("No disk image at %1; nothing to delete.").arg(disk.filePath()));
    if (!c.step(QStringLiteral("Deleting %1").arg(disk.fileName())))
        return c.interrupted();
    const unsigned int result = c.engine()->deleteDisk(disk.filePath());
    if (result != EngineResult::Success)
        return engineFailure(c, result);
    c.stepDone();
    return c.out().done(
        {{QStringLiteral("file"), disk.filePath()}, {QStringLiteral("deleted"), true}},
        QStringLiteral("Deleted %1.").arg(disk.filePath()));
}

} // namespace

namespace Commands {

QList<Command> mediaCommands()
{
    Command exportCommand{QStringLiteral("export"),
                          QStringLiteral("Export a device to an OVA file"),
                          QStringLiteral("Writes the device as a virtual appliance to FILE, which "
                                         "must not exist yet. Ctrl-C cancels\nthe export and "
                                         "leaves no file behind."),
                          QStringLiteral("NAME FILE"),
                          2,
                          2,
                          {},
                          EngineUse::Open,
                          exportDevice,
                          {}};
    Command copyCommand{QStringLiteral("copy-disk"),
                        QStringLiteral("Copy a disk image"),
                        QStringLiteral("Copies the disk image SOURCE to TARGET, which must not "
                                       "exist yet."),
                        QStringLiteral("SOURCE TARGET"),
                        2,
                        2,
                        {},
                        EngineUse::Open,
                        copyDisk,
                        {}};
    Command deleteCommand{QStringLiteral("delete-disk"),
                          QStringLiteral("Unregister and delete a disk image"),
                          QStringLiteral("Makes VirtualBox forget the disk image at PATH and "
                                         "deletes the file."),
                          QStringLiteral("PATH"),
                          1,
                          1,
                          {},
                          EngineUse::Open,
                          deleteDisk,
                          {}};
    exportCommand.check = checkExport;
    copyCommand.check = checkCopy;
    deleteCommand.check = checkDelete;
    deleteCommand.options.append(CommandContext::yesOption());
    return {exportCommand, copyCommand, deleteCommand};
}

} // namespace Commands
