// SPDX-License-Identifier: Apache-2.0
#include "commandcontext.h"
#include "commands.h"
#include "guestlimits.h"
#include "jsonvalues.h"
#include "output.h"
#include "profilekeys.h"
#include "resultwords.h"

#include <vmtools/callmemo.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>

#include <QJsonArray>

#include <optional>

namespace {

struct Change
{
    const ProfileKey *key;
    QVariant value;
};

int unknownKey(CommandContext &c, const QString &name, bool writableOnly)
{
    return c.usage(QStringLiteral("unknown profile value \"%1\"; known: %2")
                       .arg(name, ProfileKeys::names(writableOnly).join(QStringLiteral(", "))));
}

int get(CommandContext &c)
{
    QList<const ProfileKey *> keys;
    for (const QString &name : c.arguments().mid(1)) {
        const ProfileKey *key = ProfileKeys::find(name);
        if (!key)
            return unknownKey(c, name, false);
        keys.append(key);
    }
    if (keys.isEmpty()) {
        for (const ProfileKey &key : ProfileKeys::all())
            keys.append(&key);
    }
    CallMemo memo;
    const CallMemo::Scope reads(memo);
    DeviceReads::readAhead(memo, c.argument(0), DeviceReads::Depth::Open);
    int code = ExitCode::Success;
    const auto machine = c.machine(c.argument(0), &code);
    if (!machine)
        return code;

    QJsonObject values;
    TextFormat::Fields fields;
    for (const ProfileKey *key : keys) {
        const QVariant value = key->read(*machine);
        values.insert(ProfileKeys::jsonName(*key), ProfileKeys::jsonValue(*key, value));
        fields.append({key->name, ProfileKeys::displayText(*key, value)});
    }
    // One value alone is printed bare, for $(vmtools get phone density).
    const QString text =
        fields.size() == 1 ? fields.constFirst().second : TextFormat::fields(fields);
    return c.out().done(
        {{QStringLiteral("name"), machine->getName()}, {QStringLiteral("values"), values}}, text);
}

// Every pair is checked before anything is written, so a typo changes nothing.
bool parseChanges(CommandContext &c, QList<Change> *changes, int *exitCode)
{
    const QStringList pairs = c.arguments().mid(1);
    if (pairs.size() % 2 != 0) {
        *exitCode = c.usage(QStringLiteral("\"%1\" has no value").arg(pairs.constLast()));
        return false;
    }
    for (int i = 0; i < pairs.size(); i += 2) {
        const ProfileKey *key = ProfileKeys::find(pairs.at(i));
        if (!key) {
            *exitCode = unknownKey(c, pairs.at(i), true);
            return false;
        }
        if (!key->write) {
            *exitCode = c.usage(QStringLiteral("%1 cannot be changed").arg(key->name));
            return false;
        }
        QVariant value;
        QString error;
        if (!ProfileKeys::parse(*key, pairs.at(i + 1), &value, &error)) {
            *exitCode = c.usage(error);
            return false;
        }
        changes->append({key, value});
    }
    return true;
}

bool withinLimits(CommandContext &c, const QList<Change> &changes, int *exitCode)
{
    std::optional<GuestLimits::Limits> limits;
    for (const Change &change : changes) {
        const bool cpus = change.key->name == QLatin1String("cpus");
        if (!cpus && change.key->name != QLatin1String("memory"))
            continue;
        if (!limits)
            limits = GuestLimits::read(c.engine()->getMaxCpuCount(), c.engine()->getMaxMemory());
        const QString problem = GuestLimits::problem(change.key->name, change.value.toUInt(),
                                                     cpus ? limits->cpus : limits->memory,
                                                     cpus ? QString() : QStringLiteral("MB"));
        if (!problem.isEmpty()) {
            *exitCode = c.usage(problem);
            return false;
        }
    }
    return true;
}

// VirtualBox changes processors and memory only on a powered-off machine.
bool needsStopped(const QList<Change> &changes)
{
    for (const Change &change : changes) {
        if (change.key->name == QLatin1String("cpus") ||
            change.key->name == QLatin1String("memory"))
            return true;
    }
    return false;
}

int checkSet(CommandContext &c)
{
    QList<Change> changes;
    int code = ExitCode::Success;
    parseChanges(c, &changes, &code);
    return code;
}

int set(CommandContext &c)
{
    QList<Change> changes;
    int code = ExitCode::Success;
    if (!parseChanges(c, &changes, &code) || !withinLimits(c, changes, &code))
        return code;
    const auto machine = c.machine(c.argument(0), &code);
    if (!machine)
        return code;
    const QString name = machine->getName();
    if (needsStopped(changes) && machine->getOnLoadStatus() == VMToolsMachine::On)
        return c.fail(
            QStringLiteral("%1 is running; stop it before changing cpus or memory").arg(name));

    QJsonObject changed;
    QStringList applied;
    QString text;
    for (const Change &change : changes) {
        const QString shown = ProfileKeys::displayText(*change.key, change.value);
        if (!c.step(QStringLiteral("Setting %1 of %2").arg(change.key->name, name)))
            return c.interrupted();
        if (!change.key->write(*machine, change.value)) {
            c.stepDone();
            // What went through stays changed: say so, in the text as in the JSON.
            QString message = QStringLiteral("VirtualBox did not take %1 %2 for %3")
                                  .arg(change.key->name, shown, name);
            if (!applied.isEmpty())
                message +=
                    QStringLiteral("; already changed: ") + applied.join(QStringLiteral(", "));
            return c.fail(message, {{QStringLiteral("changed"), changed}});
        }
        applied << change.key->name + QLatin1Char(' ') + shown;
        changed.insert(ProfileKeys::jsonName(*change.key),
                       ProfileKeys::jsonValue(*change.key, change.value));
        text += QStringLiteral("%1 set to %2\n").arg(change.key->name, shown);
    }
    c.stepDone();
    return c.out().done({{QStringLiteral("name"), name}, {QStringLiteral("changed"), changed}},
                        text);
}

QJsonObject connectionJson(const VMToolsMachine::ConnectionInfo &info)
{
    return {{QStringLiteral("type"), JsonValues::connection(info.type())},
            {QStringLiteral("interface"), JsonValues::text(info.name())}};
}

QString connectionText(const VMToolsMachine::ConnectionInfo &info)
{
    const QString type = ResultWords::connection(info.type());
    return info.name().isEmpty() ? type : type + QStringLiteral(" to ") + info.name();
}

int showNetwork(CommandContext &c, VMToolsMachine &machine)
{
    if (!c.step(QStringLiteral("Reading the network of %1").arg(machine.getName())))
        return c.interrupted();
    const VMToolsMachine::AdapterType adapter1 = machine.getAdapterType(1);
    const VMToolsMachine::ConnectionInfo info = machine.getConnectionInfo();
    c.stepDone();
    return c.out().done(
        {{QStringLiteral("name"), machine.getName()},
         {QStringLiteral("adapter1"), JsonValues::adapter(adapter1)},
         {QStringLiteral("adapter2"), connectionJson(info)}},
        TextFormat::fields({{QStringLiteral("Adapter 1"), ResultWords::adapter(adapter1)},
                            {QStringLiteral("Adapter 2"), connectionText(info)}}));
}

int listInterfaces(CommandContext &c, VMToolsMachine &machine)
{
    if (!c.step(QStringLiteral("Listing bridgeable interfaces")))
        return c.interrupted();
    const QStringList interfaces = machine.getBridgeableInterfaces();
    c.stepDone();
    const QString text = interfaces.isEmpty() ? QStringLiteral("No bridgeable interfaces.")
                                              : interfaces.join(QLatin1Char('\n'));
    return c.out().done({{QStringLiteral("interfaces"), QJsonArray::fromStringList(interfaces)}},
                        text);
}

int changeNetwork(CommandContext &c, VMToolsMachine &machine,
                  const VMToolsMachine::ConnectionInfo &wanted)
{
    const QString name = machine.getName();
    if (!c.step(QStringLiteral("Changing the network of %1").arg(name)))
        return c.interrupted();
    if (!machine.setConnectionInfo(wanted))
        return c.fail(QStringLiteral("VirtualBox could not change the network of %1 (is it "
                                     "running?)")
                          .arg(name));
    const VMToolsMachine::ConnectionInfo now = machine.getConnectionInfo();
    c.stepDone();
    return c.out().done(
        {{QStringLiteral("name"), name}, {QStringLiteral("adapter2"), connectionJson(now)}},
        QStringLiteral("Adapter 2 of %1: %2").arg(name, connectionText(now)));
}

int bridge(CommandContext &c, VMToolsMachine &machine, const QString &interface)
{
    if (!interface.isEmpty()) {
        if (!c.step(QStringLiteral("Listing bridgeable interfaces")))
            return c.interrupted();
        const QStringList interfaces = machine.getBridgeableInterfaces();
        c.stepDone();
        if (!interfaces.contains(interface))
            return c.usage(QStringLiteral("\"%1\" is not a bridgeable interface; known: %2")
                               .arg(interface, interfaces.isEmpty()
                                                   ? QStringLiteral("(none)")
                                                   : interfaces.join(QStringLiteral(", "))));
    }
    return changeNetwork(c, machine,
                         VMToolsMachine::ConnectionInfo::createBridgedConnectionInfo(interface));
}

int network(CommandContext &c)
{
    const QString mode = c.argument(1);
    const QStringList modes{QString(), QStringLiteral("nat"), QStringLiteral("bridged"),
                            QStringLiteral("interfaces")};
    if (!modes.contains(mode))
        return c.usage(QStringLiteral("unknown network mode \"%1\"; use nat, bridged or "
                                      "interfaces")
                           .arg(mode));
    if (mode != QLatin1String("bridged") && c.arguments().size() > 2)
        return c.usage(QStringLiteral("too many arguments"));
    // The adapters, their state and the device check all read the same description.
    CallMemo memo;
    const CallMemo::Scope reads(memo);
    DeviceReads::readAhead(memo, c.argument(0), DeviceReads::Depth::Open);
    int code = ExitCode::Success;
    const auto machine = c.machine(c.argument(0), &code);
    if (!machine)
        return code;
    if (mode.isEmpty())
        return showNetwork(c, *machine);
    if (mode == QLatin1String("interfaces"))
        return listInterfaces(c, *machine);
    if (mode == QLatin1String("nat"))
        return changeNetwork(c, *machine,
                             VMToolsMachine::ConnectionInfo::createNatConnectionInfo());
    return bridge(c, *machine, c.argument(2));
}

} // namespace

