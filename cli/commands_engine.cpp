// SPDX-License-Identifier: Apache-2.0
#include "commandcontext.h"
#include "commands.h"
#include "devicereads.h"
#include "jsonvalues.h"
#include "output.h"

#include <vmtools/callmemo.h>
#include <vmtools/paths.h>
#include <vmtools/settings.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

#include <memory>

namespace {

const QString VmsPathKey = QStringLiteral("vms.path");

int info(CommandContext &c)
{
    VMToolsEngine *engine = c.engine();
    if (!c.step(QStringLiteral("Reading the VirtualBox version")))
        return c.interrupted();
    const QString version = engine->version();
    c.stepDone();
    const bool virtualization = engine->isCPUVirtualizationAvailable();
    // The engine says "unknown" for a version that VirtualBox did not give.
    const QJsonObject json{
        {QStringLiteral("virtualBoxVersion"),
         JsonValues::text(version == QLatin1String("unknown") ? QString() : version)},
        {QStringLiteral("processorVendor"), JsonValues::text(engine->getChipset())},
        {QStringLiteral("hardwareVirtualization"), virtualization},
        {QStringLiteral("maxCpus"), JsonValues::count(engine->getMaxCpuCount())},
        {QStringLiteral("maxMemory"), JsonValues::count(engine->getMaxMemory())},
        {QStringLiteral("hostOnlyInterface"), JsonValues::text(engine->getAdapterName())},
        {QStringLiteral("ready"), engine->isSystemReady()},
        {QStringLiteral("deployDirectory"), Commands::deployDirectory()},
        {QStringLiteral("loadState"), c.loadState().state},
        {QStringLiteral("loadMessage"), JsonValues::text(c.loadState().message)},
    };
    const QString adapter = engine->getAdapterName();
    return c.out().done(
        json,
        TextFormat::fields({
            {QStringLiteral("VirtualBox version"), version},
            {QStringLiteral("Processor vendor"), engine->getChipset()},
            {QStringLiteral("Hardware virtualization"),
             virtualization ? QStringLiteral("yes") : QStringLiteral("no (VT-x/AMD-V missing)")},
            {QStringLiteral("Max CPUs"), QString::number(engine->getMaxCpuCount())},
            {QStringLiteral("Max memory"), QStringLiteral("%1 MB").arg(engine->getMaxMemory())},
            {QStringLiteral("Host-only interface"),
             adapter.isEmpty() ? QStringLiteral("(none usable; 'vmtools repair-network' makes one)")
                               : adapter},
            {QStringLiteral("Ready"), TextFormat::yesNo(engine->isSystemReady())},
            {QStringLiteral("Deploy directory"), Commands::deployDirectory()},
        }));
}

int repairNetwork(CommandContext &c)
{
    VMToolsEngine *engine = c.engine();
    if (!c.step(QStringLiteral("Checking the host-only network")))
        return c.interrupted();
    engine->checkAndCreateVboxInterface();
    c.stepDone();
    const QString adapter = engine->getAdapterName();
    if (!engine->isSystemReady())
        return c.fail(QStringLiteral("no host-only network interface could be made"));
    return c.out().done(
        {{QStringLiteral("hostOnlyInterface"), adapter}, {QStringLiteral("ready"), true}},
        QStringLiteral("Host-only interface %1 is ready.").arg(adapter));
}

int deployDir(CommandContext &c)
{
    if (c.arguments().isEmpty()) {
        const QString folder = Commands::deployDirectory();
        return c.out().done({{QStringLiteral("deployDirectory"), folder}}, folder);
    }
    const QString folder = QDir(c.argument(0)).absolutePath();
    if (QFileInfo(folder).exists() && !QFileInfo(folder).isDir())
        return c.fail(QStringLiteral("%1 is not a folder").arg(folder));
    if (!QDir().mkpath(folder))
        return c.fail(QStringLiteral("cannot create the folder %1").arg(folder));
    Settings::set(VmsPathKey, folder);
    return c.out().done({{QStringLiteral("deployDirectory"), folder}},
                        QStringLiteral("New devices will be kept in %1").arg(folder));
}

int dump(CommandContext &c)
{
    const QString path = QFileInfo(c.argument(0)).absoluteFilePath();
    if (QFileInfo(path).isDir())
        return c.fail(QStringLiteral("%1 is a folder").arg(path));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return c.fail(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));

