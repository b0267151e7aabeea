// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "console.h"

#include <QRegularExpression>

#include <algorithm>

namespace VBoxSim {

namespace {

const QString GuestPropFile = QStringLiteral("VBoxManageGuestProp.cpp");

Machine *findMachine(Context &context, const QString &id)
{
    return context.machine(id,
                           QStringLiteral("FindMachine(Bstr(a->argv[1]).raw(), "
                                          "machine.asOutParam())"),
                           94, GuestPropFile);
}

// "--patterns" takes shell-style patterns separated by "|".
bool matchesPatterns(const QString &name, const QString &patterns)
{
    if (patterns.isEmpty())
        return true;
    for (const QString &pattern : patterns.split('|')) {
        const QRegularExpression re(QRegularExpression::wildcardToRegularExpression(pattern));
        if (re.match(name).hasMatch())
            return true;
    }
    return false;
}

int enumerate(Context &context, Machine &machine, const QStringList &args)
{
    const Options options(args, 3, {"--old-format", "--sort", "--unsort"});
    QList<GuestProperty> shown;
    const QString patterns = options.value(QStringLiteral("--patterns"));
    for (const GuestProperty &p : machine.config.guestProperties)
        if (matchesPatterns(p.name, patterns))
            shown.append(p);
    const bool oldFormat = options.has(QStringLiteral("--old-format"));
    if (oldFormat && !context.format->newStyleGuestProperties())
        return syntaxError(context, QStringLiteral("Incorrect parameters"));
    if (context.format->newStyleGuestProperties() && !options.has(QStringLiteral("--unsort")))
        std::sort(shown.begin(), shown.end(),
                  [](const GuestProperty &a, const GuestProperty &b) { return a.name < b.name; });
    if (oldFormat)
        printOut(Format().guestProperties(shown));
    else
        printOut(context.format->guestProperties(shown));
    return ExitSuccess;
}

int get(const Context &context, Machine &machine, const QStringList &args)
{
    const GuestProperty *p = machine.config.guestProperty(args[3]);
    if (!p || p->value.isEmpty()) {
        printOut(context.format->tr(QStringLiteral("No value set!")) + '\n');
        return ExitSuccess;
    }
    QString text = context.format->tr(QStringLiteral("Value: %1")).arg(p->value) + '\n';
    if (args.contains(QStringLiteral("--verbose")))
        text += QStringLiteral("Timestamp: %1\nFlags: %2\n").arg(p->timestampNs).arg(p->flags);
    printOut(text);
    return ExitSuccess;
}

int set(Context &context, Machine &machine, const QStringList &args)
{
    const Options options(args, 4, {});
    const QString name = args[3];
    if (options.positional().isEmpty()) {
        machine.config.removeGuestProperty(name);
    } else {
        machine.config.setGuestProperty(name, options.positional().first(), nowMs() * 1000000,
                                        options.value(QStringLiteral("--flags")));
    }
    context.changed = true;
    return ExitSuccess;
}

} // namespace

int guestPropertyCommand(Context &context, const QStringList &args)
{
    if (args.size() < 3)
        return syntaxError(context, QStringLiteral("Incorrect parameters"));
    const QString sub = args[1];
    static const QStringList known = {"enumerate", "get", "set", "delete", "unset"};
    if (!known.contains(sub))
        return syntaxError(context, QStringLiteral("Incorrect parameters"));
    Machine *machine = findMachine(context, args[2]);
    if (!machine)
        return ExitFailure;
    updateGuests(context);
    if (sub == QLatin1String("enumerate"))
        return enumerate(context, *machine, args);
    if (args.size() < 4)
        return syntaxError(context, QStringLiteral("Incorrect parameters"));
    if (sub == QLatin1String("get"))
        return get(context, *machine, args);
    if (sub == QLatin1String("set"))
        return set(context, *machine, args);
    machine->config.removeGuestProperty(args[3]);
    context.changed = true;
    return ExitSuccess;
}

int getExtraDataCommand(Context &context, const QStringList &args)
{
    if (args.size() < 3)
        return syntaxError(context, QStringLiteral("Incorrect number of parameters"));
    if (args[1] == QLatin1String("global")) {
        if (args[2] != QLatin1String("enumerate"))
            printOut(QStringLiteral("No value set!\n"));
        return ExitSuccess;
    }
    Machine *machine = context.machine(args[1],
                                       QStringLiteral("FindMachine(Bstr(a->argv[0]).raw(), "
                                                      "machine.asOutParam())"),
                                       2593, QStringLiteral("VBoxManageMisc.cpp"));
    if (!machine)
        return ExitFailure;
    if (args[2] == QLatin1String("enumerate")) {
        QString text;
        for (auto it = machine->extraData.cbegin(); it != machine->extraData.cend(); ++it)
            text += QStringLiteral("Key: %1, Value: %2\n").arg(it.key(), it.value());
        printOut(text);
        return ExitSuccess;
    }
    const QString value = machine->extraData.value(args[2]);
    printOut(value.isEmpty() ? QStringLiteral("No value set!\n")
                             : QStringLiteral("Value: %1\n").arg(value));
    return ExitSuccess;
}

} // namespace VBoxSim
