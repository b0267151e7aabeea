// SPDX-License-Identifier: Apache-2.0
// Every fact read from a "showvminfo" description.
#include "fuzztext.h"

#include <vboxoutputparser.h>

#include <QRegularExpression>

namespace {

// The pattern that the "UUID:" and "Name:" lines were read with, which the one-pass
// reader must agree with; slow on long inputs, so asked only on short ones.
constexpr size_t CompareBelow = 4096;

void compareWithPattern(const QString &text, const char *label,
                        bool (*read)(const QString &, QString *))
{
    const QRegularExpression pattern(
        QStringLiteral("\\b%1\\s+([^\\r\\n]+)\\r?\\n.*").arg(QLatin1String(label)));
    const QRegularExpressionMatch match = pattern.match(text);
    const QString expected = match.hasMatch() ? match.captured(1).trimmed() : QString();
    QString value;
    FUZZ_CHECK(read(text, &value) == match.hasMatch());
    FUZZ_CHECK(value == expected && value.isNull() == expected.isNull());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = FuzzText::decode(data, size);
    unsigned int number = 0;
    VBoxOutputParser::parseCpuCount(text, &number);
    VBoxOutputParser::parseMemorySize(text, &number);
    VBoxOutputParser::parseState(text);
    VBoxOutputParser::parseNics(text);
    for (DiskPort port : {PrimaryPort, SecondaryPort}) {
        for (DiskDevice device : {MasterDevice, SlaveDevice})
            VBoxOutputParser::parseDiskUuid(text, port, device);
    }
    QString fact;
    VBoxOutputParser::parseMachineUuid(text, &fact);
    VBoxOutputParser::parseMachineName(text, &fact);
    if (size < CompareBelow) {
        compareWithPattern(text, "UUID:", VBoxOutputParser::parseMachineUuid);
        compareWithPattern(text, "Name:", VBoxOutputParser::parseMachineName);
    }
    return 0;
}
