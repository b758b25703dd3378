// SPDX-License-Identifier: MIT
#include "ConfigDocument.h"

#include <QDomDocument>

namespace kestrun {

void setSimLockState(QDomDocument &config, const QString &simLock)
{
    const QString historyName = QStringLiteral("HistoryData");
    const QString stateName = QStringLiteral("LatestSimLockState");
    for (QDomElement history = config.documentElement().firstChildElement(historyName);
         !history.isNull(); history = history.nextSiblingElement(historyName)) {
        const QDomElement before = history.firstChildElement(stateName);
        if (before.isNull())
            continue;
        QDomElement after = config.createElement(stateName);
        after.appendChild(config.createTextNode(simLock));
        history.replaceChild(after, before);
    }
}

} // namespace kestrun
