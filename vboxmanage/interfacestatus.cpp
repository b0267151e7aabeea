// SPDX-License-Identifier: Apache-2.0
#include "interfacestatus.h"

#include "ipoutputparser.h"

#include <vmtools/vboxmanagecommon.h>

#include <QProcess>

namespace {

enum InterfaceStatus { Down = 0, Routed = 1, NoRoute = 2, Unavailable = 3 };

// Runs ip to the end; false when it could not start, crashed or failed.
bool runIp(QProcess *process, const QStringList &arguments, QString *output)
{
    process->start(QStringLiteral("ip"), arguments, QIODevice::ReadWrite);
    if (!process->waitForFinished(-1) || process->exitStatus() != QProcess::NormalExit ||
        process->exitCode() != 0)
        return false;
    *output = QString::fromUtf8(process->readAllStandardOutput());
    return true;
}

} // namespace

int getInterfaceStatus(const QString &interfaceName, const QString &interfaceAddress)
{
    Q_UNUSED(interfaceAddress);
    QProcess process;
    process.setProcessEnvironment(VBoxManageCommon::childEnvironment());
    QString addresses;
    if (!runIp(
            &process,
            {QStringLiteral("addr"), QStringLiteral("show"), QStringLiteral("dev"), interfaceName},
            &addresses))
        return Unavailable;
    if (IpOutputParser::isLinkDown(addresses))
        return Down;
    QString routes;
    if (!runIp(&process, {QStringLiteral("route")}, &routes))
        return Unavailable;
    return IpOutputParser::hasRouteThrough(routes, interfaceName) ? Routed : NoRoute;
}
