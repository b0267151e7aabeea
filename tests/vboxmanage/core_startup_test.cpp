// SPDX-License-Identifier: Apache-2.0
#include "vboxtest.h"

#include "hostlock.h"

#include <vmtools/settings.h>
#include <vmtools/vmtoolsengine.h>

#include <QCoreApplication>
#include <QFile>

namespace {

const QStringList HostInfo = {"list", "hostinfo"};

QString ifRecord(const QString &name, const QString &address, const QString &mask)
{
    return QStringLiteral(
               "Name:            %1\nGUID:            786f6276\nDHCP:            Disabled\n"
               "IPAddress:       %2\nNetworkMask:     %3\nStatus:          Up\n"
               "VBoxNetworkName: HostInterfaceNetworking-%1\n\n")
        .arg(name, address, mask);
}

const QList<QStringList> CreationCalls =
    cmds({"hostonlyif create", "list hostonlyifs",
          "hostonlyif ipconfig vboxnet1 --ip 192.168.57.1 --netmask 255.255.255.0",
          "dhcpserver remove --ifname vboxnet1",
          "dhcpserver add --ifname vboxnet1 --ip 192.168.57.100 --netmask 255.255.255.0 "
          "--lowerip 192.168.57.101 --upperip 192.168.57.254 --enable",
          "--version"});

struct Loaded
{
    std::unique_ptr<VMToolsEngine> engine;
    LoadStateInfo info{-1, QStringLiteral("untouched")};
};

Loaded load()
{
    Loaded loaded;
    loaded.engine.reset(VMToolsEngine::loadEngine(&loaded.info));
    return loaded;
}

// Start-up with `remembered` saved, on the scripted host where making vboxnet1 works unless
// a rule added before this one says otherwise.
Loaded startUp(StandIn &standIn, const QString &remembered, const QString &link = LinkUp,
               const QString &routes = Routed)
{
    Settings::set(HostOnlyKey, remembered);
    scriptHost(standIn, link, routes);
    standIn.onExact({"hostonlyif", "create"},
                    {Answer::ok("Interface 'vboxnet1' was successfully created\n")});
    standIn.onPrefix({"hostonlyif", "ipconfig"}, {Answer::ok()});
    standIn.onPrefix({"dhcpserver"}, {Answer::ok()});
    standIn.onPrefix({"hostonlyif", "remove"},
                     {Answer::fail(1, "VBoxManage: error: The host network interface named "
                                      "'vboxnet7' could not be found\n")});
    return load();
}

} // namespace

// An old interface that cannot be removed still gives an engine, in state 3.
TEST(CoreStartupTest, UnusableRememberedInterfaceIsReplaced)
{
    struct Case
    {
        QString remembered;
        QString link;
        QString routes;
        QStringList warnings;
        bool removable;
    };
    const QString tag = QStringLiteral("[VBox] [getSavedHostOnlyInterface] ");
    const QList<Case> cases = {
        {"vboxnet7", LinkUp, Routed, {}, true},
        {"vboxnet0",
         "5: vboxnet0: <BROADCAST,MULTICAST> mtu 1500 state DOWN\n",
         Routed,
         {tag + "\"vboxnet0\" Interface is down",
          "[VBox] [createHostOnlyInterface] Failed to delete \"vboxnet0\""},
         false},
        {"vboxnet0",
         LinkUp,
         "192.168.56.0/24 dev vboxnet01 scope link\n10.0.0.0/8 dev vboxnet0",
         {tag + "Interface has no route"},
         true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE((c.remembered + ' ' + c.link).toStdString());
        StandIn standIn;
        if (!c.removable)
            standIn.onPrefix({"hostonlyif", "remove"},
                             {Answer::fail(1, "VBoxManage: error: busy\n")});
        LogCapture log;
        const Loaded loaded = startUp(standIn, c.remembered, c.link, c.routes);
        ASSERT_TRUE(loaded.engine);
        EXPECT_EQ(loaded.info.state, c.removable ? 0 : 3);
        EXPECT_EQ(loaded.info.message, c.removable ? "" : c.remembered);
        const QList<QStringList> removals =
            QVector<QStringList>(c.removable ? 1 : 3, {"hostonlyif", "remove", c.remembered})
                .toList();
        EXPECT_EQ(standIn.calls(), (QList<QStringList>{HostInfo, {"list", "hostonlyifs"}} +
                                    removals + CreationCalls));
        EXPECT_EQ(Settings::get(HostOnlyKey).toString(), "vboxnet1");
        EXPECT_EQ(loaded.engine->getAdapterName(), "vboxnet1");
        EXPECT_TRUE(log.contains(QtDebugMsg, "[VBox] Empty interface name"));
        const QStringList debug = log.texts(QtDebugMsg);
        EXPECT_TRUE(debug.contains("[VBox] set \"vboxnet1\" to host.only.interface"));
        EXPECT_TRUE(debug.contains(
            "[VBox] [createHostOnlyInterface] \"vboxnet1\" host-only interface is ready to use"));
        for (const QString &warning : c.warnings)
            EXPECT_TRUE(log.contains(QtWarningMsg, warning)) << warning.toStdString();
    }
}

TEST(CoreStartupTest, FailedCreationDropsTheEngineAndEmptiesTheSetting)
{
    struct Case
    {
        QStringList failingCall;
        QList<Answer> answers;
        int state;
        QString critical;
    };
    const Answer listed = Answer::ok(recorded("core-hostonlyifs.txt"));
    const QList<Case> cases = {
        {{"hostonlyif", "create"}, {Answer::fail(1)}, 2, "Failed to create interface"},
        {{"hostonlyif", "create"},
         {Answer::ok("0%...100%\nInterface 'vboxnet1' was successfully created\n")},
         2,
         "Failed to retrieve interface name"},
        {{"list", "hostonlyifs"},
         {listed, Answer::ok(ifRecord("vboxnet1", "0.0.0.0", "255.255.255.0"))},
         4,
         "\"vboxnet1\" configuration is not valid. Subnet: \"0.0.0\" . Mask: \"255.255.255.0\""},
        {{"list", "hostonlyifs"},
         {listed, Answer::ok(ifRecord("vboxnet1", "192.168.57.1", "255.0.255.0"))},
         4,
         "\"vboxnet1\" configuration is not valid. Subnet: \"192.168.57\" . Mask: "
         "\"255.0.255.0\""},
        {{"list", "hostonlyifs"},
         {listed, Answer::ok(ifRecord("vboxnet10", "192.168.57.1", "255.255.255.0"))},
         4,
         "Unable to retrieve interface"},
        {{"hostonlyif", "ipconfig"}, {Answer::fail(1)}, 4, "Failed to configure interface ip/mask"},
        {{"dhcpserver", "add"}, {Answer::fail(1)}, 4, "Failed to create DHCP server for interface"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.critical.toStdString());
        StandIn standIn;
        standIn.onPrefix(c.failingCall, c.answers);
        LogCapture log;
        const Loaded loaded = startUp(standIn, "vboxnet7");
        EXPECT_FALSE(loaded.engine);
        EXPECT_EQ(loaded.info.state, c.state);
        EXPECT_EQ(loaded.info.message, c.state == 4 ? "vboxnet1" : "");
        EXPECT_EQ(Settings::get(HostOnlyKey).toString(), "");
        const bool removesNewOne = standIn.calls().contains({"hostonlyif", "remove", "vboxnet1"});
        EXPECT_EQ(removesNewOne, c.state == 4);
        EXPECT_TRUE(log.contains(QtCriticalMsg, "[VBox] [createHostOnlyInterface] " + c.critical));
    }
}

// The desktop application and vmtools share the settings: an interface that another
// process saved since this one last read them is the one the next start-up uses.
TEST(CoreStartupTest, AnInterfaceSavedByAnotherProcessMeanwhileIsUsed)
{
    Settings::set(HostOnlyKey, QStringLiteral("vboxnet12"));
    ASSERT_EQ(Settings::get(HostOnlyKey).toString(), "vboxnet12");
    // Written from outside, as another process does; a name of another length shows in the
    // files' sizes even when both writes fall in the same millisecond.
    const QStringList files{Settings::getApplicationSettings()->fileName(),
                            QCoreApplication::applicationDirPath() + "/quillomate.ini"};
    for (const QString &path : files) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("[General]\nhost.only.interface=vboxnet0\n");
    }
    StandIn standIn;
    scriptHost(standIn);
    const Loaded loaded = load();
    ASSERT_TRUE(loaded.engine);
    EXPECT_EQ(loaded.engine->getAdapterName(), "vboxnet0");
    EXPECT_FALSE(standIn.calls().contains(QStringList{"hostonlyif", "create"}));
}

