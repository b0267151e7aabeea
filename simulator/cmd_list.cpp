// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "console.h"

namespace VBoxSim {

namespace {

QString machineList(const HostState &host, bool runningOnly)
{
    QString text;
    for (const Machine &m : host.machines)
        if (!runningOnly || m.isRunning())
            text += QStringLiteral("\"%1\" {%2}\n").arg(m.name, m.uuid);
    return text;
}

// Each machine's showvminfo block, one after the other as VBoxManage prints them.
QString longMachineList(Context &context)
{
    QStringList blocks;
    for (const Machine &m : context.host.machines)
        blocks.append(context.format->showVmInfo(context.host, m));
    return blocks.join(QString());
}

QString hardDisks(Context &context)
{
    QStringList blocks;
    for (const Medium &m : context.host.media) {
        const QStringList users = context.host.machinesUsing(m.uuid);
        QString block = QStringLiteral("UUID:           %1\n"
                                       "Parent UUID:    base\n"
                                       "State:          created\n"
                                       "Type:           normal (base)\n"
                                       "Location:       %2\n"
                                       "Storage format: %3\n"
                                       "Capacity:       %4 MBytes\n"
                                       "Encryption:     disabled\n")
                            .arg(m.uuid, m.location, m.format)
                            .arg(m.sizeMB);
        if (!users.isEmpty())
            block += QStringLiteral("In use by VMs:  %1\n").arg(users.join(QStringLiteral(", ")));
        blocks.append(block);
    }
    return blocks.join('\n') + (blocks.isEmpty() ? QString() : QStringLiteral("\n"));
}

} // namespace

int listCommand(Context &context, const QStringList &args)
{
    const Options options(args, 1, {"--long", "-l", "--sorted", "-s"});
    if (options.positional().size() != 1)
        return syntaxError(context, QStringLiteral("Missing or invalid list type"));
    const QString what = options.positional().first();
    const Format &f = *context.format;
    QString text;
    if (what == QLatin1String("vms") && (options.has("--long") || options.has("-l")))
        text = longMachineList(context);
    else if (what == QLatin1String("vms"))
        text = machineList(context.host, false);
    else if (what == QLatin1String("runningvms"))
        text = machineList(context.host, true);
    else if (what == QLatin1String("hostinfo"))
        text = f.hostInfo(context.host);
    else if (what == QLatin1String("systemproperties"))
        text = f.systemProperties(context.host);
    else if (what == QLatin1String("hostonlyifs"))
        text = f.hostOnlyInterfaces(context.host);
    else if (what == QLatin1String("bridgedifs"))
        text = f.bridgedInterfaces(context.host);
    else if (what == QLatin1String("dhcpservers"))
        text = f.dhcpServers(context.host);
    else if (what == QLatin1String("intnets"))
        text = f.internalNetworks(context.host);
    else if (what == QLatin1String("natnets") || what == QLatin1String("natnetworks"))
        text = f.natNetworks();
    else if (what == QLatin1String("hdds"))
        text = hardDisks(context);
    else
        return syntaxError(context, QStringLiteral("Invalid parameter '%1'").arg(what));
    printOut(text);
    return ExitSuccess;
}

} // namespace VBoxSim
