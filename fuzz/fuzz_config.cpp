// SPDX-License-Identifier: MIT

// "Config.xml" in: the same document out but for the lock states, or nothing.
#include "ConfigDocument.h"
#include "Fuzz.h"

#include <QDomDocument>

namespace {

// The document with every lock state that setSimLockState() may touch taken out.
QString withoutLockStates(QDomDocument config)
{
    const QString history = QStringLiteral("HistoryData");
    for (QDomElement element = config.documentElement().firstChildElement(history);
         !element.isNull(); element = element.nextSiblingElement(history))
        element.removeChild(element.firstChildElement(QStringLiteral("LatestSimLockState")));
    return config.toString();
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    QDomDocument before;
    QDomDocument after;
    if (kestrun::isTooDeep(input) || !before.setContent(input))
        return;
    after.setContent(input);
    kestrun::setSimLockState(after, QStringLiteral("7"));
    require(withoutLockStates(after) == withoutLockStates(before));
}
