// SPDX-License-Identifier: Apache-2.0
#include "commandcontext.h"
#include "commands.h"
#include "interrupt.h"
#include "output.h"
#include "resultwords.h"

#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>

#include <QElapsedTimer>
#include <QThread>

namespace {

const QString UnknownAddress = QStringLiteral("0.0.0.0");

const QString TimeoutOption = QStringLiteral("timeout");
const QString WaitOption = QStringLiteral("wait");
constexpr unsigned int DefaultWaitSeconds = 120; // an Android guest may take minutes to boot

bool timeoutOption(CommandContext &c, unsigned int *seconds, int *exitCode)
{
    *seconds = DefaultWaitSeconds;
    return !c.options().isSet(TimeoutOption) || c.countOption(TimeoutOption, seconds, exitCode);
}

// Asks VirtualBox for the address the guest publishes once a second, until there is one
// or the time is up; "0.0.0.0" then.
QString pollAddress(CommandContext &c, VMToolsMachine &machine, unsigned int seconds)
{
    QElapsedTimer clock;
    clock.start();
    QString address = machine.getIPAddress();
    while (address == UnknownAddress && clock.elapsed() < qint64(seconds) * 1000 &&
           !c.isInterrupted()) {
        QThread::msleep(qMin<qint64>(1000, qint64(seconds) * 1000 - clock.elapsed()));
        address = machine.getIPAddress();
    }
    return address;
}

// The ADB serial once the device has an address, as wait-ip and start --wait print it.
int waitForAddress(CommandContext &c, VMToolsMachine &machine, unsigned int seconds,
                   QJsonObject json)
{
    const QString name = machine.getName();
    if (!c.step(QStringLiteral("Waiting for the address of %1").arg(name)))
        return c.interrupted();
    // Only reads from VirtualBox: Ctrl-C may drop it at once.
    c.interruption().setAbortable(true);
    const QString address = pollAddress(c, machine, seconds);
    c.interruption().setAbortable(false);
    c.stepDone();
    if (c.isInterrupted())
        return c.interrupted();
    if (address == UnknownAddress)
        return c.fail(
            QStringLiteral("%1 published no address within %2 seconds").arg(name).arg(seconds));
    const QString serial = machine.getAdbSerial();
    json.insert(QStringLiteral("name"), name);
    json.insert(QStringLiteral("ipAddress"), address);
    json.insert(QStringLiteral("adbSerial"), serial);
    return c.out().done(json, serial);
}

int checkTimeout(CommandContext &c)
{
    unsigned int seconds = 0;
    int code = ExitCode::Success;
    timeoutOption(c, &seconds, &code);
    return code;
}

int start(CommandContext &c, VMToolsMachine &machine)
{
    const QString name = machine.getName();
    const bool wait = c.options().isSet(WaitOption);
    unsigned int seconds = 0;
    int code = ExitCode::Success;
    if (!timeoutOption(c, &seconds, &code))
        return code;
    if (machine.getOnLoadStatus() == VMToolsMachine::On) {
        const QJsonObject json{{QStringLiteral("name"), name},
                               {QStringLiteral("state"), QStringLiteral("running")},
                               {QStringLiteral("alreadyRunning"), true}};
        return wait ? waitForAddress(c, machine, seconds, json)
                    : c.out().done(json, QStringLiteral("%1 is already running.").arg(name));
    }
    const bool gui = c.options().isSet(QStringLiteral("gui"));
    if (!c.step(QStringLiteral("Starting %1").arg(name)))
        return c.interrupted();
    // The address of the previous boot would otherwise pass for this one's.
    machine.resetIP();
    if (!c.engine()->startMachine(&machine,
                                  gui ? VMToolsMachine::GuiLaunch : VMToolsMachine::HeadlessLaunch))
        return c.fail(QStringLiteral("%1 could not be started").arg(name));
    c.stepDone();
    const QJsonObject json{{QStringLiteral("name"), name},
                           {QStringLiteral("state"), QStringLiteral("running")},
                           {QStringLiteral("alreadyRunning"), false}};
    if (wait)
        return waitForAddress(c, machine, seconds, json);
    return c.out().done(json,
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
    unsigned int seconds = 0;
    int code = ExitCode::Success;
    if (!timeoutOption(c, &seconds, &code))
        return code;
    if (machine.getOnLoadStatus() != VMToolsMachine::On)
        return c.fail(QStringLiteral("%1 is not running; start it first").arg(machine.getName()));
    return waitForAddress(c, machine, seconds, QJsonObject());
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
        return c.fail(ResultWords::factoryReset(result), {{QStringLiteral("result"), result}});
    return c.out().done({{QStringLiteral("name"), name}},
                        QStringLiteral("%1 is back to its factory state.").arg(name));
}

} // namespace

namespace Commands {

QList<Command> lifecycleCommands()
{
    const QString name = QStringLiteral("NAME");
    const QCommandLineOption timeout(TimeoutOption,
                                     QStringLiteral("Wait at most SECONDS for the address "
                                                    "(120 by default)."),
                                     QStringLiteral("SECONDS"));
    Command startCommand{
        QStringLiteral("start"),
        QStringLiteral("Start a device (headless)"),
        QStringLiteral("Starts the device without a window, or in a VirtualBox "
                       "window with --gui. A paused\ndevice is resumed. With "
                       "--wait, then waits for its address as wait-ip does\nand "
                       "prints its ADB serial."),
        name,
        1,
        1,
        {{QStringLiteral("gui"), QStringLiteral("Show the device in a window.")},
         {WaitOption, QStringLiteral("Wait for the device's address; print its ADB serial.")},
         timeout},
        EngineUse::StartUp,
        onNamedDevice(start),
        {}};
    Command stopCommand{QStringLiteral("stop"),
                        QStringLiteral("Power a device off"),
                        QString(),
                        name,
                        1,
                        1,
                        {},
                        EngineUse::Open,
                        onNamedDevice(stop),
                        {}};
    Command checkCommand{QStringLiteral("check"),
                         QStringLiteral("Start a device headless and stop it, to prove it runs"),
                         QString(),
                         name,
                         1,
                         1,
                         {},
                         EngineUse::StartUpToRead,
                         onNamedDevice(check),
                         {}};
    Command waitCommand{QStringLiteral("wait-ip"),
                        QStringLiteral("Wait for a running device's address; print its ADB "
                                       "serial"),
                        QStringLiteral("Waits for the address that the device publishes (120 "
                                       "seconds unless --timeout\nsays otherwise), then prints "
                                       "the ADB serial (address:5555)."),
                        name,
                        1,
                        1,
                        {timeout},
                        EngineUse::Open,
                        onNamedDevice(waitIp),
                        {}};
    Command backupCommand{QStringLiteral("factory-backup"),
                          QStringLiteral("Take the snapshot that a factory reset returns to"),
                          QString(),
                          name,
                          1,
                          1,
                          {},
                          EngineUse::Open,
                          onNamedDevice(factoryBackup),
                          {}};
    Command resetCommand{QStringLiteral("factory-reset"),
                         QStringLiteral("Return a device to its factory backup"),
                         QString(),
                         name,
                         1,
                         1,
                         {},
                         EngineUse::Open,
                         onNamedDevice(factoryReset),
                         {}};
    startCommand.check = checkTimeout;
    waitCommand.check = checkTimeout;
    resetCommand.check = [](CommandContext &c) {
        return c.confirm(QStringLiteral("Return %1 to its factory backup? Everything since is "
                                        "lost.")
                             .arg(c.argument(0)));
    };
    resetCommand.options.append(CommandContext::yesOption());
    return {startCommand, stopCommand, checkCommand, waitCommand, backupCommand, resetCommand};
}

} // namespace Commands
