// SPDX-License-Identifier: Apache-2.0
#include "ipoutputparser.h"

namespace IpOutputParser {

bool isLinkDown(const QString &addresses)
{
    return addresses.contains(QLatin1String("state DOWN"));
}

bool hasRouteThrough(const QString &routes, const QString &interfaceName)
{
    const QString needle = QStringLiteral(" %1 %2 ").arg(QStringLiteral("dev"), interfaceName);
    return routes.contains(needle);
}

} // namespace IpOutputParser
