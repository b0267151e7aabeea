#include "devices_fixture.h"

#include <vmtools/engineresult.h>

namespace {

const QString SdCardUuid = QStringLiteral("5e0c2b4a-91d3-4f5e-8a7b-0c1d2e3f4a5b");

} // namespace

class CreateTest : public DevicesTest
{
protected:
    void TearDown() override
    {
        Settings::remove(QStringLiteral("host.only.interface"));
        DevicesTest::TearDown();
    }

    QString device(const QString &file = QString()) const { return m_deployDir + "phone/" + file; }

    QString description() const
    {
        return "Name:            phone\n"
               "UUID:            0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11\n"
               "Config file:     " +
               device("phone.vbox") +
               "\nMemory size:     2048MB\n"
               "Number of CPUs:  2\n"
               "State:           powered off (since 2024-06-03T09:14:07.512000000)\n"
               "IDEController (1, 0): " +
               device("android_sdcard_disk.vmdk") + " (UUID: " + SdCardUuid +
               ")\n"
               "NIC 1:           MAC: 080027A1B2C3, Attachment: NAT, Cable connected: on\n";
    }

    // Every command succeeds unless a rule added before this one answers first. The device
    // is unknown to the first "showvminfo" (the existence check) and known from then on.
    void scriptAll()
    {
        scriptMachineFolder(m_currentFolder);
        m_standIn.onExact({"showvminfo", "phone"}, {Answer::fail(1), Answer::ok(description())});
        for (const char *command :
             {"closemedium", "import", "storageattach", "createhd", "modifyvm", "guestproperty"})
            m_standIn.onPrefix({command}, {Answer::ok()});
        m_standIn.onExact({"list", "hostinfo"}, {Answer::ok("Processor online count: 4\n")});
        m_standIn.onExact({"list", "hostonlyifs"}, {Answer::ok(recorded("core-hostonlyifs.txt"))});
        m_standIn.onExact({"list", "dhcpservers"}, {Answer::ok(recorded("core-dhcpservers.txt"))});
        m_standIn.onExact({"addr", "show", "dev", "vboxnet0"},
                          {Answer::ok("5: vboxnet0: <BROADCAST,UP> state UP\n")}, "ip");
        m_standIn.onExact({"route"}, {Answer::ok("192.168.56.0/24 dev vboxnet0 proto kernel\n")},
                          "ip");
    }

    // Start-up finds the remembered host-only interface, as it does before any creation.
    void initializeEngine()
    {
        Settings::set(QStringLiteral("host.only.interface"), QStringLiteral("vboxnet0"));
        ASSERT_EQ(m_core.initialize().state, 0);
        ASSERT_EQ(m_core.getAdapterName(), "vboxnet0");
        m_standIn.clearCalls();
        m_log.clear();
    }

    unsigned int create(unsigned int sdCardSize = 512)
    {
        return m_core.createMachine("/apps/../apps/android.ova", "phone", 2, 2048, sdCardSize);
    }

    QList<QStringList> callsUpToImport() const
    {
        QString import("import /apps/android.ova --vsys 0 --vmname phone --cpus 2 --memory 2048");
        int unit = 10;
        for (const char *disk :
             {"android_system_disk.vmdk", "android_data_disk.vmdk", "android_sdcard_disk.vmdk"})
            import += QStringLiteral(" --vsys 0 --unit %1 --disk %2").arg(unit++).arg(device(disk));
        return {readFolder(), cmd("showvminfo phone"), switchToDeploy(), cmd(import)};
    }

    QList<QStringList> callsOfTheNewMachine() const
    {
        const QString place("storageattach phone --storagectl IDEController --port 1 --device 0");
        const QString sdCard = device("sdcard.vdi");
        return cmds({"showvminfo phone", "guestproperty enumerate phone", "showvminfo phone",
                     "showvminfo phone"}) +
               QList<QStringList>{cmd(place + " --medium none"), closeMedium(SdCardUuid),
                                  cmd("showvminfo phone"),
                                  cmd("createhd --filename " + sdCard + " --size 512 --format VDI"),
                                  cmd(place + " --type hdd --medium " + sdCard)};
    }

    int switchesBack() const { return m_standIn.calls().count(switchBack(m_currentFolder)); }

    QString m_currentFolder = QLatin1String(UserFolder);
};

TEST_F(CreateTest, DeviceIsImportedGivenAnSdCardAndBoundToTheHostOnlyInterface)
{
    const QString leftover = makeFile("deployed/phone/android_system_disk.vmdk");
    scriptAll();
    initializeEngine();

    EXPECT_EQ(create(), EngineResult::Success);

    QList<QStringList> expected = callsUpToImport();
    expected.insert(2, closeMedium(leftover));
    expected << callsOfTheNewMachine() << switchBack();
    expected << cmds({"list hostonlyifs", "list dhcpservers", "modifyvm phone --nic1 hostonly",
                      "modifyvm phone --hostonlyadapter1 vboxnet0",
                      "modifyvm phone --nictype1 virtio", "modifyvm phone --cableconnected1 on",
                      "guestproperty set phone quillomate_player_version 1"});
    EXPECT_EQ(m_standIn.calls(), expected);
    EXPECT_FALSE(QFileInfo::exists(leftover));
    EXPECT_TRUE(m_log.texts(QtCriticalMsg).isEmpty());
}

