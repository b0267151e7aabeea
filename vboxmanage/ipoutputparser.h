// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// Pure readers of the host's ip tool output: text in, facts out.
namespace IpOutputParser {

// Whether "ip addr show dev <name>" reports the link down.
bool isLinkDown(const QString &addresses);

// Whether a route of "ip route" leaves through the interface: " dev <name> " with blanks
// on both sides, so vboxnet0 does not match a route through vboxnet01.
bool hasRouteThrough(const QString &routes, const QString &interfaceName);

} // namespace IpOutputParser
