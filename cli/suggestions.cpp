// SPDX-License-Identifier: Apache-2.0
#include "suggestions.h"

#include <QVector>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int MaxDistance = 2;

QStringList uniquePrefixMatch(const QString &typed, const QStringList &known)
{
    QStringList matches;
    for (const QString &word : known) {
        if (word.startsWith(typed))
            matches.append(word);
    }
    return matches.size() == 1 ? matches : QStringList();
}

} // namespace

namespace Suggestions {

int distance(const QString &a, const QString &b)
{
    // Optimal string alignment: a swapped pair of letters, the commonest typo, costs one.
    const int rows = a.size() + 1;
    const int columns = b.size() + 1;
    QVector<int> d(rows * columns);
    const auto at = [&d, columns](int i, int j) -> int & {
        return d[i * columns + j];
    };
    for (int i = 0; i < rows; ++i)
        at(i, 0) = i;
    for (int j = 0; j < columns; ++j)
        at(0, j) = j;
    for (int i = 1; i < rows; ++i) {
        for (int j = 1; j < columns; ++j) {
            const int cost = a.at(i - 1) == b.at(j - 1) ? 0 : 1;
            at(i, j) = std::min({at(i - 1, j) + 1, at(i, j - 1) + 1, at(i - 1, j - 1) + cost});
            if (i > 1 && j > 1 && a.at(i - 1) == b.at(j - 2) && a.at(i - 2) == b.at(j - 1))
                at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
        }
    }
    return at(rows - 1, columns - 1);
}

QStringList similar(const QString &word, const QStringList &known)
{
    const QString typed = word.toLower(); // commands are lower case; caps lock is a typo too
    if (typed.isEmpty())
        return {};
    // A word no longer than the edits allowed would be "close" to every short word.
    const int limit = std::min(MaxDistance, typed.size() - 1);
    int best = limit + 1;
    QStringList closest;
    for (const QString &word : known) {
        // Each edit changes the length by one at most: a longer word cannot be close, and
        // its distance would cost its length times the command's.
        if (std::abs(typed.size() - word.size()) > limit)
            continue;
        const int edits = distance(typed, word);
        if (edits > limit)
            continue;
        if (edits < best) {
            best = edits;
            closest.clear();
        }
        if (edits == best)
            closest.append(word);
    }
    return closest.isEmpty() ? uniquePrefixMatch(typed, known) : closest;
}

QString question(const QStringList &words)
{
    if (words.isEmpty())
        return QString();
    QStringList quoted;
    for (const QString &word : words)
        quoted.append(QLatin1Char('\'') + word + QLatin1Char('\''));
    const QString last = quoted.takeLast();
    const QString choices =
        quoted.isEmpty() ? last : quoted.join(QStringLiteral(", ")) + QStringLiteral(" or ") + last;
    return QStringLiteral("did you mean %1?").arg(choices);
}

} // namespace Suggestions
