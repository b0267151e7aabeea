// SPDX-License-Identifier: Apache-2.0
#include "vboxmanagemachine.h"

#include "printers.h"
#include "standin.h"

#include <QVector>

#include <gtest/gtest.h>

TEST(MachineSlowTest, WaitForIPGivesUpAfterTwentyPolls)
{
    StandIn standIn;
    const QStringList get{"guestproperty", "get", "phone", "tovalyn_ip_management"};
    standIn.onExact(get, {Answer::ok("No value set!\n")});
    VBoxManageMachine machine("u", "phone", "VBoxManage");
    standIn.clearCalls();

    EXPECT_EQ(machine.waitForIP(), "0.0.0.0");

    EXPECT_EQ(standIn.calls(), QVector<QStringList>(20, get).toList());
    EXPECT_EQ(machine.getAdbSerial(), "0.0.0.0:5555");
}
