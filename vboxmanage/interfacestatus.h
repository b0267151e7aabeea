// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// The state of a host network interface according to the host's ip tool:
// 0 down, 1 up and routed, 2 up without a route, 3 ip failed or no such device.
// The address is accepted for the callers' convenience and not used.
int getInterfaceStatus(const QString &interfaceName, const QString &interfaceAddress);
