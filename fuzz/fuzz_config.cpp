// SPDX-License-Identifier: MIT

// A "Config.xml" that is accepted keeps everything except the lock states.
#include "ConfigDocument.h"
#include "DocumentLimits.h"
#include "Fuzz.h"

#include <QDomDocument>

namespace {

// Returns the document without the lock states that setSimLockState() may change.
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
    if (kestrun::exceededLimit(input) || !before.setContent(input))
        return;
    after.setContent(input);
    kestrun::setSimLockState(after, QStringLiteral("7"));
    require(withoutLockStates(after) == withoutLockStates(before));
}
