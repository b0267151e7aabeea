// SPDX-License-Identifier: Apache-2.0
#include "vboxoutputparser.h"

#include "labelledline.h"

#include <QRegularExpression>
#include <QVector>

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

bool findInt(const QRegularExpression &pattern, const QString &text, int *value)
{
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return false;
    *value = match.captured(1).toInt();
    return true;
}

// Capture 1 of pattern in text, trimmed, if it matches.
bool findTrimmed(const QRegularExpression &pattern, const QString &text, QString *value)
{
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return false;
    *value = match.captured(1).trimmed();
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

// From 7.0 on, attachments are listed below their controller's "#<n>: '<name>', ..." line:
// "  Port 1, Unit 0: UUID: <uuid>[, flags]" and then "    Location: "<path>"".
QString diskUuidBelowController(const QString &description, DiskPort port, DiskDevice device)
{
    static const QRegularExpression controller(QStringLiteral("^#\\d+: 'IDEController', "));
    static const QRegularExpression place(
        QStringLiteral("^  Port (\\d+), Unit (\\d+): UUID: ([a-f0-9-]*)(?:,|\\r?$)"));
    bool inController = false;
    const QVector<QStringRef> lines = description.splitRef(QLatin1Char('\n'));
    for (const QStringRef &line : lines) {
        if (!line.startsWith(QLatin1Char(' '))) {
            inController = controller.match(line).hasMatch();
            continue;
        }
        if (!inController)
            continue;
        const QRegularExpressionMatch match = place.match(line);
        if (match.hasMatch() && match.capturedRef(1).toInt() == port &&
            match.capturedRef(2).toInt() == device)
            return match.captured(3);
    }
    return QString();
}

// VirtualBox's Linux wrapper script prints "WARNING: ..." paragraphs (indented and blank
// continuation lines) on standard output before the tool's own output when its kernel
// module is missing.
QString withoutWrapperWarnings(const QString &output)
{
    if (!output.startsWith(QLatin1String("WARNING: ")))
        return output;
    int at = 0;
    while (at < output.size()) {
        const int end = output.indexOf(QLatin1Char('\n'), at);
        const QStringRef line = output.midRef(at, end < 0 ? -1 : end - at);
        if (!line.startsWith(QLatin1String("WARNING: ")) && !line.trimmed().isEmpty() &&
            !line.startsWith(QLatin1Char(' ')))
            break;
        at = end < 0 ? output.size() : end + 1;
    }
    return output.mid(at);
}

// A "list vms" line, '"<name>" {<uuid>}', read as the pattern ^"(.+)" \{(.+)\}$ reads it:
// the name runs to the last '" {' that leaves a UUID. Found by hand, as that pattern
// retries every '" {' of a long line to its end.
bool readMachineLine(const QStringRef &line, VBoxOutputParser::MachineEntry *entry)
{
    static const QLatin1String separator("\" {");
    if (line.size() < 7 || !line.startsWith(QLatin1Char('"')) || !line.endsWith(QLatin1Char('}')))
        return false;
    const int at = line.lastIndexOf(separator, line.size() - 5);
    if (at < 2)
        return false;
    entry->name = line.mid(1, at - 1).toString();
    entry->uuid = line.mid(at + 3, line.size() - at - 4).toString();
    return true;
}

// One layout of "list dhcpservers": the record pattern, where each address is captured,
// and a label that the pattern cannot match without. A text without that label is not
// searched: a pattern of lazy fields that cannot match would retry every combination.
struct DhcpLayout
{
    QRegularExpression record;
    int ip, mask, lower, upper, enabled;
    QLatin1String label;
};

// Lazy quantifiers throughout: each ".*?" stops at the next field, so one match is one
// record, the reading that QRegExp's minimal mode gave at a fraction of its cost.
QRegularExpression dhcpRecord(const QStringList &fields)
{
    static const QString address = QStringLiteral("(\\d+?\\.\\d+?\\.\\d+?\\.\\d+?)");
    QString pattern = QStringLiteral("\\bNetworkName:\\s+?([^\\r\\n]+?)\\r?\\n");
    for (const QString &field : fields)
        pattern += QStringLiteral(".*?\\b%1:\\s+?%2\\r?\\n").arg(field, address);
    pattern += QStringLiteral(".*?\\bEnabled:\\s+?([^\\r\\n]+?)\\r?\\n");
    return QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption);
}

