// SPDX-License-Identifier: Apache-2.0
// The pure parts of vmtools: command-line parsing, profile values, names, texts.
#include "causes.h"
#include "commandcontext.h"
#include "commandline.h"
#include "commands.h"
#include "guestlimits.h"
#include "logging.h"
#include "longlisting.h"
#include "machinesettingsfile.h"
#include "output.h"
#include "profilekeys.h"
#include "progress.h"
#include "settledmachines.h"
#include "suggestions.h"
#include "versionreport.h"
#include "virtualboxsettings.h"

#include "printers.h"
#include "vmtoolshost.h"

#include <gtest/gtest.h>

#include <vmtools/callmemo.h>
#include <vmtools/version.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTemporaryFile>

using Action = ParsedCommandLine::Action;

TEST(CommandLineTest, GlobalOptionsGoAnywhereAndValuesAreNotCommands)
{
    ParsedCommandLine parsed = CommandLine::parse(
        {"vmtools", "--log-file", "show", "--json", "get", "phone", "density", "-v"});
    ASSERT_EQ(parsed.action, Action::RunCommand) << parsed.error.toStdString();
    EXPECT_EQ(parsed.command->name, "get");
    EXPECT_EQ(parsed.logFile, "show");
    EXPECT_TRUE(parsed.json);
    EXPECT_TRUE(parsed.verbose);
    EXPECT_EQ(parsed.parser->positionalArguments(), (QStringList{"phone", "density"}));

    parsed = CommandLine::parse({"vmtools", "show", "--", "-odd"});
    ASSERT_EQ(parsed.action, Action::RunCommand);
    EXPECT_EQ(parsed.parser->positionalArguments(), QStringList{"-odd"});
    parsed = CommandLine::parse({"vmtools", "--log-file", "help", "help", "-v", "get"});
    ASSERT_EQ(parsed.action, Action::CommandHelp) << parsed.error.toStdString();
    EXPECT_EQ(parsed.command->name, "get");
    EXPECT_EQ(CommandLine::parse({"vmtools", "help", "help"}).action, Action::Overview);
    // Help for a command, which wins over its missing arguments, is run by the usage test.
    EXPECT_EQ(CommandLine::parse({"vmtools", "--version"}).action, Action::Version);
}

TEST(ProfileValuesTest, FlagsResolutionsAndCountsAtTheirEdges)
{
    bool flag = false;
    for (const char *yes : {"on", "YES", "true", "1", " On "}) {
        flag = false;
        EXPECT_TRUE(ProfileKeys::parseFlag(yes, &flag) && flag) << yes;
    }
    for (const char *no : {"off", "No", "FALSE", "0"}) {
        flag = true;
        EXPECT_TRUE(ProfileKeys::parseFlag(no, &flag) && !flag) << no;
    }
    for (const char *bad : {"", "2", "enabled", "o n"})
        EXPECT_FALSE(ProfileKeys::parseFlag(bad, &flag)) << bad;

    QSize size;
    EXPECT_TRUE(ProfileKeys::parseResolution("1080x1920", &size));
    EXPECT_EQ(size, QSize(1080, 1920)); // width first
    for (const char *bad : {"0x1920", "1080x0", "1080X1920", "1080x", "x1920", "-1x5",
                            "1080x1920-16", "123456x1", "1080 x 1920"})
        EXPECT_FALSE(ProfileKeys::parseResolution(bad, &size)) << bad;

    unsigned int count = 7;
    EXPECT_TRUE(ProfileKeys::parseCount("4096", &count));
    EXPECT_EQ(count, 4096u);
    for (const char *bad : {"0", "-1", "", "2.5", "1e3", " 4", "4096MB", "9999999999"})
        EXPECT_FALSE(ProfileKeys::parseCount(bad, &count)) << bad;
    EXPECT_EQ(count, 4096u); // untouched by a refusal
}

TEST(DeviceNameTest, NamesThatWouldLeaveTheDeviceFolderAreRefused)
{
    for (const char *good : {"phone", "Pixel (2)", "tablet-2", "a.b", "phone..x", "x+y [1]",
                             "a\\b *?{}|^$", "Телефон Ω"})
        EXPECT_EQ(deviceNameProblem(good), QString()) << good;
    EXPECT_EQ(deviceNameProblem(""), "a device name cannot be empty");
    EXPECT_EQ(deviceNameProblem("   "), "a device name cannot be empty");
    EXPECT_EQ(deviceNameProblem(" phone"), "a device name cannot begin or end with blanks");
    EXPECT_EQ(deviceNameProblem(".."), "\"..\" cannot name a device");
    EXPECT_EQ(deviceNameProblem("."), "\".\" cannot name a device");
    EXPECT_EQ(deviceNameProblem("a/b"), "a device name cannot hold \"/\"");
    EXPECT_EQ(deviceNameProblem("-rf"), "a device name cannot begin with \"-\"");
    EXPECT_EQ(deviceNameProblem("a\nb"), "a device name cannot hold control characters");
}

