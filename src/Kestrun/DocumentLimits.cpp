// SPDX-License-Identifier: MIT
#include "DocumentLimits.h"

#include "TextEncoding.h"

#include <QRegularExpression>
#include <QXmlStreamReader>

#include <algorithm>
#include <string_view>

namespace kestrun {

namespace {

// QDom takes about 2 KiB of stack for each level when it saves a document.
constexpr int kMaximumDepth = 64;
constexpr char kTooDeep[] = "more than 64 levels of elements";

// Reading an element takes a time that grows with the square of this number.
constexpr qsizetype kMaximumAttributes = 256;
constexpr char kTooManyAttributes[] = "more than 256 attributes in one element";

// Bounds the number of declared attributes, which the parser compares with one another.
constexpr qsizetype kMaximumSubset = 64 * 1024;
constexpr char kTooLargeSubset[] = "more than 64 Ki characters of document type declaration";

// Each of them may stand for 4,096 characters, which is the limit of the parser itself.
constexpr qsizetype kMaximumReferences = 4096;
constexpr char kTooManyReferences[] = "more than 4,096 references to entities of its own";

constexpr qsizetype kMaximumGrowth = 1024 * 1024;
constexpr char kTooMuchGrowth[] = "more than 1 Mi characters from entities and default attributes";

// Returns true if the bytes of markup always stand for that markup.
bool isPlainlyEncoded(const QByteArray &xml)
{
    static const QRegularExpression otherEncoding(
        QStringLiteral("^(\\x{ef}\\x{bb}\\x{bf})?<\\?[^>]*encoding"
                       "(?!\\s*=\\s*[\"'](utf-8|us-ascii|iso-8859-1)[\"'])"),
        QRegularExpression::CaseInsensitiveOption);
    const QString declaration = QString::fromLatin1(xml.left(xml.indexOf('>')));
    return !xml.contains('\0') && !otherEncoding.match(declaration).hasMatch();
}

// What the markup of a document says before entities and default attributes are expanded. For a
// document that is not well-formed it is right up to the first error, where the parser stops, too.
struct Outline
{
    int depth = 0;
    qsizetype attributes = 0; // of the element with the most
    qsizetype subset = 0;     // characters of the document type declaration
    qsizetype references = 0; // other than "&#"
};

// Walks over the markup of a document of bytes or of UTF-16.
template <typename Char>
class OutlineScanner
{
public:
    explicit OutlineScanner(std::basic_string_view<Char> xml) : m_xml(xml) {}

    Outline scan()
    {
        while ((m_at = m_xml.find(Char('<'), m_at)) != kNone) {
            if (follows("<!--"))
                skipTo("<!--", "-->");
            else if (follows("<![CDATA["))
                skipTo("<![CDATA[", "]]>");
            else if (follows("<?"))
                skipTo("<?", "?>");
            else if (follows("<!"))
                skipTypeDeclaration();
            else if (follows("</"))
                skipEndTag();
            else
                skipStartTag();
        }
        if (m_outline.subset > 0)
            countReferences();
        return m_outline;
    }

private:
    static constexpr auto kNone = std::basic_string_view<Char>::npos;

    bool follows(std::string_view text) const
    {
        const auto rest = m_xml.substr(m_at, text.size());
        return std::equal(rest.begin(), rest.end(), text.begin(), text.end());
    }

    // Steps onto the end, or behind the document if there is none. The end does not overlap the
    // start: "<!-->" only opens a comment.
    void skipTo(std::string_view start, std::string_view end)
    {
        const std::basic_string<Char> wide(end.begin(), end.end());
        m_at = std::min(m_xml.find(wide, m_at + start.size()), m_xml.size());
    }

    void skipQuoted() { m_at = std::min(m_xml.find(m_xml[m_at], m_at + 1), m_xml.size()); }

    void skipEndTag()
    {
        --m_depth;
        ++m_at;
    }

