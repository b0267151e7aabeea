// SPDX-License-Identifier: Apache-2.0
// "list vms".
#include "fuzztext.h"

#include <vboxoutputparser.h>

#include <QRegularExpression>

namespace {

// The pattern that the lines were read with, which the reader must agree with; slow on
// long lines, so asked only on short inputs.
constexpr size_t CompareBelow = 4096;

QList<VBoxOutputParser::MachineEntry> byPattern(const QString &output)
{
    static const QRegularExpression line(QStringLiteral("^\"(.+)\" \\{(.+)\\}$"));
    QList<VBoxOutputParser::MachineEntry> machines;
    for (const QString &text : output.split(QLatin1Char('\n'))) {
        const QRegularExpressionMatch match = line.match(text.trimmed());
        if (match.hasMatch())
            machines.append({match.captured(1), match.captured(2)});
    }
    return machines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = FuzzText::decode(data, size);
    const QList<VBoxOutputParser::MachineEntry> machines = VBoxOutputParser::parseMachineList(text);
    for (const VBoxOutputParser::MachineEntry &entry : machines)
        FUZZ_CHECK(!entry.name.isEmpty() && !entry.uuid.isEmpty());
    if (size < CompareBelow) {
        const QList<VBoxOutputParser::MachineEntry> expected = byPattern(text);
        FUZZ_CHECK(machines.size() == expected.size());
        for (int i = 0; i < machines.size(); ++i)
            FUZZ_CHECK(machines[i].name == expected[i].name &&
                       machines[i].uuid == expected[i].uuid);
    }
    return 0;
}
