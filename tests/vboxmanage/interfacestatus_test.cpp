#include "interfacestatus.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

namespace {

const QString Ip = QStringLiteral("ip");
const QStringList AddrShow{"addr", "show", "dev", "vboxnet0"};
const QStringList Route{"route"};

const QString Up = "4: vboxnet0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 qdisc fq_codel state "
                   "UP group default qlen 1000\n"
                   "    inet 192.168.56.1/24 brd 192.168.56.255 scope global vboxnet0\n";
const QString Routes = "default via 192.168.1.1 dev enp3s0 proto dhcp metric 100\n";

} // namespace

TEST(InterfaceStatusTest, DownOrMissingInterfaceNeedsNoRouteButAnUpOneARouteThroughIt)
{
    StandIn standIn;
    standIn.onExact(AddrShow,
                    {Answer::ok("4: vboxnet0: <BROADCAST,MULTICAST> mtu 1500 qdisc noop state "
                                "DOWN group default qlen 1000\n"),
                     Answer::fail(1, "Device \"vboxnet0\" does not exist.\n")},
                    Ip);
    EXPECT_EQ(getInterfaceStatus("vboxnet0", "192.168.56.1"), 0);
    EXPECT_EQ(getInterfaceStatus("vboxnet0", "192.168.56.1"), 3);
    EXPECT_EQ(standIn.calls(Ip), (QList<QStringList>{AddrShow, AddrShow}));
    EXPECT_TRUE(standIn.calls().isEmpty());

    standIn.clearRules();
    standIn.clearCalls();
    standIn.onExact(AddrShow, {Answer::ok(Up)}, Ip);
    standIn.onExact(
        Route,
        {Answer::ok(Routes + "192.168.56.0/24 dev vboxnet0 proto kernel scope link\n"),
         Answer::ok(Routes + "10.0.0.0/8 dev vboxnet01 proto kernel\n10.0.0.0/8 dev vboxnet0"),
         Answer::fail(1)},
        Ip);

    EXPECT_EQ(getInterfaceStatus("vboxnet0", "192.168.56.1"), 1);
    EXPECT_EQ(getInterfaceStatus("vboxnet0", "192.168.56.1"), 2);
    EXPECT_EQ(getInterfaceStatus("vboxnet0", "192.168.56.1"), 3);
    EXPECT_EQ(standIn.calls(Ip),
              (QList<QStringList>{AddrShow, Route, AddrShow, Route, AddrShow, Route}));
}
