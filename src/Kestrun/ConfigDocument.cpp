// SPDX-License-Identifier: MIT
#include "ConfigDocument.h"

#include <QDomDocument>
#include <QRegularExpression>
#include <QTextStream>
#include <QXmlStreamReader>

#include <algorithm>

namespace kestrun {

namespace {

constexpr int kMaximumDepth = 500;

// Returns true if the byte '<' always stands for that character, and the character for that byte.
bool isPlainlyEncoded(const QByteArray &xml)
{
    static const QRegularExpression otherEncoding(
        QStringLiteral("^(\\x{ef}\\x{bb}\\x{bf})?<\\?[^>]*encoding"
                       "(?!\\s*=\\s*[\"'](utf-8|us-ascii|iso-8859-1)[\"'])"),
        QRegularExpression::CaseInsensitiveOption);
    const QString declaration = QString::fromLatin1(xml.left(xml.indexOf('>')));
    return !xml.contains('\0') && !otherEncoding.match(declaration).hasMatch();
}

// An upper bound of the depth, many times as fast as a parser. Returns false only for a document
// that is certainly not too deep.
bool estimateExceedsDepth(const QByteArray &xml)
{
    if (!isPlainlyEncoded(xml))
        return true;
    // End tags are counted only if nothing else in the document can contain "</".
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
    return (tagsOnly ? deepest : starts) > kMaximumDepth;
}

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
    if (!estimateExceedsDepth(xml))
        return false;
    QXmlStreamReader reader(xml);
    // As QDomDocument reads it: an undeclared prefix is no error.
    reader.setNamespaceProcessing(false);
    int depth = 0;
    while (!reader.atEnd() && depth <= kMaximumDepth) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::StartElement)
            ++depth;
        else if (token == QXmlStreamReader::EndElement)
            --depth;
    }
    return depth > kMaximumDepth;
}

} // namespace kestrun
