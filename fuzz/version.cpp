// SPDX-License-Identifier: Apache-2.0
// "--version", and the release read from its answer.
#include "fuzztext.h"

#include <vboxoutputparser.h>
#include <vboxversion.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString version = VBoxOutputParser::parseVersion(FuzzText::decode(data, size));
    FUZZ_CHECK(version == version.trimmed());
    VBoxVersion(version).needsImportDryRun();
    return 0;
}
