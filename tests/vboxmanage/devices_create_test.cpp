// SPDX-License-Identifier: Apache-2.0
#include "devices_fixture.h"

#include <vmtools/engineresult.h>

class CreateTest : public DevicesTest
{
protected:
    // An engine in use has read VirtualBox's version at load (the loader logs it).
    void SetUp() override
    {
        DevicesTest::SetUp();
        m_standIn.onExact({"--version"}, {Answer::ok("5.2.44r139111\n")});
        m_core.version();
        m_standIn.clearRules();
        m_standIn.clearCalls();
    }

    void TearDown() override
    {
        Settings::remove(HostOnlyKey);
        DevicesTest::TearDown();
    }

    QString device(const QString &file = QString()) const { return m_deployDir + "phone/" + file; }

    // The new device, in its folder under the deploy directory with the appliance's SD card.
    QString shown() const
    {
        return description("phone", "powered off",
                           "IDEController (1, 0): " + device("android_sdcard_disk.vmdk") +
                               " (UUID: " + SdCardUuid + ")\n")
            .replace("/vms/", m_deployDir);
    }

    // Every command succeeds unless a rule added before this one answers first. The device
    // is unknown to the first "showvminfo" (the existence check) and known from then on.
    void scriptAll()
    {
        scriptMachineFolder(m_currentFolder);
        m_standIn.onExact({"showvminfo", "phone"}, {notFound("phone"), Answer::ok(shown())});
        for (const char *command :
             {"closemedium", "import", "storageattach", "createhd", "modifyvm", "guestproperty"})
            m_standIn.onPrefix({command}, {Answer::ok()});
        scriptHost(m_standIn);
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

    static inline const QString SdCardUuid = QStringLiteral("5e0c2b4a-91d3-4f5e-8a7b-0c1d2e3f4a5b");
    QString m_currentFolder = QLatin1String(UserFolder);
};

TEST_F(CreateTest, DeviceIsImportedGivenAnSdCardAndBoundToTheHostOnlyInterface)
{
    const QString leftover = makeFile("deployed/phone/android_system_disk.vmdk");
    scriptAll();
    // Start-up finds the remembered host-only interface, as it does before any creation.
    Settings::set(HostOnlyKey, QStringLiteral("vboxnet0"));
    ASSERT_EQ(m_core.initialize().state, 0);
    m_standIn.clearCalls();
    m_log.clear();

    EXPECT_EQ(create(), EngineResult::Success);

    QList<QStringList> expected = callsUpToImport();
    expected.insert(2, closeMedium(leftover));
    expected << callsOfTheNewMachine() << switchBack()
             << cmds({"list hostonlyifs", "list dhcpservers"}) << bindCalls();
    EXPECT_EQ(m_standIn.calls(), expected);
    EXPECT_FALSE(QFileInfo::exists(leftover));
    EXPECT_TRUE(m_log.texts(QtCriticalMsg).isEmpty());
}

// A name that VirtualBox knows, or cannot rule out, stops the creation before any folder,
// disk or setting changes: whatever the name holds, it is never read as a pattern.
TEST_F(CreateTest, TakenOrUncertainNameChangesNothing)
{
    struct Case
    {
        QString name;
        Answer lookup;
        QString critical;
    };
    const QString taken =
        QStringLiteral("[VBox] [createMachine] A machine named \"%1\" already exists");
    const QString odd = QStringLiteral("x+y [1] *?{}|^$\\ Ω");
    const QList<Case> cases{
        {"phone", Answer::ok(shown()), taken.arg("phone")},
        {"Pixel (2)", Answer::ok(description("Pixel (2)")), taken.arg("Pixel (2)")},
        {odd, Answer::ok(description(odd)), taken.arg("x+y [1] *?{}|^$\\\\ Ω")},
        // A name that is another machine's UUID answers too.
        {PhoneUuid, Answer::ok(description("tablet")), taken.arg(PhoneUuid)},
        {"phone", Answer::fail(1, "VBoxManage: error: Failed to create the VirtualBox object!"),
         "[VBox] [createMachine] Can't tell whether the name \"phone\" is free: \"VBoxManage: "
         "error: Failed to create the VirtualBox object!\""},
        {"phone", Answer::fail(1),
         "[VBox] [createMachine] Can't tell whether the name \"phone\" is free: \"\""}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name.toStdString());
        m_standIn.clearRules();
        m_standIn.clearCalls();
        m_log.clear();
        makeFile("deployed/" + c.name + "/android_system_disk.vmdk");
        makeFile("deployed/" + c.name + "/" + c.name + ".vbox");
        const QStringList before = tree();
        m_standIn.onExact({"showvminfo", c.name}, {c.lookup});
        scriptAll();

        EXPECT_EQ(m_core.createMachine("/apps/android.ova", c.name, 2, 2048, 512),
                  EngineResult::CreationFailed);

        EXPECT_EQ(m_standIn.calls(), (QList<QStringList>{readFolder(), {"showvminfo", c.name}}));
        EXPECT_EQ(tree(), before);
        EXPECT_EQ(m_log.texts(QtCriticalMsg), QStringList{c.critical});
    }
}