TEST(CommandLineTest, MistypedCommandsGetTheClosestOnesOrTheOneTheyBegin)
{
    QStringList known{"help"};
    for (const Command &command : Commands::all())
        known.append(command.name);
    const QList<QPair<QString, QStringList>> typos = {{"lst", {"list"}},
                                                      {"strat", {"start"}},
                                                      {"xet", {"get", "set"}},
                                                      {"delet", {"delete"}},
                                                      {"cpy-disk", {"copy-disk"}},
                                                      {"repair", {"repair-network"}},
                                                      {"li", {"list"}},
                                                      {"s", {}},
                                                      {"factory", {}},
                                                      {"launch", {}},
                                                      {"", {}},
                                                      {"LIST", {"list"}}};
    for (const auto &[typed, expected] : typos)
        EXPECT_EQ(Suggestions::similar(typed, known), expected) << typed.toStdString();
    EXPECT_EQ(Suggestions::distance("abc", "bac"), 1); // a swap is one typo
    EXPECT_EQ(Suggestions::question({"a", "b", "c"}), "did you mean 'a', 'b' or 'c'?");
    EXPECT_EQ(Suggestions::question({}), QString());
}

TEST(TextTest, VersionsSayNotFoundAndSkipVirtualBoxWarnings)
{
    const VersionReport::Versions missing =
        VersionReport::read("/nonexistent/plugins/", "/nonexistent/VBoxManage");
    EXPECT_EQ(VersionReport::text(missing),
              "vmtools " VMTOOLS_VERSION_STRING "\nplug-in vboxmanage: not found\n"
              "VirtualBox: not found\n");
    EXPECT_TRUE(VersionReport::json(missing).value("virtualBoxVersion").isNull());
    EXPECT_EQ(VersionReport::versionLine("WARNING: The vboxdrv kernel module is not loaded.\n"
                                         "7.1.6r167084\n"),
              "7.1.6r167084");
    EXPECT_TRUE(VersionReport::versionLine("VBoxManage: error: no access\n").isNull());
}

// Tables and the fields of several values are checked whole by the child-process tests.
TEST(TextTest, EmptyFieldsSizesAndElapsedTimes)
{
    EXPECT_EQ(TextFormat::fields({{"IP address", "10.0.0.2"}, {"Empty", ""}}),
              "IP address:  10.0.0.2\nEmpty:\n");
    const QList<QPair<qint64, QString>> sizes = {{0, "0 KB"},
                                                 {1, "1 KB"},
                                                 {13312, "13 KB"},
                                                 {1048575, "1024 KB"},
                                                 {1536 * 1024, "1.5 MB"},
                                                 {3LL << 30, "3.0 GB"}};
    for (const auto &[bytes, text] : sizes)
        EXPECT_EQ(TextFormat::size(bytes), text) << bytes;
    const QList<QPair<qint64, QString>> times = {{-5, "0:00"},       {999, "0:00"},
                                                 {59999, "0:59"},    {61000, "1:01"},
                                                 {3599999, "59:59"}, {3723000, "1:02:03"}};
    for (const auto &[ms, text] : times)
        EXPECT_EQ(Progress::elapsedText(ms), text) << ms;
}

// The levels and stamps of log lines are also checked through the child process.
TEST(TextTest, LogLinesKeepTheEngineTextAndFilterOnlyByLevel)
{
    const QDateTime time(QDate(2026, 1, 2), QTime(3, 4, 5, 67));
    EXPECT_EQ(Logging::fileLine(time, QtCriticalMsg, "[VBox] \"x\"  y "),
              "2026-01-02T03:04:05.067 critical [VBox] \"x\"  y ");
}

TEST(CausesTest, RecordedFailuresOfARealVirtualBoxGetTheirCause)
{
    for (const QStringList &row : dataRows("recorded-causes.txt")) {
        const Causes::FailedRun run{readSource("tests/data/7.2/" + row[0]), 1, row[1]};
        EXPECT_EQ(Causes::plain(run), row[2]) << row[0].toStdString();
    }
}

