// SPDX-License-Identifier: Apache-2.0
#include "console.h"
#include "context.h"
#include "dispatch.h"
#include "faults.h"
#include "format.h"

#include <QHostAddress>

namespace VBoxSim {

namespace {

int prefixLength(const QString &mask)
{
    quint32 bits = QHostAddress(mask).toIPv4Address();
    int length = 0;
    while (bits & 0x80000000u) {
        ++length;
        bits <<= 1;
    }
    return length;
}

QString networkAddress(const QString &ip, const QString &mask)
{
    return QHostAddress(QHostAddress(ip).toIPv4Address() & QHostAddress(mask).toIPv4Address())
        .toString();
}

QString broadcast(const QString &ip, const QString &mask)
{
    return QHostAddress(QHostAddress(ip).toIPv4Address() | ~QHostAddress(mask).toIPv4Address())
        .toString();
}

int showAddress(const HostState &host, const QString &device, bool forcedDown)
{
    int number = 2;
    const QString loopback = QStringLiteral("lo");
    if (device == loopback) {
        printOut(
            QStringLiteral("1: lo: <LOOPBACK,UP,LOWER_UP> mtu 65536 qdisc noqueue state UNKNOWN "
                           "group default qlen 1000\n    link/loopback 00:00:00:00:00:00 brd "
                           "00:00:00:00:00:00\n    inet 127.0.0.1/8 scope host lo\n       "
                           "valid_lft forever preferred_lft forever\n"));
        return 0;
    }
    for (const BridgedInterface &b : host.bridgedInterfaces) {
        if (b.name == device) {
            printOut(
                QStringLiteral("%1: %2: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 qdisc "
                               "pfifo_fast state UP group default qlen 1000\n    link/ether %3 "
                               "brd ff:ff:ff:ff:ff:ff\n    inet %4/%5 brd %6 scope global "
                               "dynamic %2\n       valid_lft 86000sec preferred_lft 86000sec\n")
                    .arg(number)
                    .arg(b.name, b.mac, b.ipAddress)
                    .arg(prefixLength(b.networkMask))
                    .arg(broadcast(b.ipAddress, b.networkMask)));
            return 0;
        }
        ++number;
    }
    for (const HostOnlyInterface &i : host.hostOnlyInterfaces) {
        if (i.name == device) {
            HostOnlyInterface shown = i;
            shown.up = i.up && !forcedDown;
            const QString flags = shown.up ? QStringLiteral("BROADCAST,MULTICAST,UP,LOWER_UP")
                                           : QStringLiteral("BROADCAST,MULTICAST");
            printOut(QStringLiteral("%1: %2: <%3> mtu 1500 qdisc pfifo_fast state %4 group default "
                                    "qlen 1000\n    link/ether %5 brd ff:ff:ff:ff:ff:ff\n    inet "
                                    "%6/%7 brd %8 scope global %2\n       valid_lft forever "
                                    "preferred_lft forever\n")
                         .arg(number + shown.index)
                         .arg(shown.name, flags,
                              shown.up ? QStringLiteral("UP") : QStringLiteral("DOWN"),
                              hostOnlyMac(shown.index), shown.ipAddress)
                         .arg(prefixLength(shown.networkMask))
                         .arg(broadcast(shown.ipAddress, shown.networkMask)));
            return 0;
        }
    }
    printErr(QStringLiteral("Device \"%1\" does not exist.\n").arg(device));
    return 1;
}

int showRoutes(const HostState &host)
{
    QString text;
    for (const BridgedInterface &b : host.bridgedInterfaces) {
        if (text.isEmpty())
            text += QStringLiteral("default via %1 dev %2 proto dhcp metric 100 \n")
                        .arg(networkAddress(b.ipAddress, b.networkMask).section('.', 0, 2) + ".2",
                             b.name);
        text += QStringLiteral("%1/%2 dev %3 proto kernel scope link src %4 metric 100 \n")
                    .arg(networkAddress(b.ipAddress, b.networkMask))
                    .arg(prefixLength(b.networkMask))
                    .arg(b.name, b.ipAddress);
    }
    for (const HostOnlyInterface &i : host.hostOnlyInterfaces)
        if (i.up && !i.ipAddress.isEmpty())
            text += QStringLiteral("%1/%2 dev %3 proto kernel scope link src %4 \n")
                        .arg(networkAddress(i.ipAddress, i.networkMask))
                        .arg(prefixLength(i.networkMask))
                        .arg(i.name, i.ipAddress);
    printOut(text);
    return 0;
}

} // namespace

int runIp(const QStringList &args)
{
    const QString home = QString::fromLocal8Bit(qgetenv("VBOXSIM_HOME"));
    if (home.isEmpty()) {
        printErr(QStringLiteral("ip: VBOXSIM_HOME is not set\n"));
        return 1;
    }
    StateStore store(home);
    QString error;
    if (!store.lock(&error)) {
        printErr(QStringLiteral("ip: %1\n").arg(error));
        return 1;
    }
    const HostState host = store.load();
    // "ip/addr down" in the fault file shows host-only interfaces with their link down.
    Faults faults;
    faults.load(QString::fromLocal8Bit(qgetenv("VBOXSIM_FAULTS")), home);
    const Fault *fault = faults.take(QStringList{QStringLiteral("ip")} + args);
    if (fault && fault->kind == QLatin1String("fail")) {
        printErr(fault->message.isEmpty() ? QStringLiteral("RTNETLINK answers: Operation not "
                                                           "permitted\n")
                                          : fault->message + '\n');
        return fault->exitCode;
    }
    const bool addressShow = args.size() == 4 && args[0].startsWith(QLatin1String("a")) &&
                             args[1] == QLatin1String("show") && args[2] == QLatin1String("dev");
    if (addressShow)
        return showAddress(host, args[3], fault && fault->kind == QLatin1String("down"));
    if (args.size() == 1 && QStringLiteral("route").startsWith(args[0]) && args[0].size() >= 1 &&
        args[0].startsWith('r'))
        return showRoutes(host);
    printErr(QStringLiteral("Object \"%1\" is unknown, try \"ip help\".\n").arg(args.value(0)));
    return 255;
}

} // namespace VBoxSim
