// SPDX-License-Identifier: Apache-2.0
// The two network readers of VBoxInterfaceParser: bridgeable interfaces and how adapter 2
// of a description is connected.
#include "fuzztext.h"

#include <vboxinterfaceparser.h>

#include <QRegularExpression>

namespace {

// The adapter line was read with "\\s+.*", now with "\\s.*": both must read every
// line alike. The old pattern is slow on long blank runs, so asked only on short inputs.
constexpr size_t CompareBelow = 4096;

void compareAdapterPatterns(const QString &text)
{
    static const QRegularExpression before(QStringLiteral("^NIC 2:\\s+.*Attachment: (.*)"));
    static const QRegularExpression now(QStringLiteral("^NIC 2:\\s.*Attachment: (.*)"));
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        const QRegularExpressionMatch expected = before.match(line);
        const QRegularExpressionMatch match = now.match(line);
        FUZZ_CHECK(match.hasMatch() == expected.hasMatch() &&
                   match.captured(1) == expected.captured(1));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = FuzzText::decode(data, size);
    VBoxInterfaceParser::parseBridgeableInterfaces(text);
    VMToolsMachine::ConnectionType type = VMToolsMachine::UnknownConnection;
    QString name;
    if (VBoxInterfaceParser::parseInterfaceStatus(text, &type, &name))
        FUZZ_CHECK(type == VMToolsMachine::NatConnection ||
                   type == VMToolsMachine::BridgedConnection);
    if (size < CompareBelow)
        compareAdapterPatterns(text);
    return 0;
}