// What a real VirtualBox 7.2 printed for "list --long vms" (its first two machines; the second
// has a shared folder and a snapshot, whose lines also begin with "Name:") and the second one's
// settings file, whose snapshot keeps properties of its own.
TEST(LongListingTest, EachBlockIsOneMachinesDescriptionAndItsFileGivesOnlyItsOwnProperties)
{
    QFile file(QStringLiteral(VMTOOLS_SOURCE_DIR "/tests/data/7.2/list-long-vms.txt"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString listing = QString::fromUtf8(file.readAll());
    const QList<LongListing::Block> blocks = LongListing::blocks(listing);
    ASSERT_EQ(blocks.size(), 2);
    EXPECT_EQ(blocks[0].text + blocks[1].text, listing);
    EXPECT_TRUE(blocks[1].text.startsWith("Name:                        probe2\n"));
    EXPECT_TRUE(blocks[1].text.endsWith("Configured memory balloon:   0MB\n\n"));
    EXPECT_EQ(blocks[1].uuid, "3a28de1b-2a20-4a20-bbdd-245bb80ab3cc");
    EXPECT_EQ(blocks[1].configFile, "/tmp/speedhome/VirtualBox VMs/probe2/probe2.vbox");
    EXPECT_TRUE(LongListing::isSettled(blocks[1]));
    EXPECT_FALSE(blocks[1].encrypted);
    EXPECT_TRUE(
        LongListing::blocks("\"probe1\" {93da47d7-c71d-4a87-a5b1-b94ea848688a}\n").isEmpty());

    const QString settings = VMTOOLS_SOURCE_DIR "/tests/data/7.2/machine-settings.vbox";
    MachineSettingsFile::Machine machine;
    ASSERT_TRUE(MachineSettingsFile::read(settings, blocks[1].uuid, &machine));
    EXPECT_EQ(MachineSettingsFile::enumerateText(machine.properties),
              "Name: after_snapshot, value: it's, value: x, timestamp: 1795650442321237000, "
              "flags: \n"
              "Name: vbox_graph_mode, value: 720x1280-16, timestamp: 1795649505237280000, "
              "flags: \n");
    // What the plug-in reads of the description and the snapshots is what VirtualBox printed.
    const QString description =
        MachineSettingsFile::descriptionText(machine, blocks[1].uuid, blocks[1].configFile);
    for (const char *line :
         {"Name:                        probe2\n", "Memory size:                 1024MB\n",
          "Number of CPUs:              1\n", "Config file:                 /tmp/speedhome/"})
        EXPECT_TRUE(blocks[1].text.contains(line) && description.contains(line)) << line;
    EXPECT_TRUE(description.contains("State:                       powered off (since "
                                     "2026-11-25T23:47:21.000000000)\n"));
    int exitCode = -1;
    EXPECT_EQ(MachineSettingsFile::snapshotListText(machine, &exitCode),
              "   Name: s1 (UUID: 1960d38d-fb26-4806-8fc8-259fb312e15f) *\n");
    EXPECT_EQ(exitCode, 0);
    // Another machine's file, a file cut short, no file: no answer.
    EXPECT_FALSE(MachineSettingsFile::read(settings, blocks[0].uuid, &machine));
    QFile whole(settings);
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    QTemporaryFile cut;
    ASSERT_TRUE(cut.open());
    cut.write(whole.readAll().left(2200));
    cut.close();
    EXPECT_FALSE(MachineSettingsFile::read(cut.fileName(), blocks[1].uuid, &machine));
    EXPECT_FALSE(MachineSettingsFile::read(settings + ".gone", blocks[1].uuid, &machine));
}

namespace {

// A settings file as VirtualBox writes it, cut down to what is read.
void writeSettings(const QString &path, const QString &uuid, const QString &name,
                   const QString &machineAttributes, const QString &inside)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QStringLiteral("<?xml version=\"1.0\"?>\n<VirtualBox version=\"1.19-linux\">\n"
                              "  <Machine uuid=\"{%1}\" name=\"%2\" %3>\n%4"
                              "    <Hardware><Memory RAMSize=\"2048\"/></Hardware>\n"
                              "  </Machine>\n</VirtualBox>\n")
                   .arg(uuid, name, machineAttributes, inside)
                   .toUtf8());
}

} // namespace

