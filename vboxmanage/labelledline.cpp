// SPDX-License-Identifier: Apache-2.0
#include "labelledline.h"

namespace {

// The pattern's classes, which are ASCII only without Unicode properties.
bool isWordCharacter(QChar c)
{
    const ushort u = c.unicode();
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || u == '_';
}

bool isBlank(QChar c)
{
    const ushort u = c.unicode();
    return u == ' ' || u == '\t' || u == '\v' || u == '\f' || u == '\r' || u == '\n';
}

bool isBreak(QChar c)
{
    return c == QLatin1Char('\r') || c == QLatin1Char('\n');
}

// Whether "\r?\n" matches at `at`.
bool endsLine(const QString &text, int at)
{
    if (at < text.size() && text.at(at) == QLatin1Char('\n'))
        return true;
    return at + 1 < text.size() && text.at(at) == QLatin1Char('\r') &&
           text.at(at + 1) == QLatin1Char('\n');
}

// The first line break at or after `from`, remembered so that many labels on one long
// line search it once.
class BreakFinder
{
public:
    explicit BreakFinder(const QString &text)
        : m_text(text)
    {}

    int from(int at)
    {
        if (at > m_found || at < m_searchedFrom) {
            m_searchedFrom = at;
            m_found = at;
            while (m_found < m_text.size() && !isBreak(m_text.at(m_found)))
                ++m_found;
        }
        return m_found;
    }

private:
    const QString &m_text;
    int m_searchedFrom = -1;
    int m_found = -1;
};

} // namespace

namespace LabelledLine {

bool find(const QString &text, QLatin1String label, QString *value)
{
    BreakFinder breaks(text);
    for (int at = text.indexOf(label); at >= 0; at = text.indexOf(label, at + 1)) {
        if (at > 0 && isWordCharacter(text.at(at - 1)))
            continue;
        const int blanksFrom = at + label.size();
        int valueFrom = blanksFrom;
        while (valueFrom < text.size() && isBlank(text.at(valueFrom)))
            ++valueFrom;
        if (valueFrom == blanksFrom)
            continue;
        // The whole blank run first: the value starts at the first non-blank.
        if (valueFrom < text.size()) {
            const int end = breaks.from(valueFrom);
            if (endsLine(text, end)) {
                *value = text.mid(valueFrom, end - valueFrom).trimmed();
                return true;
            }
        }
        // Then a shorter run: a value of blanks that ends a line inside the run.
        for (int i = blanksFrom + 1; i < valueFrom; ++i) {
            if (!isBreak(text.at(i)) && endsLine(text, i + 1)) {
                *value = text.mid(i, 1).trimmed();
                return true;
            }
        }
    }
    return false;
}

} // namespace LabelledLine
