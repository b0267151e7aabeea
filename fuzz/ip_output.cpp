// SPDX-License-Identifier: Apache-2.0
// "ip addr show dev <name>" and "ip route"; the interface name is the input's first line.
#include "fuzztext.h"

#include <ipoutputparser.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = FuzzText::decode(data, size);
    IpOutputParser::isLinkDown(text);
    IpOutputParser::hasRouteThrough(text, QStringLiteral("vboxnet0"));
    const QPair<QString, QString> nameAndRoutes = FuzzText::splitFirstLine(text);
    IpOutputParser::hasRouteThrough(nameAndRoutes.second, nameAndRoutes.first);
    return 0;
}