TEST_F(CreateTest, RegisteredDeviceKeepsItsFolderAndDefaultFolderIsPutBack)
{
    m_currentFolder = "default";
    Settings::set(QStringLiteral("vms.path"), QDir::cleanPath(m_deployDir)); // no separator
    const QString system = makeFile("deployed/phone/android_system_disk.vmdk");
    const QString data = makeFile("deployed/phone/android_data_disk.vmdk");
    m_standIn.onExact({"showvminfo", "phone"}, {Answer::ok(description())});
    m_standIn.onPrefix({"import"}, {Answer::fail(1, "VBoxManage: error: Appliance import failed")});
    scriptAll();

    EXPECT_EQ(create(), EngineResult::CreationFailed);

    QList<QStringList> expected = callsUpToImport();
    expected.insert(3, closeMedium(system));
    expected.insert(4, closeMedium(data));
    expected << switchBack("default");
    EXPECT_EQ(m_standIn.calls(), expected);
    EXPECT_TRUE(QFileInfo::exists(system));
}

TEST_F(CreateTest, EachFailurePutsTheFolderBackExactlyOnce)
{
    struct Case
    {
        const char *what;
        QStringList failing;
        unsigned int code;
        int callsAfterImport; // -1: the import is never reached
    };
    const QStringList attach = cmd("storageattach phone --storagectl IDEController --port 1 "
                                   "--device 0 --type");
    const QList<Case> cases{{"switch", {"setproperty"}, EngineResult::CreationFailed, -1},
                            {"import", {"import"}, EngineResult::CreationFailed, 0},
                            {"createhd", {"createhd"}, EngineResult::SdCardCreationFailed, 8},
                            {"attach", attach, EngineResult::SdCardAttachFailed, 9}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        m_standIn.clearRules();
        m_standIn.clearCalls();
        m_standIn.onPrefix(c.failing, {Answer::fail(1)});
        scriptAll();
        EXPECT_EQ(create(), c.code);
        const QList<QStringList> calls = m_standIn.calls();
        if (c.callsAfterImport < 0) {
            EXPECT_EQ(calls, (QList<QStringList>{readFolder(), cmd("showvminfo phone"),
                                                 switchToDeploy(), switchBack()}));
            continue;
        }
        EXPECT_EQ(calls, callsUpToImport() + callsOfTheNewMachine().mid(0, c.callsAfterImport) +
                             QList<QStringList>{switchBack()});
        EXPECT_EQ(switchesBack(), 1);
    }
}

TEST_F(CreateTest, MissingDeviceAndMissingNetworkAreReported)
{
    m_standIn.onExact({"showvminfo", "phone"}, {Answer::fail(1)});
    scriptAll();
    EXPECT_EQ(create(), EngineResult::CreationFailed);
    QList<QStringList> expected = callsUpToImport();
    expected << cmd("showvminfo phone") << switchBack();
    EXPECT_EQ(m_standIn.calls(), expected);
    EXPECT_TRUE(m_log.contains(
        QtCriticalMsg, "[VBox] Can't retrieve virtual device after its creation! \"phone\""));

    // No SD card asked for: the appliance's disk still goes. No interface, and none can be
    // made: 11, with the folder already put back.
    m_standIn.clearRules();
    m_standIn.clearCalls();
    m_standIn.onExact({"list", "hostonlyifs"}, {Answer::fail(1)});
    m_standIn.onExact({"hostonlyif", "create"}, {Answer::fail(1)});
    scriptAll();
    EXPECT_EQ(create(0), EngineResult::NoHostOnlyInterface);
    expected = callsUpToImport() + callsOfTheNewMachine().mid(0, 6);
    expected << switchBack() << cmds({"list hostonlyifs", "hostonlyif create"});
    EXPECT_EQ(m_standIn.calls(), expected);
}

TEST_F(CreateTest, UnsafeNameIsRefusedBeforeAnyCommand)
{
    makeFile("deployed/phone/android_system_disk.vmdk");
    const QStringList before = tree();
    for (const char *name : {"", ".", "..", "../outside", "phone/..", "a\\b"})
        EXPECT_EQ(m_core.createMachine("/apps/android.ova", name, 2, 2048, 512),
                  EngineResult::CreationFailed);
    EXPECT_TRUE(m_standIn.calls().isEmpty());
    EXPECT_EQ(tree(), before);
    EXPECT_TRUE(m_log.contains(
        QtCriticalMsg, "[VBox] [createMachine] Refusing unsafe device name \"../outside\""));
}
