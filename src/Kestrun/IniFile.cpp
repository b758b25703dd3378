// SPDX-License-Identifier: MIT
#include "IniFile.h"

#include "DataFile.h"

#include <QMap>
#include <QStringDecoder>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>

#include <unistd.h>

namespace kestrun {

namespace {

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

bool isLineBreak(char byte)
{
    return byte == '\n' || byte == '\r';
}

// Returns how many bytes a line break takes that begins with the byte at `at`: two for CR and LF in
// either order.
qsizetype lineBreakSize(QByteArrayView data, qsizetype at)
{
    const bool pair = at + 1 < data.size() && isLineBreak(data[at + 1]) && data[at + 1] != data[at];
    return pair ? 2 : 1;
}

// Returns the value of a hexadecimal digit, or 16 for any other byte.
unsigned digitOf(char byte)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    const char *const found = std::strchr(kDigits, std::tolower(static_cast<unsigned char>(byte)));
    return found ? static_cast<unsigned>(found - kDigits) : 16U;
}

// A line of an INI file. A quoted line break and an escaped one do not end it.
struct Line
{
    qsizetype begin;
    QByteArrayView text;
    qsizetype equals = -1; // the first one that is not quoted
};

// Splits an INI file into lines without the blanks and comments before them.
class Lines
{
public:
    explicit Lines(QByteArrayView data) : m_data(data) {}

    // Returns nothing at the end.
    std::optional<Line> next()
    {
        skipBlanksAndComments();
        Line line{m_at, {}};
        bool quoted = false;
        for (; m_at < m_data.size(); ++m_at) {
            const char byte = m_data[m_at];
            if (byte == '"')
                quoted = !quoted;
            else if (byte == '=' && !quoted && line.equals < 0)
                line.equals = m_at - line.begin;
            else if (byte == '\\')
                skipEscaped();
            else if ((isLineBreak(byte) || byte == ';') && !quoted)
                break;
        }
        m_at = std::min(m_at, m_data.size());
        line.text = m_data.sliced(line.begin, m_at - line.begin);
        return line.text.isEmpty() ? std::nullopt : std::optional(line);
    }

    // Returns the end of the latest line.
    qsizetype position() const { return m_at; }

private:
    void skipBlanksAndComments()
    {
        while (m_at < m_data.size() && (isBlank(m_data[m_at]) || m_data[m_at] == ';')) {
            if (m_data[m_at] == ';') {
                while (m_at < m_data.size() && !isLineBreak(m_data[m_at]))
                    ++m_at;
            } else {
                ++m_at;
            }
        }
    }

    // Steps onto the last byte of what follows the backslash.
    void skipEscaped()
    {
        if (++m_at < m_data.size() && isLineBreak(m_data[m_at]))
            m_at += lineBreakSize(m_data, m_at) - 1;
    }

    QByteArrayView m_data;
    qsizetype m_at = 0;
};

// Decodes the name of a section or a key: a backslash stands for a slash, and %XX and %UXXXX for
// characters.
QString decodedName(QByteArrayView bytes)
{
    const QString name = QString::fromUtf8(bytes);
    QString decoded;
    decoded.reserve(name.size());
    for (qsizetype at = 0; at < name.size(); ++at) {
        decoded += name[at] == u'\\' ? QChar(u'/') : name[at];
        if (name[at] != u'%' || at + 1 == name.size())
            continue;
        const bool wide = name[at + 1] == u'U';
        const qsizetype digits = wide ? 4 : 2;
        const qsizetype begin = at + (wide ? 2 : 1);
        bool valid = begin + digits <= name.size();
        const ushort code = valid ? QStringView(name).sliced(begin, digits).toUShort(&valid, 16)
                                  : ushort(0);
        if (valid) {
            decoded.back() = QChar(code);
            at = begin + digits - 1;
        }
    }
    return decoded;
}

// Decodes a value with its quotes and escapes.
class ValueDecoder
{
public:
    explicit ValueDecoder(QByteArrayView bytes) : m_bytes(bytes) {}

    // Returns nothing for a list.
    std::optional<QString> text()
    {
        skipBlanks();
        bool inQuotes = false;
        while (m_at < m_bytes.size()) {
            const char byte = m_bytes[m_at];
            if (byte == ',' && !inQuotes)
                return std::nullopt;
            if (byte == '\\') {
                ++m_at;
                addEscaped();
            } else if (byte == '"') {
                ++m_at;
                m_quoted = true;
                inQuotes = !inQuotes;
                if (!inQuotes)
                    skipBlanks();
            } else {
                addPlain();
            }
        }
        if (!m_quoted)
            chopBlanks();
        return m_text;
    }

private:
    void skipBlanks()
    {
        while (m_at < m_bytes.size() && (m_bytes[m_at] == ' ' || m_bytes[m_at] == '\t'))
            ++m_at;
        m_kept = m_text.size();
    }

    // Blanks at the end count only if they are quoted or escaped.
    void chopBlanks()
    {
        while (m_text.size() > m_kept && (m_text.back() == u' ' || m_text.back() == u'\t'))
            m_text.chop(1);
    }

