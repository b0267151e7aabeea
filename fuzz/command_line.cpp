// vmtools' command line, one argument per line of the input.
#include "fuzztext.h"

#include <commandline.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QStringList arguments = FuzzText::decode(data, size).split(QLatin1Char('\n'));
    arguments.prepend(QStringLiteral("vmtools"));
    const ParsedCommandLine parsed = CommandLine::parse(arguments);
    if (parsed.action == ParsedCommandLine::Action::RunCommand)
        FUZZ_CHECK(parsed.command && parsed.parser && parsed.error.isEmpty());
    if (parsed.action == ParsedCommandLine::Action::UsageError)
        FUZZ_CHECK(!parsed.error.isEmpty());
    return 0;
}
