// SPDX-License-Identifier: Apache-2.0
// The parsers left QRegExp for QRegularExpression to keep up with long outputs. Their
// results must stay those of the QRegExp patterns, so these tests run the QRegExp forms as
// references over recorded outputs and over the awkward shapes. The layouts of 6.0 to 7.1
// must give the readings of 5.2 for the same device.
#include "vboxoutputparser.h"
#include "vboxtest.h"

#include <gtest/gtest.h>

#include <QRegExp>

#include <functional>

namespace {

QString withCrLf(QString text)
{
    return text.replace(QLatin1String("\n"), QLatin1String("\r\n"));
}

// Each match of a minimal QRegExp, read on from the end of the previous one, as the fields
// that `read` takes from it joined by '|'.
QStringList referenceRecords(const QString &pattern, const QString &output,
                             const std::function<QStringList(const QRegExp &)> &read)
{
    QRegExp rx(pattern);
    rx.setMinimal(true);
    QStringList records;
    for (int pos = 0; (pos = rx.indexIn(output, pos)) != -1; pos += qMax(rx.matchedLength(), 1))
        records << read(rx).join('|');
    return records;
}

// Each DHCP record as text: the five fields, enabled or not.
QStringList referenceDhcp(const QString &output)
{
    return referenceRecords(
        QStringLiteral("\\bNetworkName:\\s+([^\\r\\n]+)\\r?\\n.*"
                       "\\bIP:\\s+(\\d+\\.\\d+\\.\\d+\\.\\d+)\\r?\\n.*"
                       "\\bNetworkMask:\\s+(\\d+\\.\\d+\\.\\d+\\.\\d+)\\r?\\n.*"
                       "\\blowerIPAddress:\\s+(\\d+\\.\\d+\\.\\d+\\.\\d+)\\r?\\n.*"
                       "\\bupperIPAddress:\\s+(\\d+\\.\\d+\\.\\d+\\.\\d+)\\r?\\n.*"
                       "\\bEnabled:\\s+([^\\r\\n]+)\\r?\\n.*"),
        output, [](const QRegExp &rx) {
            const bool enabled = rx.cap(6).trimmed().toLower() == QLatin1String("yes");
            QStringList fields{rx.cap(1).trimmed(), enabled ? "yes" : "no"};
            for (int field = 2; enabled && field <= 5; ++field)
                fields << rx.cap(field).trimmed();
            return fields;
        });
}

QStringList parsedDhcp(const QString &output)
{
    QStringList records;
    for (const VBoxOutputParser::DhcpServerRecord &server :
         VBoxOutputParser::parseDhcpServers(output)) {
        QStringList fields{server.networkName, server.enabled ? "yes" : "no"};
        if (server.enabled)
            fields << server.ipAddress << server.networkMask << server.lowerIpAddress
                   << server.upperIpAddress;
        records << fields.join('|');
    }
    return records;
}

QStringList referenceHostOnly(const QString &output)
{
    return referenceRecords(
        QStringLiteral("\\bName:\\s+([^\\r\\n]+)\\r?\\n.*"
                       "\\bIPAddress:\\s+(\\d+\\.\\d+\\.\\d+\\.\\d+)\\r?\\n.*"
                       "\\bNetworkMask:\\s+(\\d+\\.\\d+\\.\\d+\\.\\d+)\\r?\\n.*"),
        output, [](const QRegExp &rx) {
            return QStringList{rx.cap(1).trimmed(), rx.cap(2).trimmed(), rx.cap(3).trimmed()};
        });
}

QStringList parsedHostOnly(const QString &output)
{
    QStringList records;
    for (const VBoxOutputParser::HostOnlyRecord &iface :
         VBoxOutputParser::parseHostOnlyInterfaces(output))
        records << QStringList{iface.name, iface.ipAddress, iface.networkMask}.join('|');
    return records;
}

QStringList referenceSnapshots(const QString &output)
{
    QRegExp snapshotLine(QStringLiteral("Name:\\s+(.+)\\s+\\(UUID:\\s+(.+)\\)"));
    QStringList names;
    for (const QString &line : output.split('\n')) {
        if (snapshotLine.indexIn(line.trimmed()) >= 0)
            names << snapshotLine.cap(1);
    }
    return names;
}

// Everything read from a description, as one line of text.
QString referenceDescription(const QString &text)
{
    QStringList facts;
    for (const char *pattern : {"Number of CPUs:\\s+(\\d+)", "Memory size:\\s+(\\d+).*"}) {
        QRegExp number{QString::fromLatin1(pattern)};
        facts << (number.indexIn(text) < 0 ? QStringLiteral("-") : number.cap(1));
    }
    QRegExp state(QStringLiteral("state:\\s+(.*) \\(since "), Qt::CaseInsensitive);
    const QMap<QString, VMToolsMachine::State> states{{"powered off", VMToolsMachine::Off},
                                                      {"running", VMToolsMachine::On},
                                                      {"paused", VMToolsMachine::Paused},
                                                      {"aborted", VMToolsMachine::Aborted}};
    const QString word = state.indexIn(text) < 0 ? QString() : state.cap(1).trimmed().toLower();
    facts << QString::number(states.value(word, VMToolsMachine::Process));
    QRegExp nic(QStringLiteral("NIC (\\d+):\\s+MAC: [^,]+, Attachment: ([^,]+)"));
    QMap<int, QString> nics;
    for (int pos = 0; (pos = nic.indexIn(text, pos)) >= 0; pos += nic.matchedLength())
        nics.insert(nic.cap(1).toInt(), nic.cap(2));
    for (auto it = nics.cbegin(); it != nics.cend(); ++it)
        facts << QStringLiteral("%1=%2").arg(it.key()).arg(it.value());
    for (int place = 0; place < 4; ++place) {
        QRegExp disk(QStringLiteral("IDEController \\(%1, %2\\):\\s+([^\\n]+)\\s+\\(UUID: "
                                    "([a-f0-9-]*)\\)")
                         .arg(place / 2)
                         .arg(place % 2));
        facts << (disk.indexIn(text) < 0 ? QString() : disk.cap(2));
    }
    for (const char *label : {"UUID:", "Name:"}) {
        QRegExp line(QStringLiteral("\\b%1\\s+([^\\r\\n]+)\\r?\\n.*").arg(label));
        facts << (line.indexIn(text) < 0 ? QStringLiteral("-") : '<' + line.cap(1).trimmed() + '>');
    }
    return facts.join('|');
}

QString parsedDescription(const QString &text)
{
    QStringList facts;
    unsigned int cpus = 0;
    unsigned int memory = 0;
    facts << (VBoxOutputParser::parseCpuCount(text, &cpus) ? QString::number(cpus) : "-");
    facts << (VBoxOutputParser::parseMemorySize(text, &memory) ? QString::number(memory) : "-");
    facts << QString::number(VBoxOutputParser::parseState(text));
    const QMap<int, QString> nics = VBoxOutputParser::parseNics(text);
    for (auto it = nics.cbegin(); it != nics.cend(); ++it)
        facts << QStringLiteral("%1=%2").arg(it.key()).arg(it.value());
    for (int place = 0; place < 4; ++place)
        facts << VBoxOutputParser::parseDiskUuid(text, static_cast<DiskPort>(place / 2),
                                                 static_cast<DiskDevice>(place % 2));
    QString uuid;
    QString name;
    facts << (VBoxOutputParser::parseMachineUuid(text, &uuid) ? '<' + uuid + '>' : "-");
    facts << (VBoxOutputParser::parseMachineName(text, &name) ? '<' + name + '>' : "-");
    return facts.join('|');
}

// The device's guest properties as "key=value", sorted: 7.0 and later list them by name.
QStringList sortedProperties(const QString &output)
{
    QStringList properties;
    for (const QPair<QString, QString> &property : VBoxOutputParser::parseGuestProperties(output))
        properties << property.first + '=' + property.second;
    properties.sort();
    return properties;
}

} // namespace

