// SPDX-License-Identifier: MIT
#include "ConfigDocument.h"

#include "TextEncoding.h"

#include <QDomDocument>
#include <QTextStream>

namespace kestrun {

namespace {

// Returns an element's only child if that is a text and the element has no attributes, and a null
// node otherwise.
QDomText onlyText(const QDomElement &element)
{
    const QDomNode first = element.firstChild();
    const bool alone = !element.hasAttributes() && first.nodeType() == QDomNode::TextNode
        && first.nextSibling().isNull();
    return alone ? first.toText() : QDomText();
}

} // namespace

void setSimLockState(QDomDocument &config, const QString &simLock)
{
    const QString historyName = QStringLiteral("HistoryData");
    const QString stateName = QStringLiteral("LatestSimLockState");
    // Created once, since checking the name of a new element takes longer than copying one.
    QDomElement replacement = config.createElement(stateName);
    replacement.appendChild(config.createTextNode(simLock));
    for (QDomElement history = config.documentElement().firstChildElement(historyName);
         !history.isNull(); history = history.nextSiblingElement(historyName)) {
        const QDomElement state = history.firstChildElement(stateName);
        if (state.isNull())
            continue;
        // Yields the same document in half the time.
        if (QDomText text = onlyText(state); !text.isNull())
            text.replaceData(0, text.length(), simLock);
        else
            history.replaceChild(replacement.cloneNode(), state);
    }
}

std::optional<QByteArray> configText(QDomDocument config)
{
    constexpr int kIndent = 4;
    QString text;
    QTextStream stream(&text);
    QString encoding;
    QDomProcessingInstruction declaration = config.firstChild().toProcessingInstruction();
    if (declaration.target() == QLatin1String("xml")) {
        // Saved by itself: QDom would warn of each encoding that it does not know.
        stream << "<?xml " << declaration.data() << "?>\n";
        encoding = declaredEncoding(declaration.data());
        config.removeChild(declaration);
    }
    config.save(stream, kIndent);
    stream.flush();
    return encodedXml(text, encoding);
}

} // namespace kestrun
