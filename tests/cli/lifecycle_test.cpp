// SPDX-License-Identifier: Apache-2.0
// vmtools as a child process: start, stop, wait for the address, factory backup and reset.
#include "vmtoolshost.h"

#include "printers.h"
#include "standin.h"

#include <gtest/gtest.h>

TEST(CliLifecycleTest, StartStopCheckWaitIpAndFactoryResetLookAtTheStateFirst)
{
    StandIn standIn;
    // Two starts go through, the third finds no hardware virtualization.
    standIn.onPrefix({"startvm"}, {Answer::ok(), Answer::ok(),
                                   Answer::fail(1, "VBoxManage: error: VT-x is not available "
                                                   "(VERR_VMX_NO_VMX)\n")});
    standIn.onExact({"guestproperty", "get", "tablet", "tovalyn_ip_management"},
                    {Answer::ok("No value set!\n"), Answer::ok("Value: 192.168.56.102\n")});
    // The previous boot's address is gone once the start has cleared it; the new boot
    // publishes one after a while.
    standIn.onExact({"guestproperty", "get", "boot", "tovalyn_ip_management"},
                    {Answer::ok("No value set!\n"), Answer::ok("No value set!\n"),
                     Answer::ok("Value: 192.168.56.103\n")});
    standIn.onExact({"guestproperty", "get", "idle", "tovalyn_ip_management"},
                    {Answer::ok("No value set!\n")});
    scriptDevice(standIn, {"watch", "5d3f1a2b-6c7d-4e8f-9a0b-1c2d3e4f5a6b", "powered off", false});
    scriptDevice(standIn, {"boot", "2c4e6a8b-0d2f-4b6d-8f1a-3c5e7a9b1d3f", "powered off", true, 3});
    scriptDevice(standIn, {"idle", "7a1b2c3d-4e5f-4a6b-8c7d-9e0f1a2b3c4d", "running", true});
    scriptDevice(standIn, {"crashed", "8b2c3d4e-5f6a-4b7c-9d8e-0f1a2b3c4d5e", "aborted", false});
    scriptUsualHost(standIn);
    VmtoolsHost host;

    // The scripted phone never shows as running, so only the calls tell here.
    host.run({"start", "phone", "--gui"});
    expectRuns(
        host,
        {{"start boot --wait --timeout 5", 0, "", "192.168.56.103:5555\n"},
         // An aborted device is stopped already: nothing to power off.
         {"stop crashed --json", 0, "", R"({"alreadyStopped": true})"},
         {"check tablet", 1},
         {"wait-ip tablet", 0, "", "192.168.56.102:5555\n"},
         {"wait-ip idle --timeout 2 --json", 1, "idle published no address within 2 seconds"},
         {"factory-reset watch --json", 1, "the device has no factory backup", R"({"result": 1})"},
         {"factory-reset phone", 0}});
    EXPECT_TRUE(calledWithPrefix(standIn, {"startvm", "phone", "--type", "gui"}));

    const QList<VmtoolsResult> results =
        expectRuns(host, {{"stop tablet", 0}, {"start phone", 1, "phone could not be started"}});
    // The cause in plain words, VirtualBox's own message, and the engine's line.
    EXPECT_EQ(results[1].errLines().constLast(),
              "vmtools: phone could not be started: the processor's VT-x is missing or disabled: "
              "turn it on in the computer's firmware (BIOS or UEFI) settings (VirtualBox: VT-x is "
              "not available (VERR_VMX_NO_VMX); engine: There's a "
              "compatibility issue with your processor VMX/SVM capabilitiy)");
}
