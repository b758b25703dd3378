// SPDX-License-Identifier: MIT
#include "ConfigDocument.h"

#include <QDomDocument>

#include <algorithm>

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

int nesting(const QDomDocument &config)
{
    // Step by step, not by recursion.
    int deepest = 0;
    int depth = 1;
    for (QDomElement element = config.documentElement(); !element.isNull();) {
        deepest = std::max(deepest, depth);
        QDomElement next = element.firstChildElement();
        if (!next.isNull()) {
            ++depth;
        } else {
            while (!element.isNull() && (next = element.nextSiblingElement()).isNull()) {
                element = element.parentNode().toElement();
                --depth;
            }
        }
        element = next;
    }
    return deepest;
}

} // namespace kestrun