TEST(CoreStartupTest, HostInfoIsTriedSixTimes)
{
    const Answer busy =
        Answer::fail(1, "VBoxManage: error: Failed to create the VirtualBox object!");
    for (const bool lastSucceeds : {true, false}) {
        StandIn standIn;
        standIn.onExact(HostInfo,
                        {busy, busy, busy, busy, busy,
                         lastSucceeds ? Answer::ok(recorded("core-hostinfo.txt")) : busy});
        LogCapture log;
        const Loaded loaded = startUp(standIn, "vboxnet0");
        EXPECT_EQ(bool(loaded.engine), lastSucceeds);
        EXPECT_EQ(loaded.info.state, lastSucceeds ? 0 : 1);
        EXPECT_EQ(standIn.calls().count(HostInfo), 6);
        if (lastSucceeds)
            continue;
        EXPECT_EQ(loaded.info.message, "");
        EXPECT_EQ(standIn.calls().size(), 6);
        EXPECT_TRUE(
            log.contains(QtWarningMsg, "[VBox] empty result for 'vboxmanage list hostinfo'"));
    }
}

// A machine folder that an ended process left switched goes back at the next start-up,
// unless another process is switching it now.
TEST(CoreStartupTest, AMachineFolderLeftSwitchedIsPutBackUnlessOneIsBeingSwitched)
{
    const QString note = HostLock::folder() + "/machine-folder.user";
    const QStringList putBack{"setproperty", "machinefolder", "/home/u/VirtualBox VMs"};
    for (const bool switching : {false, true}) {
        SCOPED_TRACE(switching ? "switching" : "left switched");
        QDir().mkpath(HostLock::folder());
        QFile file(note);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(putBack.last().toUtf8());
        file.close();
        HostLock other(QStringLiteral("machine-folder"));
        if (switching) {
            ASSERT_TRUE(other.tryAcquire());
        }
        StandIn standIn;
        standIn.onExact(putBack, {Answer::ok()});
        LogCapture log;
        const Loaded loaded = startUp(standIn, "vboxnet0");
        ASSERT_TRUE(loaded.engine);
        EXPECT_EQ(standIn.calls().mid(0, 2).contains(putBack), !switching);
        EXPECT_EQ(QFile::exists(note), switching);
        EXPECT_EQ(log.contains(QtWarningMsg, "[VBox] [machineFolder] Putting back the machine "
                                             "folder \"/home/u/VirtualBox VMs\" that an "
                                             "interrupted operation left switched"),
                  !switching);
    }
    QFile::remove(note);
}
