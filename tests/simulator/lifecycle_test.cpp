// SPDX-License-Identifier: Apache-2.0
// The whole life of a device: the plug-in, loaded as a host loads it, against the stand-in
// printing each VirtualBox version's formats (and 7.1's in Russian, which the plug-in must
// not see), with the files on disk checked after each step. The test's home folder holds
// a non-ASCII name, and so do the clone's name and the export's path.
#include "logcapture.h"
#include "procstats.h"
#include "simhost.h"

#include <vmtools/paths.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>
#include <vmtools/vmtoolsobserver.h>

#include <gtest/gtest.h>

#include <QDir>
#include <memory>
#include <thread>

namespace {

const QString Clone = QStringLiteral("Pixel \u03a9");
const QString Renamed = QStringLiteral("Tablet \u00fc");

struct Profile
{
    const char *version;
    const char *locale = ""; // the desktop's, or none
    const char *faults = ""; // for the whole life
};

void PrintTo(const Profile &profile, std::ostream *os)
{
    *os << profile.version << ' ' << profile.locale << ' ' << profile.faults;
}

std::unique_ptr<VMToolsEngine> loadEngine(LoadStateInfo *info)
{
    return std::unique_ptr<VMToolsEngine>(VMToolsEngine::loadEngine(info));
}

std::unique_ptr<VMToolsMachine> machine(VMToolsEngine &engine, const QString &name)
{
    return std::unique_ptr<VMToolsMachine>(engine.getMachine(name));
}

// Cancels once a child of this process is VBoxManage itself exporting (past any wrapper
// script), so that it is VirtualBox that is interrupted.
void cancelOnceVBoxManageExports(VMToolsObserver &observer)
{
    for (int waited = 0; waited < 30000; ++waited) {
        for (const qint64 child : ProcStats::children()) {
            const QString proc = QStringLiteral("/proc/%1/").arg(child);
            QFile cmdline(proc + QStringLiteral("cmdline"));
            const bool exporting = cmdline.open(QIODevice::ReadOnly) &&
                                   cmdline.readAll().contains(QByteArrayLiteral("\0export\0"));
            if (exporting && QFile::symLinkTarget(proc + QStringLiteral("exe"))
                                 .endsWith(QStringLiteral("/VBoxManage"))) {
                observer.cancel();
                return;
            }
        }
        QThread::msleep(1);
    }
}

std::string profileName(const ::testing::TestParamInfo<Profile> &info)
{
    QString name =
        QStringLiteral("v%1%2%3").arg(QString::fromLatin1(info.param.version),
                                      QString::fromLatin1(info.param.locale).left(2).remove('_'),
                                      *info.param.faults ? "warned" : "");
    return name.remove('.').toStdString();
}

} // namespace

class SimulatorLifecycle : public ::testing::TestWithParam<Profile>
{
};

