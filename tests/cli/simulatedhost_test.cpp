// SPDX-License-Identifier: Apache-2.0
// vmtools against the simulated VirtualBox: two at once, as the desktop application and
// vmtools (or two vmtools) may run, sharing VirtualBox's default machine folder and its
// host-only interface; and a host whose disk fills up or whose folders cannot be written.
#include "vmtoolshost.h"

#include "simhost.h"

#include <QDir>
#include <QDirIterator>

#include <csignal>

namespace {

QString machineFolder(const SimHost &sim)
{
    const QString properties = sim.vbox({"list", "systemproperties"}).out;
    const QRegularExpression folder("^Default machine folder: +(.*)$",
                                    QRegularExpression::MultilineOption);
    return folder.match(properties).captured(1);
}

// The exit codes of two runs started at the same moment, in order.
QList<int> together(const VmtoolsHost &host, const QStringList &first, const QStringList &second)
{
    const auto one = host.start(first);
    const auto two = host.start(second);
    QList<int> codes;
    for (QProcess *process : {one.get(), two.get()}) {
        process->waitForFinished(120000);
        codes.append(process->exitCode());
    }
    return codes;
}

int deviceCount(const SimHost &sim)
{
    return sim.vbox({"list", "vms"}).out.count(" {");
}

const QString Appliance = QStringLiteral(VBOXSIM_SAMPLE_OVA);

} // namespace

TEST(CliSimulatedHostTest, TwoProcessesShareTheMachineFolderAndTheHostOnlyInterface)
{
    SimHost sim; // a fresh host: no host-only interface yet
    VmtoolsHost host;
    host.setBaseEnvironment(sim.environment());
    const QString userFolder = machineFolder(sim);
    ASSERT_FALSE(userFolder.isEmpty());
    const QString &ova = Appliance;
    const QString deploy = host.scratch() + "/../home/qm/.Brellstock/Quillomate/deployed";
    const auto devices = [&sim] {
        return deviceCount(sim);
    };

    // Two start-ups that may repair the network make one interface between them.
    EXPECT_EQ(together(host, {"repair-network"}, {"repair-network"}), (QList<int>{0, 0}));
    EXPECT_EQ(sim.vbox({"list", "hostonlyifs"})
                  .out.count(QRegularExpression("^Name:", QRegularExpression::MultilineOption)),
              1);

    // Different names: both devices, and the user's folder back. The same name: one
    // device, one clean failure, and the made device's folder intact.
    EXPECT_EQ(together(host, {"create", "a", ova}, {"create", "b", ova}), (QList<int>{0, 0}));
    EXPECT_EQ(machineFolder(sim), userFolder);
    QList<int> codes = together(host, {"create", "c", ova}, {"create", "c", ova});
    std::sort(codes.begin(), codes.end());
    EXPECT_EQ(codes, (QList<int>{0, 1}));
    EXPECT_EQ(devices(), 3);
    EXPECT_TRUE(QFileInfo::exists(deploy + "/c/android_system_disk.vmdk"));
    codes = together(host, {"clone", "a", "d"}, {"clone", "b", "d"});
    std::sort(codes.begin(), codes.end());
    EXPECT_EQ(codes, (QList<int>{0, 1}));
    EXPECT_EQ(devices(), 4);
    EXPECT_TRUE(QFileInfo::exists(deploy + "/d/d.vbox"));
    EXPECT_EQ(machineFolder(sim), userFolder);

    // Killed while the folder is switched: the next start-up, even a read-only one, puts it
    // back.
    sim.setFaults("import slow ms=3000\n");
    const auto killed = host.start({"create", "e", ova});
    for (int i = 0; i < 200 && machineFolder(sim) == userFolder; ++i)
        QThread::msleep(50);
    ASSERT_NE(machineFolder(sim), userFolder);
    ASSERT_GT(killed->processId(), 0); // kill(0) would hit this test
    ::kill(static_cast<pid_t>(killed->processId()), SIGKILL);
    killed->waitForFinished();
    EXPECT_EQ(host.run({"info"}).exitCode, 0);
    EXPECT_EQ(machineFolder(sim), userFolder);
}

