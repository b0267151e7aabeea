#include "vboxoutputparser.h"

#include <QRegularExpression>

namespace {

// The first decimal number captured by pattern in text, if any.
bool findNumber(const QRegularExpression &pattern, const QString &text, unsigned int *value)
{
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return false;
    *value = match.captured(1).toUInt();
    return true;
}

// The attachment line of one place of the IDE controller.
QRegularExpression diskPattern(DiskPort port, DiskDevice device)
{
    return QRegularExpression(
        QStringLiteral("IDEController \\(%1, %2\\):\\s+([^\\n]+)\\s+\\(UUID: ([a-f0-9-]*)\\)")
            .arg(port)
            .arg(device));
}

} // namespace

namespace VBoxOutputParser {

QList<MachineEntry> parseMachineList(const QString &output)
{
    static const QRegularExpression line(QStringLiteral("^\"(.+)\" \\{(.+)\\}$"));
    QList<MachineEntry> machines;
    const QStringList lines = output.split(QLatin1Char('\n'), Qt::KeepEmptyParts);
    for (const QString &text : lines) {
        const QRegularExpressionMatch match = line.match(text.trimmed());
        if (match.hasMatch())
            machines.append({match.captured(1), match.captured(2)});
    }
    return machines;
}

QList<DhcpServerRecord> parseDhcpServers(const QString &output)
{
    // Lazy quantifiers throughout: each ".*?" stops at the next field, so one match is one
    // record, the reading that QRegExp's minimal mode gave at a fraction of its cost.
    static const QRegularExpression record(
        QStringLiteral("\\bNetworkName:\\s+?([^\\r\\n]+?)\\r?\\n.*?"
                       "\\bIP:\\s+?(\\d+?\\.\\d+?\\.\\d+?\\.\\d+?)\\r?\\n.*?"
                       "\\bNetworkMask:\\s+?(\\d+?\\.\\d+?\\.\\d+?\\.\\d+?)\\r?\\n.*?"
                       "\\blowerIPAddress:\\s+?(\\d+?\\.\\d+?\\.\\d+?\\.\\d+?)\\r?\\n.*?"
                       "\\bupperIPAddress:\\s+?(\\d+?\\.\\d+?\\.\\d+?\\.\\d+?)\\r?\\n.*?"
                       "\\bEnabled:\\s+?([^\\r\\n]+?)\\r?\\n"),
        QRegularExpression::DotMatchesEverythingOption);
    QList<DhcpServerRecord> servers;
    QRegularExpressionMatchIterator it = record.globalMatch(output);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        DhcpServerRecord server;
        server.networkName = match.captured(1).trimmed();
        server.enabled = match.captured(6).trimmed().toLower() == QLatin1String("yes");
        if (server.enabled) {
            server.ipAddress = match.captured(2).trimmed();
            server.networkMask = match.captured(3).trimmed();
            server.lowerIpAddress = match.captured(4).trimmed();
            server.upperIpAddress = match.captured(5).trimmed();
        }
        servers.append(server);
    }
    return servers;
}

QList<HostOnlyRecord> parseHostOnlyInterfaces(const QString &output)
{
    // Lazy quantifiers throughout, as for the DHCP servers: one match is one record.
    static const QRegularExpression record(
        QStringLiteral("\\bName:\\s+?([^\\r\\n]+?)\\r?\\n.*?"
                       "\\bIPAddress:\\s+?(\\d+?\\.\\d+?\\.\\d+?\\.\\d+?)\\r?\\n.*?"
                       "\\bNetworkMask:\\s+?(\\d+?\\.\\d+?\\.\\d+?\\.\\d+?)\\r?\\n"),
        QRegularExpression::DotMatchesEverythingOption);
    QList<HostOnlyRecord> interfaces;
    QRegularExpressionMatchIterator it = record.globalMatch(output);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        interfaces.append({match.captured(1).trimmed(), match.captured(2).trimmed(),
                           match.captured(3).trimmed()});
    }
    return interfaces;
}

QList<QPair<QString, QString>> parseGuestProperties(const QString &output)
{
    static const QRegularExpression property(
        QStringLiteral("Name: (\\w+), value: (.*), timestamp:.*"));
    QList<QPair<QString, QString>> properties;
    QRegularExpressionMatchIterator it = property.globalMatch(output);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        properties.append({match.captured(1), match.captured(2)});
    }
    return properties;
}

bool parseCpuCount(const QString &description, unsigned int *count)
{
    static const QRegularExpression cpus(QStringLiteral("Number of CPUs:\\s+(\\d+)"));
    return findNumber(cpus, description, count);
}

bool parseMemorySize(const QString &description, unsigned int *megabytes)
{
    static const QRegularExpression memory(QStringLiteral("Memory size:\\s+(\\d+)"));
    return findNumber(memory, description, megabytes);
}

VMToolsMachine::State parseState(const QString &description)
{
    // The dot crosses lines and the star is greedy: the state runs up to the last
    // " (since " of the description, as VirtualBox prints a single one.
    static const QRegularExpression stateLine(QStringLiteral("state:\\s+(.*) \\(since "),
                                              QRegularExpression::CaseInsensitiveOption |
                                                  QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = stateLine.match(description);
    if (!match.hasMatch())
        return VMToolsMachine::Process;
    const QString state = match.captured(1).trimmed().toLower();
    if (state == QLatin1String("powered off"))
        return VMToolsMachine::Off;
    if (state == QLatin1String("running"))
        return VMToolsMachine::On;
    if (state == QLatin1String("paused"))
        return VMToolsMachine::Paused;
    if (state == QLatin1String("aborted"))
        return VMToolsMachine::Aborted;
    return VMToolsMachine::Process;
}

QMap<int, QString> parseNics(const QString &description)
{
    static const QRegularExpression nic(
        QStringLiteral("NIC (\\d+):\\s+MAC: [^,]+, Attachment: ([^,]+)"));
    QMap<int, QString> nics;
    QRegularExpressionMatchIterator it = nic.globalMatch(description);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        nics.insert(match.captured(1).toInt(), match.captured(2));
    }
    return nics;
}

QString parseDiskUuid(const QString &description, DiskPort port, DiskDevice device)
{
    // Compiling a pattern costs more than matching a whole description: the four places
    // of the IDE controller are compiled once.
    static const QRegularExpression places[2][2] = {
        {diskPattern(PrimaryPort, MasterDevice), diskPattern(PrimaryPort, SlaveDevice)},
        {diskPattern(SecondaryPort, MasterDevice), diskPattern(SecondaryPort, SlaveDevice)}};
    const bool known = (port == PrimaryPort || port == SecondaryPort) &&
                       (device == MasterDevice || device == SlaveDevice);
    const QRegularExpressionMatch match = known ? places[port][device].match(description)
                                                : diskPattern(port, device).match(description);
    return match.hasMatch() ? match.captured(2) : QString();
}

QStringList parseSnapshotNames(const QString &output)
{
    // Children are indented below their parent; trimming flattens the tree in listing order.
    static const QRegularExpression snapshotLine(
        QStringLiteral("Name:\\s+(.+)\\s+\\(UUID:\\s+(.+)\\)"));
    QStringList names;
    const QStringList lines = output.split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = snapshotLine.match(line.trimmed());
        if (match.hasMatch())
            names.append(match.captured(1));
    }
    return names;
}

} // namespace VBoxOutputParser
