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

bool isTooDeep(const QDomDocument &config, qint64 size)
{
    constexpr int kDeepest = 500;
    constexpr int kBytesPerLevel = 7; // "<a></a>"
    if (size / kBytesPerLevel <= kDeepest)
        return false;
    // Step by step, not by recursion.
    int depth = 0;
    for (QDomNode node = config.documentElement(); !node.isNull();) {
        QDomNode next = node.firstChild();
        if (!next.isNull()) {
            if (++depth > kDeepest)
                return true;
        } else {
            while (!node.isNull() && (next = node.nextSibling()).isNull()) {
                node = node.parentNode();
                --depth;
            }
        }
        node = next;
    }
    return false;
}

} // namespace kestrun
