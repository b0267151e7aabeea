// SPDX-License-Identifier: Apache-2.0
// vmtools as a child process: profile values and the outward network.
#include "vmtoolshost.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

#include <QJsonArray>

namespace {

const QStringList PropertyWrite{"guestproperty", "set"};

} // namespace

TEST(CliProfileTest, GetSetAndNetworkCheckEveryValueBeforeWritingAny)
{
    StandIn standIn;
    standIn.onPrefix({"guestproperty", "set", "phone", "vbox_dpi"},
                     {Answer::fail(1, "VBoxManage: error: The machine is locked\n")});
    standIn.onExact({"list", "bridgedifs"},
                    {Answer::ok("Name:            eth0\nGUID:            1\n\n"
                                "Name:            wlan0\nGUID:            2\n\n")});
    scriptUsualHost(standIn);
    VmtoolsHost host;

    const QList<VmtoolsResult> results = expectRuns(
        host, {{"get phone density", 0, "", "420\n"},
               {"get phone resolution virtual-keyboard navigation-bar", 0, "",
                "resolution:        1080x1920\nvirtual-keyboard:  on\nnavigation-bar:    off\n"},
               {"get phone hx --json", 0, "", R"({"values": {"hx": true}})"},
               // Not set on the device: null, not the engine's made-up "0" or empty text.
               {"get phone data-disk-size product-name --json", 0, "",
                R"({"values": {"dataDiskSize": null, "productName": null}})"},
               {"network phone", 0, "", "Adapter 1:  hostonly\nAdapter 2:  nat\n"},
               {"network phone interfaces --json", 0, "", R"({"interfaces": ["eth0", "wlan0"]})"}});
    EXPECT_EQ(results[3].json().value("values").toObject().keys(),
              (QStringList{"dataDiskSize", "productName"}));
    EXPECT_FALSE(calledWithPrefix(standIn, PropertyWrite));
    EXPECT_FALSE(calledWithPrefix(standIn, {"modifyvm"}));

    expectRuns(host, {{{"set", "phone", "resolution", "720x1280", "full-screen", "off", "device-id",
                        "", "--json"},
                       0,
                       "",
                       R"({"changed": {"resolution": "720x1280", "fullScreen": false}})"},
                      {"network phone nat", 0}});

    // setDensity reports nothing itself: the unchanged value tells.
    standIn.clearCalls();
    const VmtoolsResult refused =
        expectRuns(host,
                   {{"set phone camera on density 480 gyroscope on --json", 1,
                     "VirtualBox did not take density 480 for phone; already changed: camera on "
                     "(VirtualBox: The machine is locked)"}})
            .first();
    EXPECT_EQ(refused.json().value("changed").toObject().keys(), QStringList{"camera"});
    EXPECT_EQ(callsWith(standIn, PropertyWrite).size(), 2); // camera, then the refused density
}
