// SPDX-License-Identifier: Apache-2.0
#include "longlisting.h"

#include "machinesettingsfile.h"
#include "settledmachines.h"

#include <QRegularExpression>
#include <QStringList>

namespace {

QString field(const QStringList &lines, const QRegularExpression &pattern)
{
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = pattern.match(line);
        if (match.hasMatch())
            return match.captured(1).trimmed();
    }
    return QString();
}

LongListing::Block block(const QString &text, const QString &uuid)
{
    static const QRegularExpression state(QStringLiteral("^State:\\s+(.*)$"));
    static const QRegularExpression config(QStringLiteral("^Config file:\\s+(.*)$"));
    static const QRegularExpression encryption(QStringLiteral("^Encryption:\\s+(.*)$"));
    const QStringList lines = text.split(QLatin1Char('\n'));
    LongListing::Block b;
    b.uuid = uuid;
    b.state = field(lines, state);
    b.configFile = field(lines, config);
    b.encrypted = field(lines, encryption) == QLatin1String("enabled");
    b.text = text;
    return b;
}

} // namespace

namespace LongListing {

QList<Block> blocks(const QString &output)
{
    // A block is what showvminfo prints: it opens with the machine's "Name:" line, the last
    // before its "UUID:" line ("Name:" lines after that one, of shared folders, belong to
    // it), and runs to the next block's.
    static const QRegularExpression line(
        QStringLiteral("^(?:(Name:\\s)|UUID:\\s+([0-9a-fA-F-]{36})\\s*$)"),
        QRegularExpression::MultilineOption);
    QList<int> starts;
    QStringList uuids;
    int opening = -1;
    QRegularExpressionMatchIterator it = line.globalMatch(output);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        if (match.capturedLength(1) > 0) {
            opening = match.capturedStart();
        } else if (opening >= 0) {
            starts.append(opening);
            uuids.append(match.captured(2));
            opening = -1;
        }
    }
    QList<Block> found;
    for (int i = 0; i < starts.size(); ++i) {
        const int end = i + 1 < starts.size() ? starts.at(i + 1) : output.size();
        found.append(block(output.mid(starts.at(i), end - starts.at(i)), uuids.at(i)));
    }
    return found;
}

bool isSettled(const Block &block)
{
    // Not "aborted": a machine that ended so may not have had what its guest set saved.
    return block.state.startsWith(QLatin1String("powered off"));
}

bool keepFileAnswers(CallMemo &memo, const QString &program, const QString &id, const Block &block)
{
    if (!isSettled(block) || block.encrypted || block.configFile.isEmpty())
        return false;
    MachineSettingsFile::Machine machine;
    if (!MachineSettingsFile::read(block.configFile, block.uuid, &machine))
        return false;
    SettledMachines::keepFileAnswers(memo, program, id, machine);
    return true;
}

} // namespace LongListing
