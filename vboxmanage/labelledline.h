// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QLatin1String>
#include <QString>

// The value of the first "<label> <value>" line of a text, read exactly as the pattern
// \b<label>\s+([^\r\n]+)\r?\n reads it (capture trimmed), in one pass: that pattern tries
// every split of a long blank run, and every label of a long line, to the line's end.
namespace LabelledLine {

// False when no line matches. The label starts with a word character.
bool find(const QString &text, QLatin1String label, QString *value);

} // namespace LabelledLine
