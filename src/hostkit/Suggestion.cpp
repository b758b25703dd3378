// SPDX-License-Identifier: MIT
#include "Suggestion.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

// The number of letters that must be inserted, removed, replaced or swapped with the next one.
int distance(const QString &from, const QString &to)
{
    std::vector<int> twoAbove;
    std::vector<int> above;
    std::vector<int> row;
    for (int column = 0; column <= to.size(); ++column)
        row.push_back(column);
    for (qsizetype line = 1; line <= from.size(); ++line) {
        twoAbove = std::exchange(above, std::exchange(row, {static_cast<int>(line)}));
        for (qsizetype column = 1; column <= to.size(); ++column) {
            const auto at = static_cast<std::size_t>(column);
            const bool same = from.at(line - 1) == to.at(column - 1);
            int least = std::min({above[at] + 1, row[at - 1] + 1, above[at - 1] + (same ? 0 : 1)});
            const bool swapped = line > 1 && column > 1 && from.at(line - 1) == to.at(column - 2)
                && from.at(line - 2) == to.at(column - 1);
            if (swapped)
                least = std::min(least, twoAbove[at - 2] + 1);
            row.push_back(least);
        }
    }
    return row.back();
}

} // namespace

QString suggestion(const QString &word, const QStringList &known)
{
    // More letters leave room for more slips. With two slips, a word of two letters would become
    // any other one.
    int least = word.size() < 3 ? 2 : std::max(2, static_cast<int>(word.size() / 3)) + 1;
    QString closest;
    for (const QString &candidate : known) {
        const int found = distance(word.toLower(), candidate.toLower());
        if (found < least) {
            least = found;
            closest = candidate;
        }
    }
    return closest.isEmpty() ? closest : QStringLiteral("; did you mean \"%1\"?").arg(closest);
}
