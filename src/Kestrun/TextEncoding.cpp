// SPDX-License-Identifier: MIT
#include "TextEncoding.h"

#include <QDomDocument>
#include <QHash>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QStringEncoder>

#include <cstdint>
#include <iconv.h>

namespace kestrun {

namespace {

// Converts bytes to UTF-8 by the C library, which most other programs use, too.
class SystemDecoder
{
public:
    explicit SystemDecoder(const QByteArray &encoding)
        : m_converter(iconv_open("UTF-8", encoding.constData()))
    {
    }
    ~SystemDecoder()
    {
        if (isValid())
            iconv_close(m_converter);
    }
    SystemDecoder(const SystemDecoder &) = delete;
    SystemDecoder &operator=(const SystemDecoder &) = delete;

    bool isValid() const { return reinterpret_cast<std::intptr_t>(m_converter) != -1; }

    // Returns a null text for bytes that are invalid.
    QString decode(QByteArray bytes)
    {
        QByteArray text(4 * bytes.size() + 4, '\0');
        char *in = bytes.data();
        char *out = text.data();
        auto inLeft = static_cast<std::size_t>(bytes.size());
        auto outLeft = static_cast<std::size_t>(text.size());
        iconv(m_converter, nullptr, nullptr, nullptr, nullptr);
        if (iconv(m_converter, &in, &inLeft, &out, &outLeft) == std::size_t(-1))
            return QString();
        // What the converter holds back, for a character that a later one may change.
        iconv(m_converter, nullptr, nullptr, &out, &outLeft);
        return QString::fromUtf8(text.first(out - text.data()));
    }

private:
    iconv_t m_converter;
};

// Whose converters are to read a character back before it is written as such.
enum class Readers { Qt, QtAndSystem };

// Tells which characters an encoding holds.
class Encodability
{
public:
    Encodability(const QByteArray &encoding, Readers readers)
        : m_encoding(encoding), m_system(encoding),
          m_checksSystem(readers == Readers::QtAndSystem && m_system.isValid())
    {
    }

    bool holds(char32_t character)
    {
        const auto known = m_known.constFind(character);
        if (known != m_known.cend())
            return *known;
        const QString text = QString::fromUcs4(&character, 1);
        const QByteArray bytes = QStringEncoder(m_encoding.constData())(text);
        const bool held = QString(QStringDecoder(m_encoding.constData())(bytes)) == text
            && (!m_checksSystem || m_system.decode(bytes) == text);
        m_known.insert(character, held);
        return held;
    }

private:
    QByteArray m_encoding;
    SystemDecoder m_system;
    bool m_checksSystem;
    QHash<char32_t, bool> m_known;
};

QString withReferences(const QString &xml, Encodability &encodability)
{
    QString text;
    text.reserve(xml.size());
    const QList<uint> characters = xml.toUcs4();
    for (const char32_t character : characters) {
        if (encodability.holds(character))
            text += QString::fromUcs4(&character, 1);
        else
            text += QStringLiteral("&#%1;").arg(uint(character));
    }
    return text;
}

// Returns the bytes, or nothing if Qt reads another text from them.
std::optional<QByteArray> encoded(const QString &text, const QByteArray &encoding)
{
    // A byte order mark tells the two kinds of UTF-16 and UTF-32 apart.
    const bool unordered = encoding.compare("UTF-16", Qt::CaseInsensitive) == 0
        || encoding.compare("UTF-32", Qt::CaseInsensitive) == 0;
    QStringEncoder encoder(encoding.constData(),
                           unordered ? QStringEncoder::Flag::WriteBom
                                     : QStringEncoder::Flag::Default);
    const QByteArray bytes = encoder(text);
    if (QString(QStringDecoder(encoding.constData())(bytes)) != text)
        return std::nullopt;
    return bytes;
}

// Returns what follows the XML declaration, because of whose encoding QDom would log a warning.
QString contentOf(QDomDocument document)
{
    if (document.firstChild().nodeName() == QLatin1String("xml"))
        document.removeChild(document.firstChild());
    return document.toString();
}

bool isSameDocument(const QByteArray &xml, const QString &text)
{
    QDomDocument one;
    QDomDocument other;
    return one.setContent(xml) && other.setContent(text) && contentOf(one) == contentOf(other);
}

} // namespace

QString declaredEncoding(const QString &declaration)
{
    static const QRegularExpression encoding(
        QStringLiteral("encoding\\s*=\\s*(?:\"([^\"]*)\"|'([^']*)')"));
    const auto match = encoding.match(declaration);
    return match.captured(1) + match.captured(2);
}

QString decodedXml(const QByteArray &xml)
{
    const auto marked = QStringConverter::encodingForData(xml, u'<');
    if (marked)
        return QStringDecoder(*marked)(xml);
    const bool declared = xml.startsWith("<?xml");
    const QString name = declared
        ? declaredEncoding(QString::fromLatin1(xml.left(xml.indexOf('>'))))
        : QString();
    QStringDecoder decoder(name.toLatin1().constData());
    return decoder.isValid() ? QString(decoder(xml)) : QString::fromUtf8(xml);
}

std::optional<QByteArray> encodedXml(const QString &xml, const QString &encoding)
{
    if (encoding.isEmpty() || encoding.compare(QLatin1String("UTF-8"), Qt::CaseInsensitive) == 0)
        return xml.toUtf8();
    const QByteArray name = encoding.toLatin1();
    if (!QStringEncoder(name.constData()).isValid())
        return std::nullopt;
    for (const Readers readers : {Readers::QtAndSystem, Readers::Qt}) {
        Encodability encodability(name, readers);
        const QString text = withReferences(xml, encodability);
        auto bytes = encoded(text, name);
        // References are read as characters only in texts and attributes.
        if (bytes && (text == xml || isSameDocument(*bytes, xml)))
            return bytes;
    }
    return std::nullopt;
}

} // namespace kestrun
