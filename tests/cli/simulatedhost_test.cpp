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
    struct Row
    {
        QString faults;
        Expect run;
        int devicesAfter;
    };
    const Row rows[] = {
        {"export diskfull\n",
         {"export a " + target, 1, "a could not be exported to " + target + ": the disk is full"},
         1},
        {"clonevm diskfull\n", {"clone a b", 1, "the disk became full during the clone"}, 1},
        // VirtualBox keeps a device whose SD card could not be made; it works without one.
        {"createhd diskfull\n",
         {"create c " + Appliance + " --sdcard 512", 1,
          "the SD-card image could not be created: the disk is full"},
         2},
        {"", {"deploy-dir " + notAFolder, 1, "cannot create the folder " + notAFolder}, 2},
        // Reported done, but not done: vmtools looks before it calls anything a success.
        {"clonevm empty\n",
         {"clone a b", 1,
          "a was not cloned: VirtualBox reported the clone done, but no device b "
          "is registered; clone again"},
         2},
        {"export empty\n", {"export a " + target, 1, "a could not be exported to " + target}, 2},
        {"export partial\n",
         {"export a " + target, 1,
          "a was not exported: VirtualBox reported the export done, but " + target +
              " is no appliance; export again"},
         2},
        {"modifyvm empty\n",
         {"rename a e", 1,
          "a was not renamed: VirtualBox reported it done, but no device answers "
          "to e; see 'vmtools list'"},
         2},
        {"unregistervm childmedia\n",
         {"delete c", 1,
          "c was only partly deleted: VirtualBox unregistered it but left its folder " + deployed +
              "/c (3 file(s): android_data_disk.vmdk, "
              "android_system_disk.vmdk, c.vbox): a linked clone still "
              "uses the device's disks, so VirtualBox unregistered it "
              "but kept its files"},
         1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.run.arguments.join(' ').toStdString());
        sim.setFaults(row.faults);
        expectRuns(host, {row.run});
        EXPECT_EQ(deviceCount(sim), row.devicesAfter);
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

        expectRuns(host, {{{"set", name, "density", "240"}, 0},
                          {{"get", name, "density"}, 0, "", "240\n"},
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
    const QString kvm = "a could not be started: KVM holds the processor's ";
    const QString versions = "a could not be started: VirtualBox's kernel modules are of another "
                             "version than VirtualBox";
    struct Row
    {
        QString faults;
        Expect run;
        bool translated; // the service's message is in its language
    };
    const Row rows[] = {
        {"startvm vmx rc=VERR_VMX_IN_VMX_ROOT_MODE\n", {"start a", 1, kvm + "VT-x"}, true},
        {"startvm svm rc=VERR_SVM_IN_USE\n", {"start a", 1, kvm + "AMD-V"}, true},
        {"startvm svm rc=VERR_SVM_HOST_SVME_NOT_ENABLED\n", {"start a", 1, kvm + "AMD-V"}, true},
        {"startvm fail rc=VERR_VMM_R0_VERSION_MISMATCH\n", {"start a", 1, versions}, true},
        {"* nodriver\nstartvm fail rc=VERR_VM_DRIVER_NOT_INSTALLED\n",
         {"start a", 1, "a could not be started: VirtualBox's kernel driver is not loaded"},
         true},
        // As a real VirtualBox 7.2 without its driver and without the wrapper's warning.
        {"startvm fail rc=VERR_VM_DRIVER_NOT_INSTALLED\n",
         {"start a", 1,
          "a could not be started: the device's VirtualBox process ended while "
          "starting, most often because VirtualBox's kernel driver is not loaded"},
         true},
        {"modifyvm locked\n",
         {"set a cpus 2", 1,
          "VirtualBox did not take cpus 2 for a: the device is in use by another "
          "program"},
         true},
        {"showvminfo fail code=E_ACCESSDENIED context=LockMachine message=The object "
         "functionality is limited\n",
         {"show a", 1,
          "\"a\" could not be looked up: VirtualBox cannot read the device's settings"},
         true},
        {"clonehd fail code=NS_ERROR_INVALID_ARG context=OpenMedium message=Cannot register the "
         "hard disk '/d/x.vdi' {3c5e7a9b-1d3f-4b6d-8f1a-2c4e6a8b0d2f} because a hard disk "
         "'/d/x.vdi' with UUID {3c5e7a9b-1d3f-4b6d-8f1a-2c4e6a8b0d2f} already exists\n",
         {"copy-disk " + disk + " " + host.scratch("y.vdi"), 1,
          "the disk image could not be copied: a disk with the same UUID is already registered in "
          "VirtualBox"},
         true},
        {"modifyvm fail exit=2 message=Unknown option: --cpus\n",
         {"set a cpus 2", 1,
          "VirtualBox did not take cpus 2 for a: VirtualBox refused vmtools' "
          "command line (exit status 2)"},
         false},
    };
    const QRegularExpression cyrillic(QStringLiteral("[\\x{0400}-\\x{04ff}]"));
    for (const char *language : {"en", "ru"}) {
        sim.setVariable("VBOXSIM_SERVICE_LANGUAGE", language);
        host.setBaseEnvironment(sim.environment());
        for (const Row &row : rows) {
            SCOPED_TRACE((language + (' ' + row.faults)).toStdString());
            sim.setFaults(row.faults);
            const QString err = expectRuns(host, {row.run}).constFirst().err;
            EXPECT_EQ(err.contains(cyrillic), row.translated && language == QLatin1String("ru"))
                << err.toStdString();
        }
    }
}