TEST(OutputParserTest, DhcpRecordsMatchTheMinimalQRegExpReading)
{
    const QString sample = recorded("core-dhcpservers.txt");
    const QString record = "NetworkName:    HostInterfaceNetworking-vboxnet9\n"
                           "IP:             10.0.9.100\n"
                           "NetworkMask:    255.255.255.0\n"
                           "lowerIPAddress: 10.0.9.101\n"
                           "upperIPAddress: 10.0.9.254\n"
                           "Enabled:        Yes\n\n";
    // A record without its last field borrows the next record's: one record of two.
    const QString noEnabledLine = QString(record).remove("Enabled:        Yes\n");
    const QString reordered = QString(record)
                                  .replace("IP:             10.0.9.100\n", "")
                                  .replace("\n\n", "\nIP: 10.0.9.1\n\n");
    const QStringList inputs{sample,
                             withCrLf(sample),
                             noEnabledLine + record,
                             QString(record).replace("HostInterfaceNetworking-vboxnet9", "    ") +
                                 record,
                             reordered + sample,
                             "NetworkName: x\nIP: 1.2.3\nNetworkMask: 255.0.0.0\n" + record,
                             sample.left(sample.size() - 2),
                             QString()};
    for (const QString &input : inputs)
        EXPECT_EQ(parsedDhcp(input), referenceDhcp(input)) << input.toStdString();

    EXPECT_EQ(parsedDhcp(sample),
              (QStringList{"HostInterfaceNetworking-vboxnet1|no",
                           "HostInterfaceNetworking-vboxnet0|yes|192.168.56.100|255.255.255.0|"
                           "192.168.56.101|192.168.56.254",
                           "HostInterfaceNetworking-vboxnet2|yes|192.168.58.2|255.255.255.0|"
                           "192.168.58.3|192.168.58.254"}));
}