// Only a machine that no process runs, whose file is its own and says it was powered off,
// is answered from its file; the registry names the file, or else the device's folder does.
TEST(SettledMachinesTest, OnlyPoweredOffMachinesWithTheirOwnFileAreAnsweredFromIt)
{
    QTemporaryDir home;
    const QString vbox = home.path() + "/vbox";
    const QString deploy = home.path() + "/deployed";
    qputenv("VBOX_USER_HOME", QFile::encodeName(vbox));
    const char *uuids[] = {
        "00000000-0000-4000-8000-00000000000a", "00000000-0000-4000-8000-00000000000b",
        "00000000-0000-4000-8000-00000000000c", "00000000-0000-4000-8000-00000000000d",
        "00000000-0000-4000-8000-00000000000e", "00000000-0000-4000-8000-00000000000f"};
    const QString nested = QStringLiteral(
        "    <Snapshot uuid=\"{00000000-0000-4000-8000-000000000001}\" name=\"factory-backup\">\n"
        "      <Hardware><CPU count=\"8\"/><Memory RAMSize=\"64\"/></Hardware>\n"
        "      <Snapshots><Snapshot uuid=\"{00000000-0000-4000-8000-000000000002}\" "
        "name=\"child\"/></Snapshots>\n    </Snapshot>\n");
    writeSettings(vbox + "/m/a.vbox", uuids[0], "a",
                  "currentSnapshot=\"{00000000-0000-4000-8000-000000000002}\" "
                  "lastStateChange=\"2026-11-26T02:59:56Z\"",
                  nested);
    writeSettings(vbox + "/m/b.vbox", uuids[1], "b", "aborted=\"true\"", "");
    writeSettings(vbox + "/m/c.vbox", uuids[2], "c", "", "");
    writeSettings(deploy + "/d/d.vbox", uuids[3], "d", "", "");
    writeSettings(vbox + "/m/e.vbox", uuids[0], "e", "", ""); // another machine's file
    writeSettings(vbox + "/m/f.vbox", uuids[5], "f", "stateFile=\"Snapshots/f.sav\"", "");
    QFile registry(vbox + "/VirtualBox.xml");
    ASSERT_TRUE(registry.open(QIODevice::WriteOnly));
    registry.write(QStringLiteral("<VirtualBox><Global><MachineRegistry>\n"
                                  "<MachineEntry uuid=\"{%1}\" src=\"m/a.vbox\"/>\n"
                                  "<MachineEntry uuid=\"{%2}\" src=\"%3/m/b.vbox\"/>\n"
                                  "<MachineEntry uuid=\"{%4}\" src=\"m/c.vbox\"/>\n"
                                  "<MachineEntry uuid=\"{%5}\" src=\"m/e.vbox\"/>\n"
                                  "<MachineEntry uuid=\"{%6}\" src=\"m/f.vbox\"/>\n"
                                  "</MachineRegistry></Global></VirtualBox>\n")
                       .arg(uuids[0], uuids[1], vbox, uuids[2], uuids[4], uuids[5])
                       .toUtf8());
    registry.close();

    QString listing;
    for (int i = 0; i < 6; ++i)
        listing += QStringLiteral("\"%1\" {%2}\n").arg(QChar('a' + i)).arg(uuids[i]);
    CallMemo memo;
    SettledMachines::keepAnswers(memo, "VBoxManage", listing,
                                 QStringLiteral("\"c\" {%1}\n").arg(uuids[2]), deploy);
    qunsetenv("VBOX_USER_HOME");
    const QString answered = "ad";
    for (int i = 0; i < 6; ++i) {
        const bool expected = answered.contains(QChar('a' + i));
        EXPECT_EQ(memo.isKnown("VBoxManage", {"showvminfo", uuids[i]}), expected) << i;
        EXPECT_EQ(memo.isKnown("VBoxManage", {"guestproperty", "enumerate", uuids[i]}), expected);
    }

    MachineSettingsFile::Machine a;
    ASSERT_TRUE(MachineSettingsFile::read(vbox + "/m/a.vbox", uuids[0], &a));
    EXPECT_EQ(a.cpus, 1u); // the snapshot's eight are not the machine's
    EXPECT_EQ(a.memoryMB, 2048u);
    int exitCode = -1;
    EXPECT_EQ(MachineSettingsFile::snapshotListText(a, &exitCode),
              "   Name: factory-backup (UUID: 00000000-0000-4000-8000-000000000001)\n"
              "      Name: child (UUID: 00000000-0000-4000-8000-000000000002) *\n");
    MachineSettingsFile::Machine d;
    ASSERT_TRUE(MachineSettingsFile::read(deploy + "/d/d.vbox", uuids[3], &d));
    EXPECT_EQ(MachineSettingsFile::snapshotListText(d, &exitCode),
              "This machine does not have any snapshots\n");
    EXPECT_EQ(exitCode, 1);
}

