// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "console.h"

#include <QHostAddress>

namespace VBoxSim {

namespace {

const QString HostonlyFile = QStringLiteral("VBoxManageHostonly.cpp");
const QString DhcpFile = QStringLiteral("VBoxManageDHCPServer.cpp");

QString networkOf(const QString &interfaceName)
{
    return QStringLiteral("HostInterfaceNetworking-") + interfaceName;
}

void interfaceNotFound(const QString &name, int line, const QString &file)
{
    printComError(
        {QStringLiteral("The host network interface named '%1' could not be found").arg(name),
         codeInvalidArg(), QStringLiteral("HostWrap"), QStringLiteral("IHost"),
         QStringLiteral("FindHostNetworkInterfaceByName(Bstr(pszName).raw(), "
                        "hif.asOutParam())"),
         line, file});
}

int createInterface(Context &context)
{
    if (context.faultIs("fail")) {
        printErr(context.format->progressFailure(QStringLiteral("NS_ERROR_FAILURE")));
        printProgressError({QStringLiteral("Failed to create the host-only adapter\nVBoxNetAdpCtl: "
                                           "Error while adding new interface: failed to open "
                                           "/dev/vboxnetctl: No such file or directory"),
                            codeFailure(), QStringLiteral("HostNetworkInterfaceWrap"),
                            QStringLiteral("IHostNetworkInterface"),
                            QStringLiteral("RTEXITCODE handleCreate(HandlerArg*)"),
                            context.format->sourceLine(SourceCall::HostOnlyCreate), HostonlyFile});
        return ExitFailure;
    }
    int index = 0;
    while (context.host.findHostOnly(QStringLiteral("vboxnet%1").arg(index)))
        ++index;
    HostOnlyInterface iface;
    iface.name = QStringLiteral("vboxnet%1").arg(index);
    iface.index = index;
    iface.ipAddress = QStringLiteral("192.168.%1.1").arg(56 + index);
    iface.networkMask = QStringLiteral("255.255.255.0");
    context.host.hostOnlyInterfaces.append(iface);
    context.changed = true;
    printProgress(context);
    printOut(context.format->tr(QStringLiteral("Interface '%1' was successfully created"))
                 .arg(iface.name) +
             '\n');
    return ExitSuccess;
}

int removeInterface(Context &context, const QString &name)
{
    HostState &host = context.host;
    if (!host.findHostOnly(name)) {
        interfaceNotFound(name, context.format->sourceLine(SourceCall::HostOnlyRemove),
                          HostonlyFile);
        return ExitFailure;
    }
    printProgress(context);
    for (int i = 0; i < host.hostOnlyInterfaces.size(); ++i)
        if (host.hostOnlyInterfaces[i].name == name)
            host.hostOnlyInterfaces.removeAt(i--);
    // VirtualBox drops the interface's DHCP server with it.
    for (int i = 0; i < host.dhcpServers.size(); ++i)
        if (host.dhcpServers[i].networkName == networkOf(name))
            host.dhcpServers.removeAt(i--);
    context.changed = true;
    return ExitSuccess;
}

bool allowedHostOnlyAddress(const QString &ip)
{
    return QHostAddress(ip).isInSubnet(QHostAddress(QStringLiteral("192.168.56.0")), 21);
}

int configureInterface(Context &context, const QStringList &args)
{
    HostOnlyInterface *iface = context.host.findHostOnly(args[2]);
    if (!iface) {
        interfaceNotFound(args[2], context.format->sourceLine(SourceCall::HostOnlyIpConfig),
                          HostonlyFile);
        return ExitFailure;
    }
    const Options options(args, 3, {"--dhcp"});
    const QString ip = options.value(QStringLiteral("--ip"));
    if (ip.isEmpty() && !options.has(QStringLiteral("--dhcp")))
        return syntaxError(context,
                           QStringLiteral("Neither -dhcp nor -ip nor -ipv6 was specfified"));
    if (ip.isEmpty())
        return ExitSuccess;
    if (QHostAddress(ip).protocol() != QAbstractSocket::IPv4Protocol)
        return syntaxError(context, QStringLiteral("Invalid IP address '%1'").arg(ip));
    if (context.format->restrictsHostOnlyAddresses() && !allowedHostOnlyAddress(ip)) {
        printError(QStringLiteral("Code E_ACCESSDENIED (0x80070005) - Access denied (extended info "
                                  "not available)\nContext: \"EnableStaticIPConfig(Bstr(pszIp)."
                                  "raw(), Bstr(pszNetmask).raw())\" at line %1 of file %2")
                       .arg(context.format->sourceLine(SourceCall::HostOnlyIpConfig) + 10)
                       .arg(HostonlyFile));
        return ExitFailure;
    }
    iface->ipAddress = ip;
    iface->networkMask =
        options.value(QStringLiteral("--netmask"), QStringLiteral("255.255.255.0"));
    context.changed = true;
    return ExitSuccess;
}

// Option names of 5.2 and their 6.1 spellings, all accepted.
QString dhcpOption(const Options &options, const QStringList &names)
{
    for (const QString &name : names)
        if (options.has(name))
            return options.value(name);
    return QString();
}

// The first option that 5.2 and 6.0 do not know, such as the spellings 6.1 brought.
QString unknownOldDhcpOption(const QStringList &args)
{
    static const QStringList known = {
        "--netname", "-netname", "--ifname",  "-ifname",  "--ip",      "-ip",
        "--netmask", "-netmask", "--lowerip", "-lowerip", "--upperip", "-upperip",
        "--enable",  "-enable",  "--disable", "-disable", "--options", "-options",
        "--vm",      "--slot",   "--nic",     "--id",     "--value",   "--remove"};
    for (int i = 2; i < args.size(); ++i)
        if (args[i].startsWith('-') && !known.contains(args[i].section('=', 0, 0)))
            return args[i];
    return QString();
}

int dhcpAdd(Context &context, const Options &options, const QString &network,
            const QString &interfaceName)
{
    const QString ip = dhcpOption(options, {"--ip", "-ip", "--server-ip"});
    const QString mask = dhcpOption(options, {"--netmask", "-netmask"});
    const QString lower = dhcpOption(options, {"--lowerip", "-lowerip", "--lower-ip"});
    const QString upper = dhcpOption(options, {"--upperip", "-upperip", "--upper-ip"});
    const bool rewritten = context.format->rewrittenDhcpServerCommand();
    const QStringList missing = {ip.isEmpty() ? "--ip" : "", mask.isEmpty() ? "--netmask" : "",
                                 lower.isEmpty() ? "--lowerip" : "",
                                 upper.isEmpty() ? "--upperip" : ""};
    for (const QString &option : missing)
        if (!option.isEmpty())
            return syntaxError(
                context, rewritten ? QStringLiteral("Missing required option: %1").arg(option)
                                   : QStringLiteral("You need to specify %1 option").arg(option));
    if (context.host.findDhcpServer(network)) {
        printError(QStringLiteral("DHCP server already exists"));
        return ExitSyntax;
    }
    if (!interfaceName.isEmpty() && !context.host.findHostOnly(interfaceName)) {
        interfaceNotFound(interfaceName, 296, DhcpFile);
        printError(QStringLiteral("Could not find interface '%1'").arg(interfaceName));
        return ExitSyntax;
    }
    DhcpServer server;
    server.networkName = network;
    server.ipAddress = ip;
    server.networkMask = mask;
    server.lowerIp = lower;
    server.upperIp = upper;
    server.enabled =
        options.has(QStringLiteral("--enable")) || options.has(QStringLiteral("-enable"));
    context.host.dhcpServers.append(server);
    context.changed = true;
    return ExitSuccess;
}

int dhcpRemove(Context &context, const QString &network, const QString &interfaceName)
{
    HostState &host = context.host;
    if (!host.findDhcpServer(network)) {
        if (!context.format->rewrittenDhcpServerCommand()) {
            printError(QStringLiteral("DHCP server does not exist"));
            return ExitSyntax;
        }
        printError(interfaceName.isEmpty()
                       ? QStringLiteral("Failed to find DHCP server for network '%1'").arg(network)
                       : QStringLiteral("Failed to find DHCP server for host-only interface '%1' "
                                        "(network '%2')")
                             .arg(interfaceName, network));
        return ExitFailure;
    }
    for (int i = 0; i < host.dhcpServers.size(); ++i)
        if (host.dhcpServers[i].networkName == network)
            host.dhcpServers.removeAt(i--);
    context.changed = true;
    return ExitSuccess;
}

int dhcpModify(Context &context, const Options &options, const QString &network)
{
    DhcpServer *server = context.host.findDhcpServer(network);
    if (!server) {
        printError(QStringLiteral("DHCP server does not exist"));
        return ExitSyntax;
    }
    const QString ip = dhcpOption(options, {"--ip", "-ip", "--server-ip"});
    const QString mask = dhcpOption(options, {"--netmask", "-netmask"});
    const QString lower = dhcpOption(options, {"--lowerip", "-lowerip", "--lower-ip"});
    const QString upper = dhcpOption(options, {"--upperip", "-upperip", "--upper-ip"});
    if (!ip.isEmpty())
        server->ipAddress = ip;
    if (!mask.isEmpty())
        server->networkMask = mask;
    if (!lower.isEmpty())
        server->lowerIp = lower;
    if (!upper.isEmpty())
        server->upperIp = upper;
    if (options.has(QStringLiteral("--enable")))
        server->enabled = true;
    if (options.has(QStringLiteral("--disable")))
        server->enabled = false;
    context.changed = true;
    return ExitSuccess;
}

} // namespace

int setPropertyCommand(Context &context, const QStringList &args)
{
    if (args.size() != 3)
        return syntaxError(context, QStringLiteral("Incorrect number of parameters"));
    if (args[1] != QLatin1String("machinefolder"))
        return syntaxError(context, QStringLiteral("Invalid parameter '%1'").arg(args[1]));
    // VBoxManage passes "default" on as an empty path, and VBoxSVC takes an empty path,
    // however it came, for its default folder.
    const bool reset = args[2].isEmpty() || args[2] == QLatin1String("default");
    context.host.machineFolder =
        reset ? HostState::defaultHost(context.home).machineFolder : cleanAbsolutePath(args[2]);
    context.changed = true;
    return ExitSuccess;
}

int hostOnlyIfCommand(Context &context, const QStringList &args)
{
    if (args.size() < 2)
        return syntaxError(context, QStringLiteral("Not enough parameters"));
    const QString sub = args[1];
    if (sub == QLatin1String("create"))
        return createInterface(context);
    if (args.size() < 3)
        return syntaxError(context, QStringLiteral("Not enough parameters"));
    if (sub == QLatin1String("remove"))
        return removeInterface(context, args[2]);
    if (sub == QLatin1String("ipconfig"))
        return configureInterface(context, args);
    return syntaxError(context, QStringLiteral("Invalid parameter '%1'").arg(sub));
}

int dhcpServerCommand(Context &context, const QStringList &args)
{
    if (args.size() < 2)
        return syntaxError(context, QStringLiteral("Not enough parameters"));
    const bool rewritten = context.format->rewrittenDhcpServerCommand();
    const QString unknown = rewritten ? QString() : unknownOldDhcpOption(args);
    if (!unknown.isEmpty())
        return syntaxError(context, QStringLiteral("Unknown option: %1").arg(unknown));
    // From 6.1 on the network may also come before the subcommand.
    const Options options(args, rewritten ? 1 : 2,
                          {"--enable", "-enable", "--disable", "-disable"});
    const QString sub = rewritten ? options.positional().value(0) : args[1];
    const QString interfaceName = dhcpOption(options, {"--ifname", "-ifname", "--interface"});
    QString network = dhcpOption(options, {"--netname", "-netname", "--network"});
    if (network.isEmpty() == interfaceName.isEmpty())
        return syntaxError(context, rewritten
                                        ? QStringLiteral("You need to specify either --network or "
                                                         "--interface to identify the DHCP server")
                                        : QStringLiteral("You need to specify either --netname or "
                                                         "--ifname to identify the DHCP server"));
    if (network.isEmpty())
        network = networkOf(interfaceName);
    if (sub == QLatin1String("add"))
        return dhcpAdd(context, options, network, interfaceName);
    if (sub == QLatin1String("remove"))
        return dhcpRemove(context, network, interfaceName);
    if (sub == QLatin1String("modify"))
        return dhcpModify(context, options, network);
    return syntaxError(context, QStringLiteral("Invalid parameter '%1'").arg(sub));
}

} // namespace VBoxSim
