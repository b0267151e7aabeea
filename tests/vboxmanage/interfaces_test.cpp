// SPDX-License-Identifier: Apache-2.0
#include "interfacestatus.h"
#include "vboxinterfaceparser.h"

#include "vboxtest.h"

TEST(InterfaceParserTest, BridgeableInterfacesAreTheNameLines)
{
    using VBoxInterfaceParser::parseBridgeableInterfaces;
    EXPECT_EQ(parseBridgeableInterfaces(recorded("machine-bridgedifs.txt")),
              (QStringList{"enp3s0", "wlp2s0"}));
    EXPECT_EQ(parseBridgeableInterfaces(""), QStringList());
    // Whatever follows the name on its line stays; indented lines do not count.
    EXPECT_EQ(parseBridgeableInterfaces("Name:            en0: Wi-Fi  \r\n"
                                        "  Name:          nested\n"
                                        "Name:\tlast"),
              (QStringList{"en0: Wi-Fi  \r", "last"}));
}

TEST(InterfaceParserTest, InterfaceStatusDecidesOnAdapterTwoOnly)
{
    struct Case
    {
        const char *text;
        bool result;
        VMToolsMachine::ConnectionType type;
        const char *name;
    };
    const auto bridged = VMToolsMachine::BridgedConnection;
    const QList<Case> cases{
        {"", false, bridged, "untouched"},
        {"NIC 1:           MAC: 0800271A2B3C, Attachment: NAT\n", false, bridged, "untouched"},
        {"NIC 2:           MAC: 0800274D5E6F, Attachment: NATNetwork 'x', Cable connected: on\n",
         true, VMToolsMachine::NatConnection, ""},
        {"NIC 2:           MAC: 08, Attachment: Bridged Interface 'eth0', Cable connected: on\n",
         true, bridged, "eth0"},
        {"NIC 2:           MAC: 08, Attachment: Bridged Interface 'en0', Generic 'x' {}\n", true,
         bridged, "en0', Generic 'x"},
        {"NIC 2:           MAC: 08, Attachment: Host-only Interface 'vboxnet0', Cable\n"
         "NIC 2:           MAC: 08, Attachment: NAT\n",
         false, VMToolsMachine::UnknownConnection, ""},
        {"NIC 2:           MAC: 08, Attachment: Bridged Interface, Cable connected: on\n"
         "NIC 2:           MAC: 08, Attachment: Bridged Interface 'eth1', Cable\n",
         true, bridged, "eth1"},
        {"NIC 2:           MAC: 08, Attachment: Bridged Interface, Cable connected: on\n", false,
         bridged, "untouched"},
        {"NIC 2:           disabled\n  NIC 2:           MAC: 08, Attachment: NAT\n", false, bridged,
         "untouched"},
        // The last "Attachment: " of the line counts, whatever blanks lead to it.
        {"NIC 2:\t \tAttachment: Bridged Interface 'a', Attachment: NAT\n", true,
         VMToolsMachine::NatConnection, ""},
        {"NIC 2: \r Attachment: Bridged Interface 'b'\r\n", true, bridged, "b"},
    };
    for (const Case &c : cases) {
        VMToolsMachine::ConnectionType type = bridged;
        QString name = "untouched";
        EXPECT_EQ(VBoxInterfaceParser::parseInterfaceStatus(c.text, &type, &name), c.result)
            << c.text;
        EXPECT_EQ(type, c.type) << c.text;
        EXPECT_EQ(name, c.name) << c.text;
    }
}

// Up and routed, down, and routed only through vboxnet01 are told apart in the start-up tests.
TEST(InterfaceStatusTest, DownInterfaceNeedsNoRouteAndFailingIpMeansUnavailable)
{
    const QStringList addrShow{"addr", "show", "dev", "vboxnet0"};
    StandIn standIn;
    standIn.onExact(addrShow,
                    {Answer::ok("4: vboxnet0: <BROADCAST,MULTICAST> mtu 1500 qdisc noop state "
                                "DOWN group default qlen 1000\n"),
                     Answer::fail(1, "Device \"vboxnet0\" does not exist.\n"), Answer::ok(LinkUp)},
                    "ip");
    standIn.onExact({"route"}, {Answer::fail(1)}, "ip");
    EXPECT_EQ(getInterfaceStatus("vboxnet0", "192.168.56.1"), 0);
    EXPECT_EQ(getInterfaceStatus("vboxnet0", "192.168.56.1"), 3);
    EXPECT_EQ(getInterfaceStatus("vboxnet0", "192.168.56.1"), 3);
    EXPECT_EQ(standIn.calls("ip"), (QList<QStringList>{addrShow, addrShow, addrShow, {"route"}}));
    EXPECT_TRUE(standIn.calls().isEmpty());
}