TEST_P(SimulatorLifecycle, ADeviceIsCreatedUsedCopiedExportedResetAndDeleted)
{
    SimHost host(QString::fromLatin1(GetParam().version));
    if (host.isReal() && qEnvironmentVariableIsEmpty("VMTOOLS_REAL_VIRTUALBOX"))
        GTEST_SKIP() << "runs where a real VirtualBox is first on PATH (scripts/real-vbox.sh)";
    host.setBootMs(300);
    const ScopedEnvironment virtualBox = host.use(GetParam().locale);
    const QString faults = QString::fromLatin1(GetParam().faults);
    host.setFaults(faults);
    ASSERT_TRUE(Paths::getQuillomatePath().contains(QStringLiteral("zo\u00e9")));
    LoadStateInfo info;
    std::unique_ptr<VMToolsEngine> engine = loadEngine(&info);
    ASSERT_TRUE(engine);
    EXPECT_EQ(info.state, 0);
    EXPECT_EQ(engine->getAdapterName(), "vboxnet0");
    if (!host.isReal()) {
        EXPECT_EQ(engine->getMaxCpuCount(), 8u);
        EXPECT_EQ(engine->getMaxMemory(), 16384u);
    }
    const QString deploy = QDir::cleanPath(Paths::getQuillomatePath() + "/deployed");
    // From here on every version's DHCP listing must be read: nothing rebuilds the network.
    LogCapture log;

    // Creation from the sample appliance, with an SD card in place of the appliance's disk.
    ASSERT_EQ(engine->createMachine(VBOXSIM_SAMPLE_OVA, "phone", 2, 2048, 64), 0u);
    EXPECT_EQ(QDir(deploy + "/phone").entryList(QDir::Files, QDir::Name),
              (QStringList{"android_data_disk.vmdk", "android_system_disk.vmdk", "phone.vbox",
                           "phone.vbox-prev", "sdcard.vdi"}));
    // The stand-in's own listings below may be in the desktop's language: only values count.
    expectContains(host.vbox({"list", "systemproperties"}).out,
                   {"  " + host.defaultMachineFolder() + "\n"});
    const QString info0 = host.vbox({"showvminfo", "phone"}).out;
    for (const char *disk : {"android_system_disk.vmdk", "android_data_disk.vmdk", "sdcard.vdi"})
        EXPECT_TRUE(info0.contains(deploy + "/phone/" + disk)) << disk;

    // The profile survives a reload.
    std::unique_ptr<VMToolsMachine> phone = machine(*engine, "phone");
    ASSERT_TRUE(phone);
    EXPECT_EQ(phone->getResolution(), QSize(768, 1280));
    phone->setResolution(QSize(800, 1280));
    phone->setDensity("240");
    phone = machine(*engine, "phone");
    ASSERT_TRUE(phone);
    EXPECT_EQ(phone->getAdapterType(1), VMToolsMachine::HostOnlyAdapter);
    EXPECT_FALSE(phone->getDiskUuid(SecondaryPort, MasterDevice).isEmpty());
    EXPECT_EQ(phone->getResolution(), QSize(800, 1280));
    EXPECT_EQ(phone->getDensity(), "240");
    const QList<VMToolsMachine *> listed = engine->getMachines();
    EXPECT_EQ(listed.size(), 1);
    qDeleteAll(listed);

    // Start headless and wait for the guest's address. Without its kernel driver a real
    // VirtualBox refuses, and the log says why.
    if (host.isReal() && !QFileInfo::exists(QStringLiteral("/dev/vboxdrv"))) {
        EXPECT_FALSE(engine->startMachine(phone.get(), VMToolsMachine::HeadlessLaunch));
        EXPECT_EQ(
            log.texts().filter(QStringLiteral("terminated unexpectedly during startup")).size(), 1)
            << qPrintable(log.texts().join('\n'));
    } else {
        ASSERT_TRUE(engine->startMachine(phone.get(), VMToolsMachine::HeadlessLaunch));
        EXPECT_EQ(phone->waitForIP(), "192.168.56.101");
        EXPECT_EQ(phone->getAdbSerial(), "192.168.56.101:5555");
        EXPECT_FALSE(phone->setRAM(1024)) << "a running machine refuses new memory";
        ASSERT_TRUE(engine->stopMachine(phone.get()));
    }
    EXPECT_EQ(phone->getStatus(), VMToolsMachine::Off);

    // Factory backup, then a clone from it, renamed.
    EXPECT_FALSE(phone->canResetToFactory());
    ASSERT_TRUE(phone->createFactoryBackup());
    phone->setDensity("120");
    ASSERT_EQ(engine->cloneMachine(phone.get(), Clone, true), 0u);
    EXPECT_EQ(QDir(deploy + "/" + Clone).entryList(QDir::Files).size(), 4);
    EXPECT_EQ(engine->cloneMachine(phone.get(), Clone, true), 3u);
    std::unique_ptr<VMToolsMachine> copy = machine(*engine, Clone);
    ASSERT_TRUE(copy);
    // VirtualBox copies the current state with the snapshots: only a reset brings the
    // backup's profile.
    EXPECT_EQ(copy->getDensity(), "120");
    EXPECT_TRUE(copy->canResetToFactory());
    ASSERT_TRUE(engine->renameMachine(copy.get(), Renamed));
    EXPECT_FALSE(QFileInfo::exists(deploy + "/" + Clone));
    EXPECT_TRUE(QFileInfo::exists(deploy + "/" + Renamed + "/" + Renamed + ".vbox"));

    // Export to an OVA, with nothing left beside it.
    const QString exports = host.path("exports");
    QDir().mkpath(exports);
    ASSERT_TRUE(engine->exportMachine(copy.get(), exports + "/" + Renamed + ".ova", nullptr));
    EXPECT_EQ(QDir(exports).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{Renamed + ".ova"});

    // An export cancelled from another thread leaves nothing either.
    host.setFaults(faults + "export slow ms=20000\n");
    VMToolsObserver observer;
    std::thread canceller(cancelOnceVBoxManageExports, std::ref(observer));
    EXPECT_FALSE(engine->exportMachine(copy.get(), exports + "/cancelled.ova", &observer));
    canceller.join();
    EXPECT_TRUE(observer.isCanceled());
    EXPECT_EQ(QDir(exports).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{Renamed + ".ova"});
    host.setFaults(faults);

    // Factory reset brings the profile of the backup back.
    EXPECT_EQ(phone->resetFactory(), 0);
    phone->reloadProperties();
    EXPECT_EQ(phone->getDensity(), "240");

    // Deletion removes the machines, their media and their folders.
    EXPECT_TRUE(engine->deleteMachine(phone.get()));
    EXPECT_TRUE(engine->deleteMachine(copy.get()));
    EXPECT_FALSE(QFileInfo::exists(deploy + "/phone"));
    EXPECT_FALSE(QFileInfo::exists(deploy + "/" + Renamed));
    EXPECT_FALSE(host.vbox({"list", "vms"}).out.contains('{'));
    EXPECT_FALSE(host.vbox({"list", "hdds"}).out.contains("UUID:"));

    // A second start-up uses the host-only interface the first one made.
    phone.reset();
    copy.reset();
    engine.reset();
    LoadStateInfo again;
    engine = loadEngine(&again);
    ASSERT_TRUE(engine);
    EXPECT_EQ(again.state, 0);
    EXPECT_EQ(engine->getAdapterName(), "vboxnet0");
    EXPECT_EQ(host.vbox({"list", "hostonlyifs"}).out.count("HostInterfaceNetworking-"), 1);
    EXPECT_EQ(log.texts().filter(QRegularExpression("\\[(create|delete)HostOnlyInterface\\]")),
              QStringList());
}

// A desktop in the "C" locale must not hand VirtualBox an ASCII character set, which
// refuses the non-ASCII names. The last profile has the Linux wrapper script print its
// kernel-module warnings first.
INSTANTIATE_TEST_SUITE_P(EveryVersion, SimulatorLifecycle,
                         ::testing::Values(Profile{"5.2"}, Profile{"6.0"}, Profile{"6.1"},
                                           Profile{"7.0"}, Profile{"7.1"}, Profile{"7.2"},
                                           Profile{"7.1", "ru_RU.UTF-8"}, Profile{"7.0", "C"},
                                           Profile{"7.1", "", "* nodriver\n"}),
                         profileName);
// The same life against the real VirtualBox first on PATH, where VMTOOLS_REAL_VIRTUALBOX
// says there is one (scripts/test.sh runs it in the real-VirtualBox root).
INSTANTIATE_TEST_SUITE_P(RealVirtualBox, SimulatorLifecycle, ::testing::Values(Profile{"real"}),
                         profileName);