TEST_F(CreateTest, EachFailurePutsTheFolderBackExactlyOnce)
{
    struct Case
    {
        const char *what;
        QStringList failing;
        unsigned int code;
        int callsAfterImport; // -1: the import is never reached
        int failFrom = 0;     // the calls before this one answer as scripted
    };
    const QStringList attach = cmd("storageattach phone --storagectl IDEController --port 1 "
                                   "--device 0 --type");
    // A failed import is met with a registered device above.
    const QList<Case> cases{{"lookup", {"showvminfo", "phone"}, EngineResult::CreationFailed, 1, 1},
                            {"createhd", {"createhd"}, EngineResult::SdCardCreationFailed, 8},
                            {"attach", attach, EngineResult::SdCardAttachFailed, 9},
                            {"switch", {"setproperty"}, EngineResult::CreationFailed, -1}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        m_standIn.clearRules();
        m_standIn.clearCalls();
        if (c.failFrom > 0)
            m_standIn.onPrefix(c.failing, {notFound("phone"), Answer::fail(1)});
        else
            m_standIn.onPrefix(c.failing, {Answer::fail(1)});
        scriptAll();
        EXPECT_EQ(create(), c.code);
        if (c.callsAfterImport < 0) {
            EXPECT_EQ(m_standIn.calls(),
                      (QList<QStringList>{readFolder(), cmd("showvminfo phone"), switchToDeploy(),
                                          readFolder(), switchBack()}));
            continue;
        }
        EXPECT_EQ(m_standIn.calls(), callsUpToImport() +
                                         callsOfTheNewMachine().mid(0, c.callsAfterImport) +
                                         QList<QStringList>{switchBack()});
    }
    // The switch of the last row never happened: the next creation, in this process or
    // another, has nothing to put back.
    m_standIn.clearRules();
    m_standIn.clearCalls();
    scriptAll();
    create();
    EXPECT_EQ(m_standIn.calls().first(), readFolder());
    // One that happened and was not undone is put back first.
    m_standIn.clearRules();
    m_standIn.clearCalls();
    m_standIn.onExact(switchBack(), {Answer::fail(1), Answer::ok()});
    scriptAll();
    create();
    m_standIn.clearCalls();
    create();
    EXPECT_EQ(m_standIn.calls().mid(0, 2), (QList<QStringList>{switchBack(), readFolder()}));
    // From the lookup only.
    EXPECT_EQ(m_log.texts(QtCriticalMsg).filter("Can't retrieve"),
              QStringList{"[VBox] Can't retrieve virtual device after its creation! \"phone\""});
}

// No SD card asked for: the appliance's disk still goes. No interface, and none can be made:
// the folder is already put back.
TEST_F(CreateTest, MissingNetworkIsReported)
{
    m_standIn.onExact({"list", "hostonlyifs"}, {Answer::fail(1)});
    m_standIn.onExact({"hostonlyif", "create"}, {Answer::fail(1)});
    scriptAll();
    EXPECT_EQ(create(0), EngineResult::NoHostOnlyInterface);
    QList<QStringList> expected = callsUpToImport() + callsOfTheNewMachine().mid(0, 6);
    expected << switchBack() << cmds({"list hostonlyifs", "hostonlyif create"});
    EXPECT_EQ(m_standIn.calls(), expected);
}

