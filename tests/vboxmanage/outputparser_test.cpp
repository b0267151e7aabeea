// SPDX-License-Identifier: Apache-2.0
// Every output in tests/data that a parser reads, with what the parser returned frozen
// beside it as <output>.reading: VirtualBox's recordings of each version and the awkward
// shapes in tests/data/parser-edges. FREEZE=1 rewrites the readings instead of comparing,
// for a change to be reviewed as a diff.
#include "vboxoutputparser.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <functional>

namespace {

using Reader = std::function<QStringList(const QString &)>;

// Line ends and tabs inside a value shown as escapes, so that each reading stays a line.
QString quoted(QString value)
{
    value.replace('\r', QLatin1String("\\r")).replace('\n', QLatin1String("\\n"));
    return '<' + value.replace('\t', QLatin1String("\\t")) + '>';
}

// Read after the parser has run: `value` is the parser's out-parameter.
template<typename Value> QString found(bool ok, const Value &value)
{
    return ok ? quoted(QStringLiteral("%1").arg(value)) : QStringLiteral("-");
}

// A count, then each item as `show` writes it, a line each.
template<typename Item, typename Show>
QStringList listed(const char *what, const QList<Item> &items, Show show)
{
    QStringList lines{QStringLiteral("%1 %2").arg(QLatin1String(what)).arg(items.size())};
    for (const Item &item : items)
        lines << show(item);
    return lines;
}

QStringList readDhcp(const QString &output)
{
    return listed("servers", VBoxOutputParser::parseDhcpServers(output), [](const auto &s) {
        return QStringList{quoted(s.networkName),    s.enabled ? "enabled" : "disabled",
                           quoted(s.ipAddress),      quoted(s.networkMask),
                           quoted(s.lowerIpAddress), quoted(s.upperIpAddress)}
            .join(' ');
    });
}

QStringList readDescription(const QString &text)
{
    unsigned int cpus = 0;
    unsigned int memory = 0;
    QString uuid;
    QString name;
    const VMToolsMachine::State state = VBoxOutputParser::parseState(text);
    QStringList lines{
        "cpus " + found(VBoxOutputParser::parseCpuCount(text, &cpus), cpus),
        "memory " + found(VBoxOutputParser::parseMemorySize(text, &memory), memory),
        QStringLiteral("state %1 %2").arg(state).arg(VMToolsMachine::getStatusString(state)),
        "uuid " + found(VBoxOutputParser::parseMachineUuid(text, &uuid), uuid),
        "name " + found(VBoxOutputParser::parseMachineName(text, &name), name)};
    const QMap<int, QString> nics = VBoxOutputParser::parseNics(text);
    for (auto it = nics.cbegin(); it != nics.cend(); ++it)
        lines << QStringLiteral("nic %1 ").arg(it.key()) + quoted(it.value());
    for (int place = 0; place < 4; ++place)
        lines << QStringLiteral("disk %1 %2 ").arg(place / 2).arg(place % 2) +
                     quoted(VBoxOutputParser::parseDiskUuid(text, DiskPort(place / 2),
                                                            DiskDevice(place % 2)));
    return lines;
}

QStringList readProperties(const QString &output)
{
    QStringList lines =
        listed("properties", VBoxOutputParser::parseGuestProperties(output),
               [](const auto &p) { return quoted(p.first) + " = " + quoted(p.second); });
    lines.insert(1, QStringLiteral("contains vbox_graph_mode %1")
                        .arg(VBoxOutputParser::containsProperty(output, "vbox_graph_mode")));
    return lines;
}

QStringList readSnapshots(const QString &output)
{
    return listed("snapshots", VBoxOutputParser::parseSnapshotNames(output), quoted);
}

QStringList readHostInfo(const QString &output)
{
    int processors = 0;
    int cores = 0;
    unsigned int memory = 0;
    return {"online processors " +
                found(VBoxOutputParser::parseOnlineProcessorCount(output, &processors), processors),
            "online cores " + found(VBoxOutputParser::parseOnlineCoreCount(output, &cores), cores),
            "memory " + found(VBoxOutputParser::parseHostMemorySize(output, &memory), memory)};
}

QStringList readImportUnits(const QString &listing)
{
    QStringList units;
    for (const int unit : VBoxOutputParser::parseImportDiskUnits(listing))
        units << QString::number(unit);
    return {"disk units " + units.join(' ')};
}

QStringList readCreatedInterface(const QString &output)
{
    QString name;
    return {"created " + found(VBoxOutputParser::parseCreatedInterfaceName(output, &name), name)};
}

struct Kind
{
    const char *prefix; // of the output's file name
    Reader read;
    bool sameOverCrLf; // Windows hosts end lines with CRLF: a recording reads the same so
};

const Kind Kinds[] = {
    {"core-dhcpservers", readDhcp, true},
    {"core-hostonlyifs",
     [](const QString &output) {
         return listed(
             "interfaces", VBoxOutputParser::parseHostOnlyInterfaces(output), [](const auto &i) {
                 return quoted(i.name) + ' ' + quoted(i.ipAddress) + ' ' + quoted(i.networkMask);
             });
     },
     true},
    {"core-hostinfo", readHostInfo, true},
    {"core-list-vms",
     [](const QString &output) {
         return listed("machines", VBoxOutputParser::parseMachineList(output),
                       [](const auto &m) { return quoted(m.name) + ' ' + quoted(m.uuid); });
     },
     false},
    {"core-systemproperties",
     [](const QString &output) {
         return QStringList{"machine folder " +
                            quoted(VBoxOutputParser::parseDefaultMachineFolder(output))};
     },
     true},
    {"machine-showvminfo", readDescription, true},
    {"machine-guestproperty-enumerate", readProperties, false},
    {"machine-snapshot-list", readSnapshots, true},
    {"error-snapshot-list-none-stdout", readSnapshots, true},
    {"import-dry-run", readImportUnits, true},
    {"hostonlyif-create", readCreatedInterface, true},
    {"version",
     [](const QString &output) {
         return QStringList{"version " + quoted(VBoxOutputParser::parseVersion(output))};
     },
     true},
};

QByteArray contents(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
}

} // namespace