    void skipStartTag()
    {
        qsizetype attributes = 0;
        for (; m_at < m_xml.size(); ++m_at) {
            const Char character = m_xml[m_at];
            if (character == Char('"') || character == Char('\'')) {
                ++attributes;
                skipQuoted();
            } else if (character == Char('>')) {
                break;
            }
        }
        m_outline.attributes = std::max(m_outline.attributes, attributes);
        m_outline.depth = std::max(m_outline.depth, m_depth + 1);
        const bool isEmpty = m_at < m_xml.size() && m_xml[m_at - 1] == Char('/');
        m_depth += isEmpty ? 0 : 1;
    }

    void skipTypeDeclaration()
    {
        const auto begin = m_at;
        bool inSubset = false;
        for (; m_at < m_xml.size(); ++m_at) {
            const Char character = m_xml[m_at];
            if (follows("<!--"))
                skipTo("<!--", "-->");
            else if (follows("<?"))
                skipTo("<?", "?>");
            else if (character == Char('"') || character == Char('\''))
                skipQuoted();
            else if (character == Char('['))
                inSubset = true;
            else if (character == Char(']'))
                inSubset = false;
            else if (character == Char('>') && !inSubset)
                break;
        }
        m_outline.subset += static_cast<qsizetype>(std::min(m_at, m_xml.size()) - begin);
    }

    void countReferences()
    {
        for (m_at = 0; (m_at = m_xml.find(Char('&'), m_at)) != kNone; ++m_at) {
            const auto isReference = [this](const char *text) { return follows(text); };
            if (std::none_of(std::begin(kOwnReferences), std::end(kOwnReferences), isReference))
                ++m_outline.references;
        }
    }

    static constexpr const char *kOwnReferences[] = {"&#",    "&lt;",   "&gt;",
                                                     "&amp;", "&quot;", "&apos;"};

    std::basic_string_view<Char> m_xml;
    std::size_t m_at = 0;
    int m_depth = 0;
    Outline m_outline;
};

Outline outlineOf(const QByteArray &xml)
{
    if (isPlainlyEncoded(xml))
        return OutlineScanner(std::string_view(xml.constData(), std::size_t(xml.size()))).scan();
    const std::u16string text = decodedXml(xml).toStdU16String();
    return OutlineScanner(std::u16string_view(text)).scan();
}

const char *exceededByOutline(const Outline &outline)
{
    if (outline.depth > kMaximumDepth)
        return kTooDeep;
    if (outline.attributes > kMaximumAttributes)
        return kTooManyAttributes;
    if (outline.subset > kMaximumSubset)
        return kTooLargeSubset;
    if (outline.references > kMaximumReferences)
        return kTooManyReferences;
    return nullptr;
}

// Checks the document as the parser expands it.
const char *exceededByExpansion(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    // As QDomDocument reads it: an undeclared prefix is no error.
    reader.setNamespaceProcessing(false);
    int depth = 0;
    qsizetype characters = 0;
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        characters += reader.text().size();
        if (token == QXmlStreamReader::EndElement)
            --depth;
        if (token == QXmlStreamReader::StartElement) {
            if (++depth > kMaximumDepth)
                return kTooDeep;
            const QXmlStreamAttributes attributes = reader.attributes();
            if (attributes.size() > kMaximumAttributes)
                return kTooManyAttributes;
            for (const QXmlStreamAttribute &attribute : attributes)
                characters += attribute.qualifiedName().size() + attribute.value().size();
        }
        if (characters > xml.size() + kMaximumGrowth)
            return kTooMuchGrowth;
    }
    return nullptr;
}

} // namespace

const char *exceededLimit(const QByteArray &xml)
{
    const Outline outline = outlineOf(xml);
    const char *const exceeded = exceededByOutline(outline);
    // Nothing expands without a document type declaration.
    return exceeded || outline.subset == 0 ? exceeded : exceededByExpansion(xml);
}

} // namespace kestrun
