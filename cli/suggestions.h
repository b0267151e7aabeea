// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

// "Did you mean" for a mistyped word: the closest known words within two edits, or the one
// word that the typed one begins.
namespace Suggestions {

// Edits (insertion, deletion, substitution, swap of neighbours) that turn `a` into `b`.
int distance(const QString &a, const QString &b);
// The known words closest to `typed`, in their given order; empty when none is close.
QStringList similar(const QString &typed, const QStringList &known);
// "did you mean 'list'?", "did you mean 'get' or 'set'?"; empty for no words.
QString question(const QStringList &words);

} // namespace Suggestions