TEST(OutputParserTest, EveryOutputReadsAsItsFrozenReading)
{
    const bool freeze = qEnvironmentVariableIsSet("FREEZE");
    const QDir data(QStringLiteral(TEST_DATA_DIR));
    int outputs = 0;
    for (const QString &folder : data.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const bool recorded = folder != QLatin1String("parser-edges");
        for (const QFileInfo &file : QDir(data.filePath(folder)).entryInfoList({"*.txt"})) {
            const auto kind = std::find_if(std::begin(Kinds), std::end(Kinds), [&](const Kind &k) {
                return file.fileName().startsWith(QLatin1String(k.prefix));
            });
            if (kind == std::end(Kinds))
                continue;
            SCOPED_TRACE(qPrintable(folder + '/' + file.fileName()));
            ++outputs;
            const QString output = QString::fromUtf8(contents(file.filePath()));
            const QString reading = kind->read(output).join('\n') + '\n';
            const QString frozen = file.filePath() + QStringLiteral(".reading");
            if (freeze) {
                QFile out(frozen);
                ASSERT_TRUE(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
                out.write(reading.toUtf8());
                continue;
            }
            EXPECT_EQ(reading, QString::fromUtf8(contents(frozen)));
            if (recorded && kind->sameOverCrLf) {
                EXPECT_EQ(kind->read(QString(output).replace("\n", "\r\n")).join('\n') + '\n',
                          reading);
            }
        }
    }
    EXPECT_GE(outputs, 70);
}

// VirtualBox 6.0 to 7.1 print the same device as 5.2 in their own layouts.
TEST(OutputParserTest, LaterLayoutsReadAsThe52Recordings)
{
    for (const char *version : {"6.0", "6.1", "7.0", "7.1"}) {
        for (const char *file :
             {"machine-showvminfo", "core-dhcpservers", "machine-snapshot-list"}) {
            SCOPED_TRACE(std::string(version) + '/' + file);
            const QString reading = QStringLiteral(TEST_DATA_DIR "/%1/%2.txt.reading");
            EXPECT_EQ(contents(reading.arg(version, file)), contents(reading.arg("5.2", file)));
        }
    }
}
