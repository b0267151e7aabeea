// SPDX-License-Identifier: Apache-2.0
// "guestproperty enumerate", and the search for one key in it; the key the engine asks
// for, and one from the input's first line.
#include "fuzztext.h"

#include <vboxoutputparser.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = FuzzText::decode(data, size);
    VBoxOutputParser::parseGuestProperties(text);
    VBoxOutputParser::containsProperty(text, QStringLiteral("vbox_graph_mode"));
    const QPair<QString, QString> keyAndListing = FuzzText::splitFirstLine(text);
    VBoxOutputParser::containsProperty(keyAndListing.second, keyAndListing.first);
    return 0;
}