TEST(OutputParserTest, DescriptionFactsMatchTheQRegExpReading)
{
    const QString sample = recorded("machine-showvminfo.txt");
    const QStringList inputs{
        sample, withCrLf(sample), QString(sample).replace(" (since ", " since "),
        // The first state runs on up to the second one's date: neither is read.
        sample + "Guest state: aborted (since 2024-06-03)\n",
        QString(sample).replace("State:           running", "STATE:\tPaused  "),
        sample + "NIC 7:           MAC: 08002\n7000000, Attachment: Bridged\n",
        "Memory size: 512\nNumber of CPUs: 1\nState: saved (since x)\n",
        "State:           powered off (since 2024-06-03T09:14:07.512000000)\n",
        "State: aborted (since x)\n", "Memory size:     MB\nNumber of CPUs:\n",
        "IDEController (1, 1): a (UUID: 1) b (UUID: 2)\n",
        // Blanks that end a line inside the run after the label are an empty value; a
        // label inside a word, or a value that no line break ends, is none.
        "UUID: \t \nx", "UUID:\r\n\t\r\nName:  \t", "xUUID: a\nUUID:\n\n b \r\nName: c",
        "Name: a\rb\nUUID: a UUID: b", QString()};
    for (const QString &input : inputs)
        EXPECT_EQ(parsedDescription(input), referenceDescription(input)) << input.toStdString();
}

TEST(OutputParserTest, HostOnlyRecordsAndSnapshotNamesMatchTheQRegExpReading)
{
    const QString interfaces = recorded("core-hostonlyifs.txt");
    const QString noAddress =
        QString(interfaces).replace("IPAddress:       192.168.56.1\n", "IPAddress:       \n");
    for (const QString &input :
         {interfaces, withCrLf(interfaces), noAddress, interfaces.left(300),
          QString(interfaces).replace("Name:            vboxnet1", "Name:  \t vboxnet1  ")})
        EXPECT_EQ(parsedHostOnly(input), referenceHostOnly(input)) << input.toStdString();
    EXPECT_EQ(parsedHostOnly(noAddress), QStringList{"vboxnet0|192.168.57.1|255.255.255.0"});

    const QString snapshots = recorded("machine-snapshot-list.txt");
    const QString odd = "Name: two  spaces  (UUID: 1)\n"
                        "  Name: a (UUID: 2) b (UUID: 3) *\n"
                        "Name: (brackets) (UUID: (4))\n"
                        "Name:  (UUID: 5)\n"
                        "Name: no uuid\n"
                        "Description: Name: inner (UUID: 6)\n";
    for (const QString &input : {snapshots, withCrLf(snapshots), odd})
        EXPECT_EQ(VBoxOutputParser::parseSnapshotNames(input), referenceSnapshots(input))
            << input.toStdString();
}

