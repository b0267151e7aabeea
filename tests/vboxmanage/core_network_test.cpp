// SPDX-License-Identifier: Apache-2.0
#include "vboxtest.h"

using CoreNetworkTest = CoreTest;

// The recorded listing and its log line for a disabled server are read by the host-style test.
TEST_F(CoreNetworkTest, DhcpServerListKeepsEnabledRecordsInAnyLetterCase)
{
    const auto record = [](const QString &name, const QString &enabled) {
        return QStringLiteral("NetworkName:    %1\nIP:             10.0.0.100\n"
                              "NetworkMask:    255.255.255.0\nlowerIPAddress: 10.0.0.101\n"
                              "upperIPAddress: 10.0.0.254\nEnabled:        %2\n\n")
            .arg(name, enabled);
    };
    m_standIn.onExact({"list", "dhcpservers"},
                      {Answer::ok(record("a", " YES  ") + record("b", "yes") + record("c", "no") +
                                  record("d", "1"))});
    QStringList servers;
    for (const VBoxManageCore::DhcpServerInfo &s : m_core.getAvailableDhcpServerList())
        servers << QStringList{s.networkName, s.ipAddress.toString(), s.networkMask.toString(),
                               s.lowerIpAddress.toString(), s.upperIpAddress.toString()}
                       .join(' ');
    const QString addresses = QStringLiteral(" 10.0.0.100 255.255.255.0 10.0.0.101 10.0.0.254");
    EXPECT_EQ(servers, (QStringList{"a" + addresses, "b" + addresses}));
}

TEST_F(CoreNetworkTest, DhcpServerMustFitTheInterface)
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
    for (const Case &c : cases) {
        m_log.clear();
        EXPECT_EQ(m_core.checkIfInterfaceHasValidDhcp(c.iface, c.server), c.expected)
            << c.iface.ipAddress.toString().toStdString() << " "
            << c.server.ipAddress.toString().toStdString();
        EXPECT_EQ(m_log.texts(),
                  (QStringList{"[VBox] [checkIfInterfaceHasValidDhcp] \"" + c.server.networkName +
                                   "\" DHCP server is associated with \"vboxnet0\" interface",
                               QStringLiteral("[VBox] [checkIfInterfaceHasValidDhcp] \"vboxnet0\" "
                                              "interface is %1compatible")
                                   .arg(c.expected ? "" : "not ")}));
    }
    m_log.clear();
    EXPECT_FALSE(m_core.checkIfInterfaceHasValidDhcp(
        iface, {"HostInterfaceNetworking-vboxnet10", at("100"), mask, at("101"), at("254")}));
    EXPECT_TRUE(m_log.texts().isEmpty());
}
