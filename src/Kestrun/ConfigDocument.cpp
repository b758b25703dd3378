// SPDX-License-Identifier: MIT
#include "ConfigDocument.h"

#include <QDomDocument>
#include <QRegularExpression>
#include <QTextStream>
#include <QXmlStreamReader>

#include <algorithm>

namespace kestrun {

namespace {

constexpr int kDeepest = 500;

// Whether each byte '<' is that character, and the other way round.
bool isPlainlyEncoded(const QByteArray &xml)
{
    static const QRegularExpression otherEncoding(
        QStringLiteral("^(\\x{ef}\\x{bb}\\x{bf})?<\\?[^>]*encoding"
                       "(?!\\s*=\\s*[\"'](utf-8|us-ascii|iso-8859-1)[\"'])"),
        QRegularExpression::CaseInsensitiveOption);
    const QString declaration = QString::fromLatin1(xml.left(xml.indexOf('>')));
    return !xml.contains('\0') && !otherEncoding.match(declaration).hasMatch();
}

// A first look, many times as fast as a parser: never fewer levels than there are.
bool mayBeTooDeep(const QByteArray &xml)
{
    if (!isPlainlyEncoded(xml))
        return true;
    // End tags count for certain only where nothing else can hold "</".
    bool tagsOnly = true;
    qsizetype starts = 0;
    qsizetype depth = 0;
    qsizetype deepest = 0;
    for (qsizetype at = xml.indexOf('<'); at >= 0; at = xml.indexOf('<', at + 1)) {
        const char next = at + 1 < xml.size() ? xml.at(at + 1) : '\0';
        if (next == '/') {
            --depth;
            continue;
        }
        tagsOnly = tagsOnly && next != '!'
            && (next != '?' || (at == 0 && xml.startsWith("<?xml ")));
        ++starts;
        deepest = std::max(deepest, ++depth);
    }
    return (tagsOnly ? deepest : starts) > kDeepest;
}

// The text of an element that has nothing else; a null node for any other element.
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
    // Made once: the check of a new element's name takes longer than a copy.
    QDomElement after = config.createElement(stateName);
    after.appendChild(config.createTextNode(simLock));
    for (QDomElement history = config.documentElement().firstChildElement(historyName);
         !history.isNull(); history = history.nextSiblingElement(historyName)) {
        const QDomElement before = history.firstChildElement(stateName);
        if (before.isNull())
            continue;
        // The same document in the end, for half the time.
        if (QDomText text = onlyText(before); !text.isNull())
            text.replaceData(0, text.length(), simLock);
        else
            history.replaceChild(after.cloneNode(), before);
    }
}

QByteArray configText(const QDomDocument &config)
{
    constexpr int kIndent = 4;
    QByteArray text;
    QTextStream stream(&text);
    config.save(stream, kIndent);
    stream.flush();
    return text;
}

bool isTooDeep(const QByteArray &xml)
{
    if (!mayBeTooDeep(xml))
        return false;
    QXmlStreamReader reader(xml);
    // As the document reads it: a prefix that is not declared ends nothing.
    reader.setNamespaceProcessing(false);
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
