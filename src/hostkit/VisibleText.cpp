// SPDX-License-Identifier: MIT
#include "VisibleText.h"

QString visible(const QString &text)
{
    QString shown;
    for (const QChar character : text) {
        if (character.category() == QChar::Other_Control)
            shown += QStringLiteral("\\%1").arg(character.unicode(), 3, 8, QLatin1Char('0'));
        else
            shown += character;
    }
    return shown;
}
