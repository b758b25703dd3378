// SPDX-License-Identifier: MIT
#include "ConfigDocument.h"

#include <QDomDocument>
#include <QXmlStreamReader>

namespace kestrun {

namespace {

constexpr int kDeepest = 500;

// A first look, many times as fast as a parser: never fewer levels than there are.
bool mayBeTooDeep(const QByteArray &xml)
{
    // End tags count for certain only where nothing else can hold "</", and in 8 bits.
    const bool tagsOnly = !xml.contains("<!") && xml.lastIndexOf("<?") <= 0 && !xml.contains('\0');
    int depth = 0;
    for (qsizetype at = xml.indexOf('<'); at >= 0; at = xml.indexOf('<', at + 1)) {
        const bool end = at + 1 < xml.size() && xml.at(at + 1) == '/';
        depth += !end ? 1 : tagsOnly ? -1 : 0;
        if (depth > kDeepest)
            return true;
    }
    return false;
}

} // namespace

void setSimLockState(QDomDocument &config, const QString &simLock)
{
    const QString historyName = QStringLiteral("HistoryData");
    const QString stateName = QStringLiteral("LatestSimLockState");
    // Made once: the check of a new element's name takes longer than a copy.
    QDomElement after = config.createElement(stateName);
    after.appendChild(config.createTextNode(simLock));
    for (QDomElement history = config.documentElement().firstChildElement(historyName);
         !history.isNull(); history = history.nextSiblingElement(historyName)) {
        const QDomElement before = history.firstChildElement(stateName);
        if (before.isNull())
            continue;
        history.replaceChild(after.cloneNode(), before);
    }
}

bool isTooDeep(const QByteArray &xml)
{
    if (!mayBeTooDeep(xml))
        return false;
    QXmlStreamReader reader(xml);
    int depth = 0;
    while (!reader.atEnd() && depth <= kDeepest) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::StartElement)
            ++depth;
        else if (token == QXmlStreamReader::EndElement)
            --depth;
    }
    return depth > kDeepest;
}

} // namespace kestrun
