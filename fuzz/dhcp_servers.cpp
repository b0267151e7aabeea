// SPDX-License-Identifier: Apache-2.0
// "list dhcpservers" in every layout.
#include "fuzztext.h"

#include <vboxoutputparser.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = FuzzText::decode(data, size);
    for (const VBoxOutputParser::DhcpServerRecord &server :
         VBoxOutputParser::parseDhcpServers(text))
        FUZZ_CHECK(server.enabled || server.ipAddress.isEmpty());
    return 0;
}