    void addPlain()
    {
        const qsizetype begin = m_at++;
        while (m_at < m_bytes.size() && !std::strchr("\\\",", m_bytes[m_at] ? m_bytes[m_at] : 'x'))
            ++m_at;
        m_text += m_decoder(m_bytes.sliced(begin, m_at - begin));
    }

    // Adds the character of an escape, after its backslash.
    void addEscaped()
    {
        static constexpr char kLetters[] = "abfnrtv\"?'\\";
        static constexpr char16_t kCharacters[] = u"\a\b\f\n\r\t\v\"?'\\";
        m_kept = m_text.size();
        if (m_at == m_bytes.size())
            return;
        const char letter = m_bytes[m_at];
        const char *const found = letter ? std::strchr(kLetters, letter) : nullptr;
        if (found) {
            ++m_at;
            m_text += QChar(kCharacters[found - kLetters]);
        } else if (letter == 'x') {
            ++m_at;
            addNumber(16);
        } else if (letter >= '0' && letter <= '7') {
            addNumber(8);
        } else if (isLineBreak(letter)) {
            m_at += lineBreakSize(m_bytes, m_at);
        } else {
            ++m_at;
        }
        m_kept = m_text.size();
    }

    // Adds the character of a number, of which the last 16 bits count.
    void addNumber(unsigned base)
    {
        unsigned code = 0;
        const qsizetype begin = m_at;
        for (; m_at < m_bytes.size(); ++m_at) {
            const unsigned digit = digitOf(m_bytes[m_at]);
            if (digit >= base)
                break;
            code = (code * base + digit) & 0xffff;
        }
        if (m_at > begin)
            m_text += QChar(char16_t(code));
    }

    QByteArrayView m_bytes;
    qsizetype m_at = 0;
    QString m_text;
    qsizetype m_kept = 0; // the length that is not chopped
    bool m_quoted = false;
    QStringDecoder m_decoder{QStringDecoder::Utf8};
};

// Returns the text of a value that may be written as one of QSettings' types.
QString textOf(const QString &value)
{
    const auto inside = [&](QLatin1String type) {
        return value.startsWith(type) && value.endsWith(u')');
    };
    if (inside(QLatin1String("@String(")))
        return value.mid(8).chopped(1);
    if (inside(QLatin1String("@ByteArray(")))
        return QString::fromUtf8(value.mid(11).chopped(1).toLatin1());
    for (const char *type : {"@Variant(", "@DateTime(", "@Rect(", "@Size(", "@Point("}) {
        if (inside(QLatin1String(type)))
            return QString();
    }
    if (value == QLatin1String("@Invalid()"))
        return QString();
    return value.startsWith(QLatin1String("@@")) ? value.mid(1) : value;
}

// Returns the name of a section, with a slash at its end, from its line. The general section has
// no name.
QString sectionName(QByteArrayView line)
{
    const qsizetype end = line.indexOf(']');
    const QByteArrayView name = line.sliced(1, (end < 0 ? line.size() : end) - 1).trimmed();
    const auto is = [&](const char *other) {
        return name.compare(other, Qt::CaseInsensitive) == 0;
    };
    if (is("general"))
        return QString();
    const QString decoded = is("%general") ? QString::fromLatin1(name.sliced(1))
                                           : decodedName(name);
    return decoded + u'/';
}

// Returns the bytes of the sections by name; those of the same name are joined.
QMap<QString, QByteArray> sectionsOf(QByteArrayView data)
{
    QMap<QString, QByteArray> sections;
    QString name;
    qsizetype begin = 0;
    const auto add = [&](qsizetype end) {
        QByteArray &section = sections[name];
        if (!section.isEmpty())
            section += '\n';
        section += data.sliced(begin, end - begin);
    };
    Lines lines(data);
    while (const auto line = lines.next()) {
        if (!line->text.startsWith('['))
            continue;
        add(line->begin);
        name = sectionName(line->text);
        begin = lines.position();
    }
    add(data.size());
    return sections;
}

} // namespace

IniFile::IniFile(const QString &path) : m_owner(geteuid())
{
    DataFile file(path);
    if (!file.open(DataFile::Access::Read))
        return;
    m_owner = file.owner();
    m_content = file.read().value_or(QByteArray());
}

QString IniFile::value(const QString &key) const
{
    return iniValue(m_content, key);
}

QString iniValue(const QByteArray &content, const QString &key)
{
    const QByteArrayView data(content);
    const auto sections = sectionsOf(content.startsWith("\xef\xbb\xbf") ? data.sliced(3) : data);
    // The section whose name is the greatest one that does not follow the key.
    auto section = sections.upperBound(key);
    if (section == sections.begin() || (--section).key().isEmpty()
        || !key.startsWith(section.key()))
        return QString();
    QString found;
    Lines lines(section.value());
    while (const auto line = lines.next()) {
        if (line->equals < 0
            || section.key() + decodedName(line->text.first(line->equals).trimmed()) != key)
            continue;
        const auto text = ValueDecoder(line->text.sliced(line->equals + 1)).text();
        found = text ? textOf(*text) : QString();
    }
    return found;
}

} // namespace kestrun
