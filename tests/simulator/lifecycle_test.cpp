// The whole life of a device: the plug-in, loaded as a host loads it, against the stand-in
// (VirtualBox 5.2 formats), with the files on disk checked after each step.
#include "simhost.h"

#include <vmtools/paths.h>
#include <vmtools/settings.h>
#include <vmtools/vmtoolsengine.h>
#include <vmtools/vmtoolsmachine.h>
#include <vmtools/vmtoolsobserver.h>

#include <gtest/gtest.h>

#include <QDir>
#include <memory>
#include <thread>

namespace {

const char *const Variables[] = {"VBOXSIM_HOME", "VBOXSIM_VERSION", "VBOXSIM_BOOT_MS",
                                 "VBOXSIM_FAULTS"};

// Puts the stand-in first on PATH and points it at the test's host while it lives.
class SimulatedVirtualBox
{
public:
    explicit SimulatedVirtualBox(const SimHost &host)
        : m_oldPath(qgetenv("PATH"))
    {
        qputenv("PATH", QByteArray(VBOXSIM_BIN_DIR) + ':' + m_oldPath);
        for (const char *name : Variables)
            qputenv(name, host.environment().value(name).toUtf8());
        Settings::remove(QStringLiteral("host.only.interface"));
    }
    ~SimulatedVirtualBox()
    {
        qputenv("PATH", m_oldPath);
        for (const char *name : Variables)
            qunsetenv(name);
    }

private:
    QByteArray m_oldPath;
};

std::unique_ptr<VMToolsEngine> loadEngine(LoadStateInfo *info)
{
    return std::unique_ptr<VMToolsEngine>(VMToolsEngine::loadEngine(info));
}

std::unique_ptr<VMToolsMachine> machine(VMToolsEngine &engine, const QString &name)
{
    return std::unique_ptr<VMToolsMachine>(engine.getMachine(name));
}

} // namespace

