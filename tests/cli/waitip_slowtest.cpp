// Waits out the engine's whole 20-second address poll.
#include "vmtoolshost.h"

#include "standin.h"

#include <gtest/gtest.h>

TEST(CliWaitIpSlowTest, ADeviceThatNeverPublishesAnAddressFailsAfterThePoll)
{
    StandIn standIn;
    scriptEngineStart(standIn);
    scriptDevice(standIn, {"phone", "0b6c7f21-7d4c-4d2b-9a55-3e0f3f6e8a11", "running", true});
    standIn.onPrefix({"guestproperty", "get"}, {Answer::ok("No value set!\n")});
    VmtoolsHost host;

    const VmtoolsResult result = host.run({"wait-ip", "phone", "--json"}, 120000);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.json().value("error"),
              QJsonValue("phone published no address within 20 seconds"));
    EXPECT_EQ(callsWith(standIn, {"guestproperty", "get"}).size(), 20);
}