// VirtualBox's settings file answers "list dhcpservers" as 5.2 prints it, or not at all: a
// fresh VirtualBox has a server that it writes nowhere, and a server without an address would
// be listed with one the file does not know.
TEST(VirtualBoxSettingsTest, TheDhcpServersAreListedAsVirtualBoxListsThem)
{
    QTemporaryDir home;
    qputenv("VBOX_USER_HOME", QFile::encodeName(home.path()));
    const auto answer = [&](const QByteArray &xml, QString *text) {
        QFile file(home.path() + "/VirtualBox.xml");
        if (!xml.isNull()) {
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(xml);
            file.close();
        }
        return VirtualBoxSettings::dhcpServersText(text);
    };
    const QByteArray server = R"(<DHCPServer networkName="HostInterfaceNetworking-vboxnet%1" )"
                              R"(IPAddress="192.168.%2.%3" networkMask="255.255.255.0" )"
                              R"(lowerIP="192.168.%2.%4" upperIP="192.168.%2.254" enabled="%5">)"
                              R"(<Options><Option name="1" value="255.255.255.0"/></Options>)"
                              "</DHCPServer>\n";
    const auto entry = [&](int n, int first, const char *enabled) {
        return QString::fromLatin1(server).arg(n).arg(56 + n).arg(first).arg(first + 1).arg(
            QLatin1String(enabled));
    };
    const QString servers = entry(1, 100, "0") + entry(0, 100, "1") + entry(2, 2, "true");
    QString text;
    ASSERT_TRUE(answer(QStringLiteral("<VirtualBox><Global><NetserviceRegistry><DHCPServers>%1"
                                      "</DHCPServers><NATNetworks><NATNetwork networkName=\"n\" "
                                      "network=\"10.0.9.0/24\"/></NATNetworks>"
                                      "</NetserviceRegistry></Global></VirtualBox>")
                           .arg(servers)
                           .toUtf8(),
                       &text));
    EXPECT_EQ(text, readSource("tests/data/5.2/core-dhcpservers.txt"));
    EXPECT_TRUE(answer("<VirtualBox><Global><MachineRegistry/></Global></VirtualBox>", &text));
    EXPECT_EQ(text, "");

    text = "unchanged";
    const char *unanswered[] = {
        R"(<VirtualBox><DHCPServer networkName="a" IPAddress="192.168.56.100" )"
        R"(lowerIP="192.168.56.101" upperIP="192.168.56.254" enabled="1"/></VirtualBox>)",
        "<VirtualBox><Global><DHCPServers></Global></VirtualBox>",
    };
    for (const char *xml : unanswered)
        EXPECT_FALSE(answer(xml, &text)) << xml;
    QFile::remove(home.path() + "/VirtualBox.xml");
    EXPECT_FALSE(answer(QByteArray(), &text));
    EXPECT_EQ(text, "unchanged");
    qunsetenv("VBOX_USER_HOME");
}

// A device may have exactly what the host has, and no more; VirtualBox's own minimum holds.
TEST(GuestLimitsTest, TheHostsMaximaAreAllowedAndOneMoreIsNot)
{
    for (const char *version : {"5.2", "7.2"}) {
        const GuestLimits::Limits limits = GuestLimits::parse(
            readSource(QString("tests/data/%1/core-systemproperties.txt").arg(version)), 8, 16384);
        EXPECT_EQ(GuestLimits::problem("cpus", 8, limits.cpus), "") << version;
        EXPECT_EQ(GuestLimits::problem("memory", 16384, limits.memory, "MB"), "") << version;
        EXPECT_EQ(GuestLimits::problem("memory", 4, limits.memory, "MB"), "") << version;
        EXPECT_EQ(GuestLimits::problem("cpus", 9, limits.cpus),
                  "cpus 9 is outside what VirtualBox and this host allow: 1 to 8");
        EXPECT_EQ(GuestLimits::problem("memory", 16385, limits.memory, "MB"),
                  "memory 16385 is outside what VirtualBox and this host allow: 4 to 16384 MB");
        EXPECT_NE(GuestLimits::problem("memory", 3, limits.memory, "MB"), "");
        EXPECT_NE(GuestLimits::problem("cpus", 0, limits.cpus), "");
    }
}
