// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagecore.h"

#include <vmtools/vboxlog.h>
#include <vmtools/vboxmanagecommon.h>

#include <QFile>
#include <QTextStream>

namespace {

// One block: the command line, what it printed, three line feeds. A failing command still
// leaves its block, since what it printed is what support needs to see.
void writeBlock(QTextStream &stream, const QString &program, const QStringList &arguments)
{
    const VBoxManageCommon::CallResult result = VBoxManageCommon::call(program, arguments);
    stream << QStringLiteral("%1 %2\n").arg(program, arguments.join(QLatin1Char(' ')))
           << result.output << QStringLiteral("\n\n\n");
}

} // namespace

void VBoxManageCore::dumpInfos(QFile *file)
{
    VBoxLog::debug() << "Generate info file";
    if (!file)
        return;
    QTextStream stream(file);
    stream.setCodec("UTF-8");
    writeBlock(stream, m_vboxManagePath, {QStringLiteral("--version")});
    for (const char *listing :
         {"intnets", "natnets", "bridgedifs", "dhcpservers", "hostonlyifs", "hostinfo"})
        writeBlock(stream, m_vboxManagePath, {QStringLiteral("list"), QLatin1String(listing)});
}
