// SPDX-License-Identifier: Apache-2.0
#include "vboxinterfaceparser.h"

#include <QRegularExpression>

namespace {

// Lines end at line feeds only: whatever follows a name on its line, blanks or a
// carriage return, stays part of it as VBoxManage printed it.
QStringList linesOf(const QString &output)
{
    return output.split(QLatin1Char('\n'));
}

} // namespace

namespace VBoxInterfaceParser {

QStringList parseBridgeableInterfaces(const QString &output)
{
    static const QRegularExpression nameLine(QStringLiteral("^Name:\\s+(.*)"));
    QStringList names;
    for (const QString &line : linesOf(output)) {
        const QRegularExpressionMatch match = nameLine.match(line);
        if (match.hasMatch())
            names.append(match.captured(1));
    }
    return names;
}

bool parseInterfaceStatus(const QString &output, VMToolsMachine::ConnectionType *type,
                          QString *name)
{
    // Adapter 2 is the device's outward connection; adapter 1 is always host-only. One
    // blank before ".*" reads as "\\s+.*" does, without retrying each split of a long run of
    // blanks to the end of the line.
    static const QRegularExpression nicLine(QStringLiteral("^NIC 2:\\s.*Attachment: (.*)"));
    static const QRegularExpression bridged(QStringLiteral("Bridged Interface '(.*)'"));
    for (const QString &line : linesOf(output)) {
        const QRegularExpressionMatch match = nicLine.match(line);
        if (!match.hasMatch())
            continue;
        const QString attachment = match.captured(1);
        if (attachment.startsWith(QLatin1String("NAT"))) {
            *type = VMToolsMachine::NatConnection;
            *name = QString();
            return true;
        }
        if (attachment.startsWith(QLatin1String("Bridged Interface"))) {
            const QRegularExpressionMatch quoted = bridged.match(attachment);
            if (!quoted.hasMatch())
                continue;
            *type = VMToolsMachine::BridgedConnection;
            *name = quoted.captured(1);
            return true;
        }
        *type = VMToolsMachine::UnknownConnection;
        *name = QString();
        return false;
    }
    return false;
}

} // namespace VBoxInterfaceParser