TEST_F(CreateTest, UnsafeNameIsRefusedBeforeAnyCommand)
{
    makeFile("deployed/phone/android_system_disk.vmdk");
    const QStringList before = tree();
    for (const char *name : {"", ".", "..", "../outside", "phone/.."})
        EXPECT_EQ(m_core.createMachine("/apps/android.ova", name, 2, 2048, 512),
                  EngineResult::CreationFailed);
    EXPECT_TRUE(m_standIn.calls().isEmpty());
    EXPECT_EQ(tree(), before);
    EXPECT_TRUE(m_log.contains(
        QtCriticalMsg, "[VBox] [createMachine] Refusing unsafe device name \"../outside\""));
}

// From 6.0 on the disks' units follow the appliance's own items, so VirtualBox's dry run
// names them; a VirtualBox of unknown version is asked too. No listing, no import.
TEST_F(CreateTest, FromSixOnTheDryRunNamesTheDisksUnits)
{
    const QString listing = QStringLiteral(
        "Virtual system 0:\n"
        " 2: Suggested VM group \"/\"\n"
        "10: IDE controller, type PIIX4\n    (disable with \"--vsys 0 --unit 10 --ignore\")\n"
        "11: Hard disk image: source image=a.vmdk, target path=/x/a.vmdk, controller=9;port=0\n"
        "    (change target path with \"--vsys 0 --unit 11 --disk path\";\n"
        "12: Hard disk image: source image=b.vmdk, target path=/x/b.vmdk, controller=9;port=1\n"
        "14: Hard disk image: source image=c.vmdk, target path=/x/c.vmdk, controller=10;port=0\n");
    struct Case
    {
        Answer version;
        Answer dryRun;
        QList<int> units; // none: the creation fails before the import
    };
    const QList<Case> cases = {
        {Answer::ok("6.0.24r139119\n"), Answer::ok(listing), {11, 12, 14}},
        {Answer::ok("7.1.6r167084\n"), Answer::ok(listing.left(listing.indexOf("14:"))), {11, 12}},
        {Answer::fail(1), Answer::ok(listing), {11, 12, 14}},
        {Answer::ok("7.0.10r158379\n"), Answer::fail(1), {}},
        {Answer::ok("6.1.50r161033\n"), Answer::ok("Virtual system 0:\n"), {}},
    };
    const QStringList disks{"android_system_disk.vmdk", "android_data_disk.vmdk",
                            "android_sdcard_disk.vmdk"};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.version.out.toStdString());
        VBoxManageCore core;
        m_standIn.clearRules();
        m_standIn.clearCalls();
        m_log.clear();
        m_standIn.onExact({"--version"}, {c.version});
        m_standIn.onExact(cmd("import /apps/android.ova -n"), {c.dryRun});
        scriptAll();
        Settings::set(HostOnlyKey, QStringLiteral("vboxnet0"));
        ASSERT_EQ(core.initialize().state, 0);
        m_standIn.clearCalls();

        const unsigned int result = core.createMachine("/apps/android.ova", "phone", 2, 2048, 0);

        QString import("import /apps/android.ova --vsys 0 --vmname phone --cpus 2 --memory 2048");
        for (int i = 0; i < c.units.size(); ++i)
            import += QStringLiteral(" --vsys 0 --unit %1 --disk %2")
                          .arg(c.units[i])
                          .arg(device(disks[i]));
        const QList<QStringList> calls = m_standIn.calls();
        ASSERT_GE(calls.size(), 6);
        EXPECT_EQ(calls.mid(3, 2),
                  (QList<QStringList>{{"--version"}, cmd("import /apps/android.ova -n")}));
        if (c.units.isEmpty()) {
            EXPECT_EQ(result, EngineResult::CreationFailed);
            EXPECT_EQ(calls.mid(5), QList<QStringList>{switchBack()});
            EXPECT_TRUE(m_log.contains(QtCriticalMsg, "[VBox] [createMachine] No disk found in the "
                                                      "appliance \"/apps/android.ova\""));
        } else {
            EXPECT_EQ(result, EngineResult::Success);
            EXPECT_EQ(calls.value(5), cmd(import));
        }
    }
}