const QList<DhcpLayout> &dhcpLayouts()
{
    static const QList<DhcpLayout> layouts = {
        // 5.2 and 6.0.
        {dhcpRecord({"IP", "NetworkMask", "lowerIPAddress", "upperIPAddress"}), 2, 3, 4, 5, 6,
         QLatin1String("lowerIPAddress:")},
        // 6.1 and later: the server's address renamed, the range before the mask.
        {dhcpRecord({"Dhcpd IP", "LowerIPAddress", "UpperIPAddress", "NetworkMask"}), 2, 5, 3, 4, 6,
         QLatin1String("LowerIPAddress:")},
    };
    return layouts;
}

} // namespace

namespace VBoxOutputParser {

QString parseVersion(const QString &output)
{
    // "<major>.<minor>.<build>", a pre-release tag or publisher, "r" and the revision.
    static const QRegularExpression versionLine(QStringLiteral("^\\d+\\.\\d+\\.\\d+\\S*$"));
    const QStringList lines = output.split(QLatin1Char('\n'));
    for (auto line = lines.crbegin(); line != lines.crend(); ++line) {
        const QString text = line->trimmed();
        if (versionLine.match(text).hasMatch())
            return text;
    }
    return output.trimmed();
}

QList<MachineEntry> parseMachineList(const QString &output)
{
    QList<MachineEntry> machines;
    const QVector<QStringRef> lines = output.splitRef(QLatin1Char('\n'), Qt::KeepEmptyParts);
    for (const QStringRef &line : lines) {
        MachineEntry entry;
        if (readMachineLine(line.trimmed(), &entry))
            machines.append(entry);
    }
    return machines;
}

QList<DhcpServerRecord> parseDhcpServers(const QString &output)
{
    QList<DhcpServerRecord> servers;
    for (const DhcpLayout &layout : dhcpLayouts()) {
        if (!output.contains(layout.label))
            continue;
        QRegularExpressionMatchIterator it = layout.record.globalMatch(output);
        while (it.hasNext()) {
            const QRegularExpressionMatch match = it.next();
            DhcpServerRecord server;
            server.networkName = match.captured(1).trimmed();
            server.enabled =
                match.captured(layout.enabled).trimmed().toLower() == QLatin1String("yes");
            if (server.enabled) {
                server.ipAddress = match.captured(layout.ip).trimmed();
                server.networkMask = match.captured(layout.mask).trimmed();
                server.lowerIpAddress = match.captured(layout.lower).trimmed();
                server.upperIpAddress = match.captured(layout.upper).trimmed();
            }
            servers.append(server);
        }
        if (!servers.isEmpty())
            break;
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
    // 7.0 and later: "<name padded> = '<value>'<padding>@ <time> <flags>", sorted by name.
    // The value is printed unescaped, so it runs to the line's last "' @ ": neither the
    // time nor the flags hold one. This layout is tried first: a value of its own may
    // read as a line of the earlier layout, where no line of that one reads as this.
    static const QRegularExpression sortedProperty(QStringLiteral("^(\\w+) += '(.*)' +@ "),
                                                   QRegularExpression::MultilineOption);
    QList<QPair<QString, QString>> properties;
    for (const QRegularExpression *pattern : {&sortedProperty, &property}) {
        QRegularExpressionMatchIterator it = pattern->globalMatch(output);
        while (it.hasNext()) {
            const QRegularExpressionMatch match = it.next();
            properties.append({match.captured(1), match.captured(2)});
        }
        if (!properties.isEmpty())
            break;
    }
    return properties;
}

bool containsProperty(const QString &output, const QString &key)
{
    // Earlier listings open every line with "Name: ", so a key at the very first character
    // is no property there; a sorted listing may open with it.
    static const QRegularExpression sortedProperty(QStringLiteral("^(\\w+) += '"));
    const int at = output.indexOf(key);
    if (at != 0)
        return at > 0;
    return sortedProperty.match(output).captured(1) == key;
}

bool parseOnlineProcessorCount(const QString &hostinfo, int *count)
{
    static const QRegularExpression online(QStringLiteral("Processor online count:\\s+(\\d+)"));
    return findInt(online, hostinfo, count);
}

bool parseOnlineCoreCount(const QString &hostinfo, int *count)
{
    static const QRegularExpression cores(QStringLiteral("Processor online core count:\\s+(\\d+)"));
    return findInt(cores, hostinfo, count);
}

bool parseHostMemorySize(const QString &hostinfo, unsigned int *megabytes)
{
    static const QRegularExpression memory(QStringLiteral("Memory size:\\s+(\\d+).*"));
    return findNumber(memory, hostinfo, megabytes);
}

qint64 hostProcessorCount(int online, int cores)
{
    return cores > 1 ? qint64(online) * cores : online;
}

QString parseDefaultMachineFolder(const QString &properties)
{
    static const QRegularExpression folderLine(QStringLiteral("Default machine folder:([^\n]*)\n"));
    QString folder;
    findTrimmed(folderLine, properties, &folder);
    return folder.isEmpty() ? QStringLiteral("default") : folder;
}

bool parseMachineUuid(const QString &description, QString *uuid)
{
    return LabelledLine::find(description, QLatin1String("UUID:"), uuid);
}

bool parseMachineName(const QString &description, QString *name)
{
    return LabelledLine::find(description, QLatin1String("Name:"), name);
}

bool parseCpuCount(const QString &description, unsigned int *count)
{
    static const QRegularExpression cpus(QStringLiteral("Number of CPUs:\\s+(\\d+)"));
    return findNumber(cpus, description, count);
}

bool parseMemorySize(const QString &description, unsigned int *megabytes)
{
    static const QRegularExpression memory(QStringLiteral("Memory size:\\s+(\\d+)"));
    // 6.0 to 6.1.18 print the label without its colon.
    static const QRegularExpression withoutColon(QStringLiteral("Memory size\\s+(\\d+)"));
    return findNumber(memory, description, megabytes) ||
           findNumber(withoutColon, description, megabytes);
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
    return match.hasMatch() ? match.captured(2)
                            : diskUuidBelowController(description, port, device);
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

bool parseCreatedInterfaceName(const QString &output, QString *name)
{
    // The name runs to the last "' was successfully created" of the text.
    static const QRegularExpression created(
        QStringLiteral("^Interface '([\\S\\s]*)' was successfully created"));
    QRegularExpressionMatch match = created.match(output);
    if (!match.hasMatch())
        match = created.match(withoutWrapperWarnings(output));
    if (!match.hasMatch())
        return false;
    *name = match.captured(1);
    return true;
}

QList<int> parseImportDiskUnits(const QString &listing)
{
    static const QRegularExpression disk(QStringLiteral("^ ?(\\d+): Hard disk image\\b"));
    static const QRegularExpression system(QStringLiteral("^Virtual system (\\d+):"));
    QList<int> units;
    bool inFirstSystem = false;
    const QVector<QStringRef> lines = listing.splitRef(QLatin1Char('\n'));
    for (const QStringRef &line : lines) {
        const QRegularExpressionMatch header = system.match(line);
        if (header.hasMatch()) {
            inFirstSystem = header.capturedRef(1) == QLatin1String("0");
            continue;
        }
        const QRegularExpressionMatch match =
            inFirstSystem ? disk.match(line) : QRegularExpressionMatch();
        if (match.hasMatch())
            units.append(match.capturedRef(1).toInt());
    }
    return units;
}

} // namespace VBoxOutputParser
