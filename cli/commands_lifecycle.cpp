#include "commandcontext.h"
#include "commands.h"
#include "interrupt.h"
#include "output.h"
#include "resultwords.h"

#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>

namespace {

const QString UnknownAddress = QStringLiteral("0.0.0.0");

int start(CommandContext &c, VMToolsMachine &machine)
{
    const QString name = machine.getName();
    if (machine.getOnLoadStatus() == VMToolsMachine::On)
        return c.out().done({{QStringLiteral("name"), name},
                             {QStringLiteral("state"), QStringLiteral("running")},
                             {QStringLiteral("alreadyRunning"), true}},
                            QStringLiteral("%1 is already running.").arg(name));
    const bool gui = c.options().isSet(QStringLiteral("gui"));
    if (!c.step(QStringLiteral("Starting %1").arg(name)))
        return c.interrupted();
    if (!c.engine()->startMachine(&machine,
                                  gui ? VMToolsMachine::GuiLaunch : VMToolsMachine::HeadlessLaunch))
        return c.fail(QStringLiteral("%1 could not be started").arg(name));
    c.stepDone();
    return c.out().done({{QStringLiteral("name"), name},
                         {QStringLiteral("state"), QStringLiteral("running")},
                         {QStringLiteral("alreadyRunning"), false}},
                        QStringLiteral("Started %1 (%2).")
                            .arg(name, gui ? QStringLiteral("gui") : QStringLiteral("headless")));
}

int stop(CommandContext &c, VMToolsMachine &machine)
{
    const QString name = machine.getName();
    const VMToolsMachine::State state = machine.getOnLoadStatus();
    if (state == VMToolsMachine::Off || state == VMToolsMachine::Aborted)
        return c.out().done({{QStringLiteral("name"), name},
                             {QStringLiteral("state"), ResultWords::state(state)},
                             {QStringLiteral("alreadyStopped"), true}},
                            QStringLiteral("%1 is not running.").arg(name));
    if (!c.step(QStringLiteral("Stopping %1").arg(name)))
        return c.interrupted();
    if (!c.engine()->stopMachine(&machine))
        return c.fail(QStringLiteral("%1 could not be stopped").arg(name));
    c.stepDone();
    return c.out().done({{QStringLiteral("name"), name},
                         {QStringLiteral("state"), QStringLiteral("off")},
                         {QStringLiteral("alreadyStopped"), false}},
                        QStringLiteral("Stopped %1.").arg(name));
}

int check(CommandContext &c, VMToolsMachine &machine)
{
    const QString name = machine.getName();
    if (machine.getOnLoadStatus() == VMToolsMachine::On)
        return c.fail(QStringLiteral("%1 is running; stop it before checking it").arg(name));
    if (!c.step(QStringLiteral("Starting and stopping %1").arg(name)))
        return c.interrupted();
    if (!c.engine()->startStopDevice(&machine))
        return c.fail(QStringLiteral("%1 failed the start-and-stop check").arg(name));
    c.stepDone();
    return c.out().done({{QStringLiteral("name"), name}, {QStringLiteral("works"), true}},
                        QStringLiteral("%1 started and stopped: it works.").arg(name));
}

int waitIp(CommandContext &c, VMToolsMachine &machine)
{
    const QString name = machine.getName();
    if (machine.getOnLoadStatus() != VMToolsMachine::On)
        return c.fail(QStringLiteral("%1 is not running; start it first").arg(name));
    if (!c.step(QStringLiteral("Waiting for the address of %1").arg(name)))
        return c.interrupted();
    // Only reads from VirtualBox: Ctrl-C may drop it at once.
    c.interruption().setAbortable(true);
    const QString address = machine.waitForIP();
    c.interruption().setAbortable(false);
    c.stepDone();
    if (address == UnknownAddress)
        return c.fail(QStringLiteral("%1 published no address within 20 seconds").arg(name));
    const QString serial = machine.getAdbSerial();
    return c.out().done({{QStringLiteral("name"), name},
                         {QStringLiteral("ipAddress"), address},
                         {QStringLiteral("adbSerial"), serial}},
                        serial);
}

int factoryBackup(CommandContext &c, VMToolsMachine &machine)
{
    const QString name = machine.getName();
    if (!c.step(QStringLiteral("Looking for the factory backup of %1").arg(name)))
        return c.interrupted();
    // A second snapshot of the same name would shadow the first one.
    if (machine.canResetToFactory())
        return c.fail(QStringLiteral("%1 already has a factory backup").arg(name));
    if (!c.step(QStringLiteral("Taking the factory backup of %1").arg(name)))
        return c.interrupted();
    if (!machine.createFactoryBackup())
        return c.fail(
            QStringLiteral("VirtualBox could not take the factory backup of %1").arg(name));
    c.stepDone();
    return c.out().done({{QStringLiteral("name"), name}},
                        QStringLiteral("Took the factory backup of %1.").arg(name));
}

int factoryReset(CommandContext &c, VMToolsMachine &machine)
{
    const QString name = machine.getName();
    if (!c.step(QStringLiteral("Resetting %1 to its factory state").arg(name)))
        return c.interrupted();
    const int result = machine.resetFactory();
    c.stepDone();
    if (result != 0)
        return c.out().fail(ResultWords::factoryReset(result), ExitCode::Failure,
                            {{QStringLiteral("result"), result}});
    return c.out().done({{QStringLiteral("name"), name}},
                        QStringLiteral("%1 is back to its factory state.").arg(name));
}

} // namespace

namespace Commands {

QList<Command> lifecycleCommands()
{
    const QString name = QStringLiteral("NAME");
    Command startCommand{QStringLiteral("start"),
                         QStringLiteral("Start a device (headless)"),
                         QStringLiteral("Starts the device without a window, or in a VirtualBox "
                                        "window with --gui. A paused\ndevice is resumed."),
                         name,
                         1,
                         1,
                         {{QStringLiteral("gui"), QStringLiteral("Show the device in a window.")}},
                         true,
                         onNamedDevice(start)};
    Command stopCommand{QStringLiteral("stop"),
                        QStringLiteral("Power a device off"),
                        QString(),
                        name,
                        1,
                        1,
                        {},
                        true,
                        onNamedDevice(stop)};
    Command checkCommand{QStringLiteral("check"),
                         QStringLiteral("Start a device headless and stop it, to prove it runs"),
                         QString(),
                         name,
                         1,
                         1,
                         {},
                         true,
                         onNamedDevice(check)};
    Command waitCommand{QStringLiteral("wait-ip"),
                        QStringLiteral("Wait for a running device's address; print its ADB "
                                       "serial"),
                        QStringLiteral("Waits up to 20 seconds for the address that the device "
                                       "publishes, then prints the\nADB serial (address:5555)."),
                        name,
                        1,
                        1,
                        {},
                        true,
                        onNamedDevice(waitIp)};
    Command backupCommand{QStringLiteral("factory-backup"),
                          QStringLiteral("Take the snapshot that a factory reset returns to"),
                          QString(),
                          name,
                          1,
                          1,
                          {},
                          true,
                          onNamedDevice(factoryBackup)};
    Command resetCommand{QStringLiteral("factory-reset"),
                         QStringLiteral("Return a device to its factory backup"),
                         QString(),
                         name,
                         1,
                         1,
                         {},
                         true,
                         onNamedDevice(factoryReset)};
    return {startCommand, stopCommand, checkCommand, waitCommand, backupCommand, resetCommand};
}

} // namespace Commands
