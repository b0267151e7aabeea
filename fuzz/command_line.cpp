// SPDX-License-Identifier: Apache-2.0
// vmtools' command line, one argument per line of the input.
#include "fuzztext.h"

#include <commandline.h>

namespace {

// Linux hands no process an argument longer than this (MAX_ARG_STRLEN), and Qt's own
// option parser grows faster than linearly on longer ones: a longer line is cut into
// arguments of this size.
constexpr int LongestArgument = 128 * 1024;

QStringList argumentsOf(const QString &text)
{
    QStringList arguments{QStringLiteral("vmtools")};
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        for (int at = 0; at == 0 || at < line.size(); at += LongestArgument)
            arguments.append(line.mid(at, LongestArgument));
    }
    return arguments;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const ParsedCommandLine parsed = CommandLine::parse(argumentsOf(FuzzText::decode(data, size)));
    if (parsed.action == ParsedCommandLine::Action::RunCommand)
        FUZZ_CHECK(parsed.command && parsed.parser && parsed.error.isEmpty());
    if (parsed.action == ParsedCommandLine::Action::UsageError)
        FUZZ_CHECK(!parsed.error.isEmpty());
    return 0;
}
