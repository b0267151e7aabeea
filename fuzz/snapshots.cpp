// SPDX-License-Identifier: Apache-2.0
// "snapshot <vm> list".
#include "fuzztext.h"

#include <vboxoutputparser.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    VBoxOutputParser::parseSnapshotNames(FuzzText::decode(data, size));
    return 0;
}
