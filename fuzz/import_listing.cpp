// SPDX-License-Identifier: Apache-2.0
// The disks of "import <appliance> -n".
#include "fuzztext.h"

#include <vboxoutputparser.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    for (int unit : VBoxOutputParser::parseImportDiskUnits(FuzzText::decode(data, size)))
        FUZZ_CHECK(unit >= 0);
    return 0;
}