TEST(SimulatorLifecycle, ADeviceIsCreatedUsedCopiedExportedResetAndDeleted)
{
    SimHost host;
    host.setBootMs(300);
    SimulatedVirtualBox virtualBox(host);
    LoadStateInfo info;
    std::unique_ptr<VMToolsEngine> engine = loadEngine(&info);
    ASSERT_TRUE(engine);
    EXPECT_EQ(info.state, 0);
    EXPECT_TRUE(engine->isSystemReady());
    EXPECT_EQ(engine->getAdapterName(), "vboxnet0");
    EXPECT_EQ(engine->getMaxCpuCount(), 8u);
    EXPECT_EQ(engine->getMaxMemory(), 16384u);
    EXPECT_EQ(Settings::get("host.only.interface").toString(), "vboxnet0");
    EXPECT_TRUE(
        host.vbox({"list", "dhcpservers"}).out.contains("lowerIPAddress: 192.168.56.101\n"));
    const QString deploy = QDir::cleanPath(Paths::getQuillomatePath() + "/deployed");

    // Creation from the sample appliance, with an SD card in place of the appliance's disk.
    ASSERT_EQ(engine->createMachine(VBOXSIM_SAMPLE_OVA, "phone", 2, 2048, 64), 0u);
    EXPECT_EQ(QDir(deploy + "/phone").entryList(QDir::Files, QDir::Name),
              (QStringList{"android_data_disk.vmdk", "android_system_disk.vmdk", "phone.vbox",
                           "sdcard.vdi"}));
    EXPECT_TRUE(
        host.vbox({"list", "systemproperties"})
            .out.contains("Default machine folder:          " + host.home() + "/VirtualBox VMs\n"));
    const QString info0 = host.vbox({"showvminfo", "phone"}).out;
    EXPECT_TRUE(info0.contains("IDEController (1, 0): " + deploy + "/phone/sdcard.vdi (UUID: "));
    EXPECT_TRUE(info0.contains("Attachment: Host-only Interface 'vboxnet0'"));

    // Every command of the diagnostic dumps is answered.
    std::unique_ptr<VMToolsMachine> phone = machine(*engine, "phone");
    ASSERT_TRUE(phone);
    QFile dump(host.path("dump.txt"));
    ASSERT_TRUE(dump.open(QIODevice::ReadWrite));
    engine->dumpInfos(&dump);
    phone->dumpInfos(&dump);
    dump.seek(0);
    const QString dumped = QString::fromUtf8(dump.readAll());
    EXPECT_TRUE(dumped.startsWith("VBoxManage --version\n5.2.44r139111\n\n\n\n"));
    EXPECT_TRUE(dumped.contains("VBoxManage guestproperty enumerate phone\nName: "));
    EXPECT_TRUE(dumped.contains("VBoxManage showvminfo phone --details\nName:            phone\n"));
    // Seven engine blocks and three machine blocks, none of them failing.
    EXPECT_EQ(dumped.count(QRegularExpression("(^|\n\n\n)VBoxManage ")), 10);
    EXPECT_FALSE(dumped.contains("error:"));

    // The profile survives a reload.
    EXPECT_EQ(phone->getResolution(), QSize(768, 1280));
    EXPECT_TRUE(phone->setAndroidVersion("9.0"));
    phone->setResolution(QSize(800, 1280));
    phone->setDensity("240");
    phone->setDeviceId("");
    phone = machine(*engine, "phone");
    ASSERT_TRUE(phone);
    EXPECT_EQ(phone->getAndroidVersion(), "9.0");
    EXPECT_EQ(phone->getResolution(), QSize(800, 1280));
    EXPECT_EQ(phone->getDensity(), "240");
    EXPECT_EQ(phone->getDeviceId(), "");
    const QList<VMToolsMachine *> listed = engine->getMachines();
    EXPECT_EQ(listed.size(), 1);
    qDeleteAll(listed);

    // Start headless, wait for the guest's address and form the ADB serial.
    ASSERT_TRUE(engine->startMachine(phone.get(), VMToolsMachine::HeadlessLaunch));
    EXPECT_EQ(phone->getStatus(), VMToolsMachine::On);
    EXPECT_EQ(phone->waitForIP(), "192.168.56.101");
    EXPECT_EQ(phone->getAdbSerial(), "192.168.56.101:5555");
    EXPECT_FALSE(phone->setRAM(1024)) << "a running machine refuses new memory";
    ASSERT_TRUE(engine->stopMachine(phone.get()));
    EXPECT_EQ(phone->getStatus(), VMToolsMachine::Off);

    // Factory backup, then a clone from it, renamed.
    EXPECT_FALSE(phone->canResetToFactory());
    ASSERT_TRUE(phone->createFactoryBackup());
    EXPECT_TRUE(phone->canResetToFactory());
    phone->setDensity("120");
    ASSERT_EQ(engine->cloneMachine(phone.get(), "copy", true), 0u);
    EXPECT_EQ(QDir(deploy + "/copy").entryList(QDir::Files).size(), 4);
    EXPECT_EQ(engine->cloneMachine(phone.get(), "copy", true), 3u);
    std::unique_ptr<VMToolsMachine> copy = machine(*engine, "copy");
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->getDensity(), "240");
    EXPECT_TRUE(copy->canResetToFactory());
    ASSERT_TRUE(engine->renameMachine(copy.get(), "tablet"));
    EXPECT_EQ(copy->getName(), "tablet");
    EXPECT_FALSE(QFileInfo::exists(deploy + "/copy"));
    EXPECT_TRUE(QFileInfo::exists(deploy + "/tablet/tablet.vbox"));
    EXPECT_FALSE(engine->doesMachineExist("copy"));
    EXPECT_TRUE(engine->doesMachineExist("tablet"));

    // Export to an OVA, then an export cancelled half-way leaves nothing behind.
    const QString exports = host.path("exports");
    QDir().mkpath(exports);
    ASSERT_TRUE(engine->exportMachine(copy.get(), exports + "/tablet.ova", nullptr));
    QFile ova(exports + "/tablet.ova");
    ASSERT_TRUE(ova.open(QIODevice::ReadOnly));
    EXPECT_TRUE(ova.read(100).startsWith("export.ovf"));
    ova.close();
    host.setFaults("export slow ms=8000\n");
    VMToolsObserver observer;
    std::thread canceller([&observer] {
        std::this_thread::sleep_for(std::chrono::milliseconds(800));
        observer.cancel();
    });
    EXPECT_FALSE(engine->exportMachine(copy.get(), exports + "/cancelled.ova", &observer));
    canceller.join();
    host.setFaults("");
    EXPECT_EQ(QDir(exports).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{"tablet.ova"});

    // Factory reset brings the profile of the backup back.
    EXPECT_EQ(phone->resetFactory(), 0);
    phone->reloadProperties();
    EXPECT_EQ(phone->getDensity(), "240");

    // Deletion removes the machines, their media and their folders.
    EXPECT_TRUE(engine->deleteMachine(phone.get()));
    EXPECT_TRUE(engine->deleteMachine(copy.get()));
    EXPECT_FALSE(QFileInfo::exists(deploy + "/phone"));
    EXPECT_FALSE(QFileInfo::exists(deploy + "/tablet"));
    EXPECT_EQ(host.vbox({"list", "vms"}).out, "");
    EXPECT_EQ(host.vbox({"list", "hdds"}).out, "");

    // A second start-up uses the host-only interface the first one made.
    phone.reset();
    copy.reset();
    engine.reset();
    LoadStateInfo again;
    engine = loadEngine(&again);
    ASSERT_TRUE(engine);
    EXPECT_EQ(again.state, 0);
    EXPECT_EQ(engine->getAdapterName(), "vboxnet0");
    EXPECT_EQ(host.vbox({"list", "hostonlyifs"}).out.count("VBoxNetworkName:"), 1);
}