TEST(OutputParserTest, LaterLayoutsReadAsThe52Recordings)
{
    const QString description = recorded("machine-showvminfo.txt");
    const QString dhcp = recorded("core-dhcpservers.txt");
    const QString properties = recorded("machine-guestproperty-enumerate.txt");
    const QString snapshots = recorded("machine-snapshot-list.txt");
    // The 5.2 readings pinned, so that equal readings cannot both be empty.
    ASSERT_EQ(parsedDescription(description),
              QStringLiteral("2|2048|%1|1=Host-only Interface 'vboxnet0'|2=NAT|"
                             "1c7e5a3b-2d4f-4e6a-8b9c-0d1e2f3a4b5c|"
                             "2d8f6b4c-3e5a-4f7b-9cad-1e2f3a4b5c6d|"
                             "3e9a7c5d-4f6b-4a8c-adbe-2f3a4b5c6d7e|"
                             "|<5f0d3c2a-8b1e-4c6f-9a7d-2e4b6c8d0f12>|<phone>")
                  .arg(VMToolsMachine::On));
    ASSERT_EQ(sortedProperties(properties).size(), 12);
    ASSERT_TRUE(sortedProperties(properties).contains("product_model=Pixel 2"));
    // The later listings also hold values read whole in every layout: with quotes (7.x
    // prints them unescaped), with " @ " inside, empty, ending with a quote, or looking like
    // a line of the 5.2 layout.
    QStringList laterProperties =
        sortedProperties(properties) +
        QStringList{"product_brand=Joe's phone", "build_tags=dev' @ 2024-06-03T09:13:51.000Z x",
                    "product_board=", "product_name=Joe's 'phone'",
                    "product_device=Name: x, value: y, timestamp: 1, "
                    "flags: "};
    laterProperties.sort();
    ASSERT_EQ(VBoxOutputParser::parseSnapshotNames(snapshots),
              (QStringList{"factory-backup", "before update", "after update"}));

    struct Row
    {
        const char *version;
        const char *versionLine;
        QList<int> diskUnits;
    };
    // 6.0 and later suggest a group, a settings file and a base folder ahead of the disks.
    // The 5.2 row reads only the dry run: the other 5.2 listings are the baseline.
    const Row rows[] = {{"5.2", nullptr, {10, 11, 12}},
                        {"6.0", "6.0.24r139119", {13, 14, 15}},
                        {"6.1", "6.1.50r161033", {13, 14, 15}},
                        {"7.0", "7.0.10r158379", {13, 14, 15}},
                        {"7.1", "7.1.6r167084", {13, 14, 15}}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.version);
        const auto printed = [&row](const char *file) {
            return recorded(file, row.version);
        };
        EXPECT_EQ(VBoxOutputParser::parseImportDiskUnits(printed("import-dry-run.txt")),
                  row.diskUnits);
        if (!row.versionLine)
            continue;
        EXPECT_EQ(parsedDescription(printed("machine-showvminfo.txt")),
                  parsedDescription(description));
        EXPECT_EQ(parsedDhcp(printed("core-dhcpservers.txt")), parsedDhcp(dhcp));
        const QString printedProperties = printed("machine-guestproperty-enumerate.txt");
        EXPECT_EQ(sortedProperties(printedProperties), laterProperties);
        EXPECT_TRUE(VBoxOutputParser::containsProperty(printedProperties, "vbox_graph_mode"));
        EXPECT_EQ(VBoxOutputParser::parseSnapshotNames(printed("machine-snapshot-list.txt")),
                  VBoxOutputParser::parseSnapshotNames(snapshots));
        EXPECT_EQ(VBoxOutputParser::parseVersion(printed("version.txt")), row.versionLine);
    }
    // An appliance of two systems: only the first one's disks are the device's.
    EXPECT_EQ(VBoxOutputParser::parseImportDiskUnits(
                  recorded("import-dry-run.txt") +
                  "\nVirtual system 1:\n 4: Hard disk image: source image=x.vmdk\n"),
              (QList<int>{10, 11, 12}));
}

TEST(OutputParserTest, LaterLayoutEdges)
{
    // The Linux wrapper's warnings ahead of the tool's own output.
    const QString created = recorded("hostonlyif-create.txt", "6.1");
    QString name;
    EXPECT_TRUE(VBoxOutputParser::parseCreatedInterfaceName(created, &name));
    EXPECT_EQ(name, "vboxnet1");
    const QString warnings = created.left(created.indexOf("Interface '"));
    ASSERT_TRUE(warnings.startsWith("WARNING: "));
    EXPECT_EQ(VBoxOutputParser::parseVersion(warnings + "6.1.38_Ubuntur153438\n"),
              "6.1.38_Ubuntur153438");

    // A sorted listing that opens with the property.
    EXPECT_TRUE(VBoxOutputParser::containsProperty(
        "vbox_graph_mode = '1080x1920-16' @ 2024-06-03T09:13:51.000Z\n"
        "vkeyboard_mode  = '2'            @ 2024-06-03T09:13:51.000Z\n",
        "vbox_graph_mode"));

    // The attachment at port 1, unit 0 below its controller.
    const QString sdcard = QStringLiteral("3e9a7c5d-4f6b-4a8c-adbe-2f3a4b5c6d7e");
    struct Row
    {
        const char *what;
        QString from;
        QString to;
        QString uuid;
    };
    const Row rows[] = {
        {"flagged", sdcard + '\n', sdcard + ", hot-pluggable\n", sdcard},
        {"upper-case", sdcard, sdcard.toUpper(), QString()},
        {"other controller", "  Port 1, Unit 0:",
         "#1: 'SATAController', Type: IntelAhci, Instance: 0, Ports: 2 (max 30), Bootable\n"
         "  Port 1, Unit 0:",
         QString()},
        // Windows hosts end lines with CRLF.
        {"CRLF", "\n", "\r\n", sdcard},
    };
    for (const char *version : {"7.0", "7.1"}) {
        const QString description = recorded("machine-showvminfo.txt", version);
        for (const Row &row : rows) {
            SCOPED_TRACE(std::string(version) + ' ' + row.what);
            ASSERT_TRUE(description.contains(row.from));
            EXPECT_EQ(
                VBoxOutputParser::parseDiskUuid(QString(description).replace(row.from, row.to),
                                                SecondaryPort, MasterDevice),
                row.uuid);
        }
    }
}

