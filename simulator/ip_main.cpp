// SPDX-License-Identifier: Apache-2.0
// The ip stand-in: addresses and routes of the simulated host's interfaces.
#include "dispatch.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    return VBoxSim::runIp(app.arguments().mid(1));
}
