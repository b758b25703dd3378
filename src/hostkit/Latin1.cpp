// SPDX-License-Identifier: MIT
#include "Latin1.h"

#include "Failure.h"

void requireLatin1(const QString &what, const QString &text)
{
    for (qsizetype index = 0; index < text.size(); ++index) {
        if (text.at(index).unicode() > 0xff) {
            failUsage(QStringLiteral("the %1 has a character outside Latin-1, \"%2\" at position "
                                     "%3; nothing was sent")
                          .arg(what, text.mid(index, text.at(index).isHighSurrogate() ? 2 : 1))
                          .arg(index + 1));
        }
    }
}