// What a real VirtualBox 7.2 printed (scripts/record-vboxmanage.sh), read as the plug-in
// must read it. The expected values are copied from the recordings by hand.
TEST(OutputParserTest, RealVirtualBox72IsRead)
{
    const auto printed = [](const char *file) {
        return recorded(file, "7.2");
    };
    EXPECT_EQ(VBoxOutputParser::parseVersion(printed("version.txt")), "7.2.22_Debianr175245");
    int processors = 0;
    unsigned int memory = 0;
    EXPECT_TRUE(
        VBoxOutputParser::parseOnlineProcessorCount(printed("core-hostinfo.txt"), &processors));
    EXPECT_EQ(processors, 2);
    EXPECT_TRUE(VBoxOutputParser::parseHostMemorySize(printed("core-hostinfo.txt"), &memory));
    EXPECT_GT(memory, 0u);
    EXPECT_EQ(VBoxOutputParser::parseDefaultMachineFolder(printed("core-systemproperties.txt")),
              "/home/user/VirtualBox VMs");
    EXPECT_EQ(parsedDhcp(printed("core-dhcpservers.txt")),
              QStringList{"HostInterfaceNetworking-vboxnet0|yes|192.168.56.100|255.255.255.0|"
                          "192.168.56.101|192.168.56.254"});
    EXPECT_EQ(VBoxOutputParser::parseImportDiskUnits(printed("import-dry-run.txt")),
              (QList<int>{13, 14, 15}));

    // The description before and after a snapshot: then the differencing images are read.
    EXPECT_EQ(parsedDescription(printed("machine-showvminfo.txt")),
              QStringLiteral("2|2048|%1|1=Host-only Interface 'vboxnet0'|2=NAT|"
                             "36ecc4f3-be0b-4a15-a9ea-8ef97a4afc69|"
                             "3266ad80-d3f6-44d9-b735-eb467918572d|"
                             "0119e328-934b-44ed-85f9-e8769daff218|"
                             "|<37d0f06c-ed67-42b0-a6b9-1d249a0f770b>|<phone>")
                  .arg(VMToolsMachine::Off));
    EXPECT_EQ(VBoxOutputParser::parseDiskUuid(printed("machine-showvminfo-after-snapshot.txt"),
                                              SecondaryPort, MasterDevice),
              "73ef0c18-d926-4ec7-8740-6e5350b89a24");

    // Values with quotes, unescaped, and every property of the appliance.
    const QStringList properties = sortedProperties(printed("machine-guestproperty-enumerate.txt"));
    EXPECT_EQ(properties.size(), 21);
    for (const char *property :
         {"product_brand=Joe's \"phone\"", "product_model=Pixel 2", "vbox_graph_mode=1080x1920-16",
          "quillomate_device_id=358240051111110", "template_uuid=sample-device"})
        EXPECT_TRUE(properties.contains(property)) << property;

    EXPECT_EQ(VBoxOutputParser::parseSnapshotNames(printed("machine-snapshot-list.txt")),
              QStringList{"factory-backup"});
    EXPECT_EQ(VBoxOutputParser::parseSnapshotNames(printed("error-snapshot-list-none-stdout.txt")),
              QStringList());
    const QList<VBoxOutputParser::MachineEntry> listed = VBoxOutputParser::parseMachineList(
        printed("core-list-vms.txt") + printed("core-list-vms-inaccessible.txt"));
    ASSERT_EQ(listed.size(), 2);
    EXPECT_EQ(listed[0].name, "phone");
    EXPECT_EQ(listed[0].uuid, "37d0f06c-ed67-42b0-a6b9-1d249a0f770b");
    EXPECT_EQ(listed[1].name, "<inaccessible>");
}