TEST(CliSimulatedHostTest, AFullDiskOrAnUnusableFolderFailsClearlyAndLeavesNothingHalfMade)
{
    SimHost sim;
    VmtoolsHost host;
    host.setBaseEnvironment(sim.environment());
    ASSERT_EQ(host.run({"create", "a", Appliance}).exitCode, 0);
    const QString userFolder = machineFolder(sim);
    const QString target = host.scratch("a.ova");
    const QString notAFolder = host.scratchFile("file", "") + "/deployed";
    const QString deployed =
        QDir::cleanPath(host.scratch() + "/../home/qm/.Brellstock/Quillomate/deployed");
    for (const QStringList &row : dataRows("broken-host.txt", {{"{target}", target},
                                                               {"{appliance}", Appliance},
                                                               {"{file}", host.scratch("file")},
                                                               {"{deployed}", deployed}})) {
        SCOPED_TRACE(row[1].toStdString());
        sim.setFaults(row[0].isEmpty() ? QString() : row[0] + '\n');
        expectRuns(host, {{row[1], row[2].toInt(), row[3]}});
        EXPECT_EQ(deviceCount(sim), row[4].toInt());
        EXPECT_EQ(machineFolder(sim), userFolder);
        // No appliance, no temporary folder beside it, and the file left as it was.
        EXPECT_EQ(QDir(host.scratch()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                  QStringList{"file"});
    }
    EXPECT_FALSE(QFileInfo::exists(host.scratch() + "/../home/qm/.Brellstock/Quillomate/"
                                                    "deployed/b"));
    // A file that is no appliance is named as such, in VirtualBox's words of every version.
    const VmtoolsResult notAnAppliance = host.run({"create", "d", host.scratch() + "/file"});
    EXPECT_EQ(notAnAppliance.exitCode, 1);
    EXPECT_TRUE(notAnAppliance.err.contains(": the file is not an appliance: give an .ova file"))
        << notAnAppliance.err.toStdString();

    // A deploy folder that the desktop application chose and that cannot be made.
    QFile settings(host.scratch() + "/../home/.config/Brellstock/Quillomate.conf");
    ASSERT_TRUE(settings.open(QIODevice::Append));
    settings.write("vms.path=" + notAFolder.toUtf8() + '\n');
    settings.close();
    expectRuns(host, {{"create d " + Appliance, 1, "the device could not be created"}});
    EXPECT_EQ(deviceCount(sim), 1);
    EXPECT_EQ(machineFolder(sim), userFolder);
}

// Names are passed to VirtualBox as they are and compared exactly: blanks, characters that
// mean something in a pattern, a backslash and non-ASCII letters go through every command.
// A name already taken, or one whose folder holds another device's settings (VirtualBox
// names the folder of "x+y" "x_y"), is refused without touching any file.
TEST(CliSimulatedHostTest, EveryCommandTakesAnyNameAndNeverOverwritesAnotherDevice)
{
    SimHost sim;
    VmtoolsHost host;
    host.setBaseEnvironment(sim.environment());
    const QString deploy = host.scratch() + "/../home/qm/.Brellstock/Quillomate/deployed";
    const QString target = host.scratch("out.ova");
    const auto tree = [&deploy] {
        QStringList files;
        QDirIterator it(deploy, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            files.append(it.next());
        files.sort();
        return files;
    };
    const QString taken = "a device with that name already exists";
    const QList<QStringList> rows{
        {"Pixel (2)", "Pixel (2)"},
        {"x+y [1]", "x_y _1_"},
        {"a.b *?{}|^$\\ \u0422\u0435\u043b\u0435", "a.b ________ \u0422\u0435\u043b\u0435"}};
    for (const QStringList &row : rows) {
        const QString &name = row[0];
        const QString &folder = row[1];
        const QString copy = name + " copy";
        SCOPED_TRACE(name.toStdString());
        expectRuns(host, {{{"create", name, Appliance, "--sdcard", "64"}, 0}});
        ASSERT_TRUE(QFileInfo::exists(deploy + '/' + folder + '/' + folder + ".vbox"));
        QStringList before = tree();
        expectRuns(host, {{{"create", name, Appliance}, 1, taken}});
        if (folder != name)
            expectRuns(host, {{{"create", folder, Appliance}, 1, "the device could not be created"},
                              {{"clone", name, folder}, 1}});
        EXPECT_EQ(tree(), before);

        // Each key reads back what it wrote, not a neighbour's guest property.
        expectRuns(
            host,
            {{{"set", name, "density", "240", "product-board", "b1", "product-brand", "b2"}, 0},
             {{"get", name, "density", "product-board", "product-brand", "--json"},
              0,
              "",
              R"({"values": {"density": 240, "productBoard": "b1",
                                          "productBrand": "b2"}})"},
             {{"factory-backup", name}, 0},
             {{"start", name}, 0},
             {{"stop", name}, 0},
             {{"clone", name, copy}, 0},
             {{"export", name, target}, 0},
             {{"factory-reset", name}, 0}});
        const VmtoolsResult listed = host.run({"list", "--no-headers"});
        EXPECT_TRUE(listed.out.startsWith(name + "  ") || listed.out.contains('\n' + name + "  "))
            << listed.out.toStdString();
        before = tree();
        expectRuns(host, {{{"clone", copy, name}, 1, taken}, {{"rename", copy, name}, 1}});
        EXPECT_EQ(tree(), before);

        expectRuns(host, {{{"rename", copy, name + " 2"}, 0},
                          {{"delete", name + " 2"}, 0},
                          {{"delete", name}, 0}});
        EXPECT_EQ(tree(), QStringList());
        EXPECT_EQ(QDir(deploy).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
        QFile::remove(target);
    }
    EXPECT_EQ(deviceCount(sim), 0);
}

// Every cause is read from what VirtualBox never translates, so a service that speaks
// Russian (started by a Russian desktop) gives the same cause lines as an English one.
TEST(CliSimulatedHostTest, CausesComeFromVirtualBoxsCodesInAnyLanguage)
{
    SimHost sim(QStringLiteral("7.2"));
    VmtoolsHost host;
    host.setBaseEnvironment(sim.environment());
    ASSERT_EQ(host.run({"create", "a", Appliance}).exitCode, 0);
    const QString disk = host.scratchFile("x.vdi", "");
    const QRegularExpression cyrillic(QStringLiteral("[\\x{0400}-\\x{04ff}]"));
    for (const char *language : {"en", "ru"}) {
        sim.setVariable("VBOXSIM_SERVICE_LANGUAGE", language);
        host.setBaseEnvironment(sim.environment());
        for (const QStringList &row :
             dataRows("causes.txt", {{"{disk}", disk}, {"{scratch}", host.scratch()}})) {
            SCOPED_TRACE((language + (' ' + row[0])).toStdString());
            sim.setFaults(row[0] + '\n');
            const QString err = expectRuns(host, {{row[1], row[2].toInt(), row[3]}}).first().err;
            EXPECT_EQ(err.contains(cyrillic), row[4] == "yes" && language == QLatin1String("ru"))
                << err.toStdString();
        }
    }
}