namespace Commands {

QList<Command> profileCommands()
{
    QString keys;
    for (const ProfileKey &key : ProfileKeys::all())
        keys += QStringLiteral("\n  %1%2%3")
                    .arg(key.name.leftJustified(22), key.meaning,
                         key.write ? QString() : QStringLiteral(" (read only)"));
    Command getCommand{QStringLiteral("get"),
                       QStringLiteral("Read profile values of a device"),
                       QStringLiteral("Prints the named profile values of the device, or all of "
                                      "them. One value alone is\nprinted bare. Values:") +
                           keys,
                       QStringLiteral("NAME [VALUE...]"),
                       1,
                       -1,
                       {},
                       EngineUse::Open,
                       get,
                       {}};
    Command setCommand{QStringLiteral("set"),
                       QStringLiteral("Change profile values of a device"),
                       QStringLiteral("Changes one or more profile values, given as pairs, for "
                                      "example\n  vmtools set phone resolution 1080x1920 density "
                                      "480 full-screen on\nEvery pair is checked before anything "
                                      "changes. Flags take on/off, yes/no, true/false\nor 1/0. "
                                      "Values:") +
                           keys,
                       QStringLiteral("NAME VALUE-NAME VALUE [VALUE-NAME VALUE...]"),
                       3,
                       -1,
                       {},
                       EngineUse::StartUpToRead,
                       set,
                       {}};
    Command networkCommand{
        QStringLiteral("network"),
        QStringLiteral("Show or change a device's outward network"),
        QStringLiteral("Without a mode, shows both network adapters. \"nat\" connects adapter 2 "
                       "through the host;\n\"bridged\" bridges it to INTERFACE (or to the first "
                       "bridgeable one); \"interfaces\" lists\nthe host interfaces it can be "
                       "bridged to."),
        QStringLiteral("NAME [nat | bridged [INTERFACE] | interfaces]"),
        1,
        3,
        {},
        EngineUse::Open,
        network,
        {}};
    setCommand.check = checkSet;
    return {getCommand, setCommand, networkCommand};
}

} // namespace Commands