    if (!c.step(QStringLiteral("Writing VirtualBox's host information")))
        return c.interrupted();
    c.engine()->dumpInfos(&file);
    if (!c.step(QStringLiteral("Listing devices")))
        return c.interrupted();
    // The devices are read side by side; their dumps then reuse what was read.
    CallMemo memo;
    const CallMemo::Scope reads(memo);
    DeviceReads::Devices machines;
    DeviceReads::openDevices(
        *c.engine(), memo, [&c] { return c.isInterrupted(); },
        [&memo](VMToolsMachine &machine) {
            DeviceReads::readAhead(memo, machine.getName(), DeviceReads::Depth::Dump);
        },
        &machines);
    QJsonArray names;
    int result = c.isInterrupted() ? c.interrupted() : -1;
    for (const auto &machine : machines) {
        if (result >= 0)
            break;
        if (!c.step(QStringLiteral("Writing the information of %1").arg(machine->getName()))) {
            result = c.interrupted();
            break;
        }
        machine->dumpInfos(&file);
        names.append(machine->getName());
    }
    c.stepDone();
    file.close();
    if (result >= 0)
        return result;
    if (file.error() != QFileDevice::NoError)
        return c.fail(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    return c.out().done({{QStringLiteral("file"), path}, {QStringLiteral("devices"), names}},
                        QStringLiteral("Diagnostic dump of the engine and %1 device(s) written "
                                       "to %2")
                            .arg(names.size())
                            .arg(path));
}

} // namespace

namespace Commands {

QList<Command> engineCommands()
{
    Command infoCommand{QStringLiteral("info"),
                        QStringLiteral("Show VirtualBox, the processor, host limits and the "
                                       "host-only network"),
                        QStringLiteral("Shows the VirtualBox version, the processor vendor and "
                                       "whether it offers hardware virtualization, the largest\n"
                                       "CPU count and memory a device may have, the host-only "
                                       "network interface, whether the\nengine is ready, and "
                                       "the folder where new devices are kept."),
                        QString(),
                        0,
                        0,
                        {},
                        EngineUse::StartUpToRead,
                        info,
                        {}};
    Command repair{QStringLiteral("repair-network"),
                   QStringLiteral("Check the host-only network and rebuild it when broken"),
                   QStringLiteral("Checks that the remembered host-only interface is listed, up, "
                                  "routed and served by a DHCP\nserver; if not, replaces it with "
                                  "a new one."),
                   QString(),
                   0,
                   0,
                   {},
                   EngineUse::StartUp,
                   repairNetwork,
                   {}};
    Command deploy{QStringLiteral("deploy-dir"),
                   QStringLiteral("Show or change the folder where new devices are kept"),
                   QStringLiteral("Without DIR, prints the folder where devices are created and "
                                  "cloned (the \"vms.path\"\nsetting). With DIR, creates it when "
                                  "missing and makes it that folder."),
                   QStringLiteral("[DIR]"),
                   0,
                   1,
                   {},
                   EngineUse::None,
                   deployDir,
                   {}};
    Command dumpCommand{QStringLiteral("dump"),
                        QStringLiteral("Write the diagnostic dump of the engine and every "
                                       "device to FILE"),
                        QStringLiteral("Writes what VirtualBox reports about the host, its "
                                       "networks and every device to FILE,\nfor a problem "
                                       "report. FILE is replaced."),
                        QStringLiteral("FILE"),
                        1,
                        1,
                        {},
                        EngineUse::Open,
                        dump,
                        {}};
    return {infoCommand, doctorCommand(), repair, deploy, dumpCommand};
}

} // namespace Commands

QString Commands::deployDirectory()
{
    const QString fallback = Paths::getQuillomatePath() + QStringLiteral("/deployed/");
    return Settings::get(VmsPathKey, fallback).toString();
}
