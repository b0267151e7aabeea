#include "vboxinterfaceparser.h"

#include "printers.h"
#include "vboxtest.h"

#include <gtest/gtest.h>

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
