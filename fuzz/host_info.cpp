// SPDX-License-Identifier: Apache-2.0
// "list hostinfo" and "list systemproperties", through the readers and the engine's
// members that keep the limits.
#include "fuzztext.h"

#include <vboxmanagecore.h>
#include <vboxoutputparser.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static VBoxManageCore core;
    const QString text = FuzzText::decode(data, size);

    int online = 0;
    int cores = 0;
    if (VBoxOutputParser::parseOnlineProcessorCount(text, &online) &&
        VBoxOutputParser::parseOnlineCoreCount(text, &cores))
        FUZZ_CHECK(VBoxOutputParser::hostProcessorCount(online, cores) >= 0);
    unsigned int memory = 0;
    VBoxOutputParser::parseHostMemorySize(text, &memory);
    core.loadMaxCPUNumber(text);
    core.loadMaxMemorySize(text);
    FUZZ_CHECK(core.getMaxCpuCount() <= 8);

    FUZZ_CHECK(!VBoxOutputParser::parseDefaultMachineFolder(text).isEmpty());
    return 0;
}
