// SPDX-License-Identifier: Apache-2.0
// "list hostonlyifs", "list bridgedifs" and the answer of "hostonlyif create".
#include "fuzztext.h"

#include <vboxinterfaceparser.h>
#include <vboxoutputparser.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = FuzzText::decode(data, size);
    VBoxOutputParser::parseHostOnlyInterfaces(text);
    VBoxInterfaceParser::parseBridgeableInterfaces(text);
    QString name;
    VBoxOutputParser::parseCreatedInterfaceName(text, &name);
    return 0;
}
