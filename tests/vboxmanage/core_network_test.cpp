#include "vboxmanagecore.h"

#include "vboxtest.h"

// The recorded listing and its log line for a disabled server are read by the host-style test.
TEST(CoreNetworkTest, DhcpServerListKeepsEnabledRecordsInAnyLetterCase)
{
    const auto record = [](const QString &name, const QString &enabled) {
        return QStringLiteral("NetworkName:    %1\nIP:             10.0.0.100\n"
                              "NetworkMask:    255.255.255.0\nlowerIPAddress: 10.0.0.101\n"
                              "upperIPAddress: 10.0.0.254\nEnabled:        %2\n\n")
            .arg(name, enabled);
    };
    StandIn standIn;
    standIn.onExact({"list", "dhcpservers"},
                    {Answer::ok(record("a", " YES  ") + record("b", "yes") + record("c", "no") +
                                record("d", "1")),
                     Answer::fail(1)});
    VBoxManageCore core;
    const QList<VBoxManageCore::DhcpServerInfo> servers = core.getAvailableDhcpServerList();
    ASSERT_EQ(servers.size(), 2);
    EXPECT_EQ(servers[0].networkName, "a");
    EXPECT_EQ(servers[0].ipAddress, QHostAddress("10.0.0.100"));
    EXPECT_EQ(servers[0].networkMask, QHostAddress("255.255.255.0"));
    EXPECT_EQ(servers[0].lowerIpAddress, QHostAddress("10.0.0.101"));
    EXPECT_EQ(servers[0].upperIpAddress, QHostAddress("10.0.0.254"));
    EXPECT_EQ(servers[1].networkName, "b");
    EXPECT_TRUE(core.getAvailableDhcpServerList().isEmpty());
    EXPECT_EQ(standIn.calls(), cmds({"list dhcpservers", "list dhcpservers"}));
}

TEST(CoreNetworkTest, DhcpServerMustFitTheInterface)
{
    using Iface = VBoxManageCore::InterfaceInfo;
    using Server = VBoxManageCore::DhcpServerInfo;
    const QHostAddress mask("255.255.255.0");
    const auto at = [](const char *last) {
        return QHostAddress(QStringLiteral("192.168.56.") + last);
    };
    const Iface iface{"vboxnet0", at("1"), mask};
    const Server server{"HostInterfaceNetworking-vboxnet0", at("100"), mask, at("101"), at("254")};
    struct Case
    {
        Iface iface;
        Server server;
        bool expected;
    };
    const QList<Case> cases = {
        {iface, server, true},
        {iface, {"xvboxnet0", at("100"), mask, at("101"), at("254")}, true},
        {{"vboxnet0", at("0"), mask}, server, false},
        {iface,
         {server.networkName, QHostAddress("192.168.57.100"), mask, at("101"), at("254")},
         false},
        {iface, {server.networkName, at("100"), mask, at("101"), at("101")}, false},
        {iface, {server.networkName, at("150"), mask, at("101"), at("254")}, false},
        {iface, {server.networkName, at("254"), mask, at("101"), at("254")}, false},
        {{"vboxnet0", at("200"), mask}, server, false},
        {{"vboxnet0", at("101"), mask}, server, false},
        {iface, {server.networkName, at("100"), QHostAddress(), at("101"), at("254")}, false}};
    VBoxManageCore core;
    for (const Case &c : cases) {
        LogCapture log;
        EXPECT_EQ(core.checkIfInterfaceHasValidDhcp(c.iface, c.server), c.expected)
            << c.iface.ipAddress.toString().toStdString() << " "
            << c.server.ipAddress.toString().toStdString();
        EXPECT_EQ(log.texts(),
                  (QStringList{"[VBox] [checkIfInterfaceHasValidDhcp] \"" + c.server.networkName +
                                   "\" DHCP server is associated with \"vboxnet0\" interface",
                               QStringLiteral("[VBox] [checkIfInterfaceHasValidDhcp] \"vboxnet0\" "
                                              "interface is %1compatible")
                                   .arg(c.expected ? "" : "not ")}));
    }
    LogCapture log;
    EXPECT_FALSE(core.checkIfInterfaceHasValidDhcp(
        iface, {"HostInterfaceNetworking-vboxnet10", at("100"), mask, at("101"), at("254")}));
    EXPECT_TRUE(log.texts().isEmpty());
}

TEST(CoreNetworkTest, RemovalTriesThreeTimesAndAcceptsAnInterfaceAlreadyGone)
{
    StandIn standIn;
    standIn.onExact({"hostonlyif", "remove", "stuck"}, {Answer::fail(1, "busy")});
    standIn.onExact({"hostonlyif", "remove", "second"}, {Answer::fail(1), Answer::ok()});
    standIn.onExact({"hostonlyif", "remove", "gone"},
                    {Answer::fail(1, "VBoxManage: error: The host network interface named "
                                     "'gone' could not be found\n")});
    VBoxManageCore core;
    LogCapture log;
    EXPECT_FALSE(core.deleteHostOnlyInterface("stuck"));
    EXPECT_TRUE(core.deleteHostOnlyInterface("second"));
    log.clear();
    EXPECT_TRUE(core.deleteHostOnlyInterface("gone"));
    EXPECT_EQ(standIn.calls(), cmds({"hostonlyif remove stuck", "hostonlyif remove stuck",
                                     "hostonlyif remove stuck", "hostonlyif remove second",
                                     "hostonlyif remove second", "hostonlyif remove gone"}));
    EXPECT_EQ(log.texts(QtDebugMsg).first(),
              "[VBox] [deleteHostOnlyInterface] Deleting \"gone\" host-only interface");
    EXPECT_EQ(log.texts(QtDebugMsg).last(),
              "[VBox] [deleteHostOnlyInterface] \"\" could not be found");
}

// A machine without the marker at all is left out of the listing in the registry test.
TEST(CoreNetworkTest, CompatibleMachinesCarryTheMarkerAfterTheFirstCharacter)
{
    const QString marked = guestProperty("vbox_graph_mode", "1");
    StandIn standIn;
    standIn.onExact({"guestproperty", "enumerate", "ours"}, {Answer::ok(marked)});
    standIn.onExact({"guestproperty", "enumerate", "edge"}, {Answer::ok("vbox_graph_mode")});
    // What a failing call printed does not count.
    standIn.onExact({"guestproperty", "enumerate", "failing"}, {Answer{1, marked, "error"}});
    VBoxManageCore core;
    EXPECT_TRUE(core.isCompatible("ours"));
    EXPECT_FALSE(core.isCompatible("edge"));
    EXPECT_FALSE(core.isCompatible("failing"));
}
