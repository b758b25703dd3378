// SPDX-License-Identifier: MIT
#include "Redactor.h"

#include "VisibleText.h"

#include <QCryptographicHash>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStringList>
#include <QSysInfo>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

using Kind = Redactor::Kind;

// The length of a piece by which an identity is known.
constexpr qsizetype kPiece = 5;

constexpr qsizetype kImei = 15;
constexpr qsizetype kTypeOfImei = 8;

// The last parts of the names of values.
constexpr struct
{
    const char *name;
    Kind kind;
} kNames[] = {
    {"IMEI", Kind::Imei}, {"IMSI", Kind::Imsi},      {"SN", Kind::Code},
    {"ESN", Kind::Code},  {"MEID", Kind::Code},      {"Number", Kind::Number},
    {"LAC", Kind::Code},  {"Lac", Kind::Code},       {"CellID", Kind::Code},
    {"PLMN", Kind::Plmn}, {"IPAddr", Kind::Address}, {"MSISDN", Kind::Number},
};

// Where a text names the value that it shows: in the plug-in's log and in the report. The first
// group is a name, or empty if the kind is given; the second is the value.
struct Context
{
    const char *expression;
    Kind kind;
};

constexpr Context kContexts[] = {
    {"=str(IMEI|IMSI|SN|ESN|MEID|MSISDN|Lac|CellID)(?:_FAILED)?=+([^=]+)$", Kind::Text},
    {"<(IMEI|IMSI|SN|ESN|MEID|Lac|CellID)>([^<]+)<", Kind::Text},
    {"()ZEPA_DevSrv_GetImeiInfo(?: returned)?: (.+?)(?:, -?\\d+:)?$", Kind::Imei},
    {"()ZEPA_DevSrv_GetImsiInfo\\((.+)\\)", Kind::Imsi},
    {"()ZEPA_DevSrv_Get(?:SN|ESN)\\((.+)\\)", Kind::Code},
    {"()ZEPA_NetSrv_(?:Get[CP]SRegState|SetPSRegReport)\\((..+)\\)", Kind::Code},
    {"() Response data: (.+)$", Kind::Answer},
    {"()^SMS (\"[^\n]*\") receipt=[01]$", Kind::Text},
};

bool isAsciiDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

// As QString::toUpper(), but of the same length.
QString folded(QString text)
{
    for (QChar &character : text)
        character = character.toUpper();
    return text;
}

bool isWord(QChar character)
{
    return character.isLetterOrNumber() || character == u'_';
}

int checkDigit(const QString &digits)
{
    int sum = 0;
    for (qsizetype index = 0; index < digits.size(); ++index) {
        const int digit = digits.at(index).digitValue() * (index % 2 == 0 ? 1 : 2);
        sum += digit / 10 + digit % 10;
    }
    return (10 - sum % 10) % 10;
}

bool isNumber(const QString &text)
{
    return std::all_of(text.begin(), text.end(), isAsciiDigit);
}

bool isImei(const QString &text)
{
    return text.size() == kImei && isNumber(text)
        && text.back().digitValue() == checkDigit(text.chopped(1));
}

// Gives what is made up for an IMEI the right check digit.
QString withCheckDigitOf(const QString &value, QString made)
{
    if (isImei(value))
        made.back() = QChar(u'0' + checkDigit(made.chopped(1)));
    return made;
}

// The length of both codes. In North America the MNC has three digits.
qsizetype mccAndMnc(const QString &imsi)
{
    return imsi.startsWith(u'3') ? 6 : 5;
}

// Whether both texts have a piece in common, behind the first `kept` characters of the first one.
bool shareDigits(const QString &value, const QString &made, qsizetype kept)
{
    for (qsizetype at = std::max<qsizetype>(0, kept - kPiece + 1); at + kPiece <= value.size();
         ++at) {
        if (made.contains(QStringView(value).mid(at, kPiece), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

// The value as the texts of the host may have it.
QStringList variants(const QString &value)
{
    const QByteArray json = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    QStringList all{value, value.toHtmlEscaped(), visible(value),
                    QString::fromUtf8(json.mid(2, json.size() - 4))};
    all.removeDuplicates();
    return all;
}

QByteArray randomKey()
{
    QByteArray key(32, '\0');
    QRandomGenerator::system()->generate(key.begin(), key.end());
    return key;
}

std::optional<Kind> kindOf(const QString &name)
{
    if (name.startsWith(QLatin1String("AT/")))
        return Kind::Answer;
    const QString last = name.section(QLatin1Char('/'), -1);
    for (const auto &[known, kind] : kNames) {
        if (last == QLatin1String(known))
            return kind;
    }
    return std::nullopt;
}

} // namespace

Redactor::Redactor(Extent extent) : m_extent(extent), m_key(randomKey())
{
    const QString words[] = {qEnvironmentVariable("USER"), qEnvironmentVariable("LOGNAME"),
                             QDir::home().dirName(), QSysInfo::machineHostName(),
                             QSysInfo::machineHostName().section(QLatin1Char('.'), 0, 0)};
    // These are on every computer.
    const QStringList common{QStringLiteral("root"), QStringLiteral("localhost")};
    for (const QString &word : words) {
        if (word.size() > 1 && !common.contains(word))
            learn(Kind::Text, word);
    }
}

void Redactor::learn(const QString &name, const QString &value)
{
    const auto kind = kindOf(name);
    if (kind && *kind != Kind::Answer)
        learn(*kind, value);
}

void Redactor::learn(const NamedValues &values)
{
    for (const auto &[name, value] : values)
        learn(name, value);
}

void Redactor::learn(Kind kind, const QString &value)
{
    // A shorter word would change texts that have nothing to do with it.
    constexpr qsizetype kShortest = 3;
    const QString made = madeUp(kind, value);
    if (value.trimmed().size() < kShortest || made == value)
        return;
    const QMutexLocker lock(&m_mutex);
    // What is made up is not replaced again.
    if (!m_words.contains(made))
        m_words.insert(made, made);
    for (const QString &variant : variants(value))
        m_words.insert(variant, made);
    if (kind != Kind::Text)
        index(value, made);
}

// Also indexes what is made up; a known identity has precedence.
void Redactor::index(const QString &value, const QString &made)
{
    for (const QString &text : {value, made}) {
        for (qsizetype offset = 0; offset + kPiece <= text.size(); ++offset) {
            const QString piece = folded(text.mid(offset, kPiece));
            // A piece with fewer digits may be a part of any word.
            if (std::count_if(piece.begin(), piece.end(), isAsciiDigit) < 3)
                continue;
            if (text == value || !m_pieces.contains(piece))
                m_pieces.insert(piece, {text, made, offset});
        }
    }
}

// The longest piece of a known value in a folded text.
Redactor::Match Redactor::pieceAt(const QString &text, qsizetype position) const
{
    const auto found = m_pieces.constFind(text.mid(position, kPiece));
    if (found == m_pieces.constEnd())
        return {};
    const QString value = folded(found->value);
    qsizetype length = kPiece;
    while (position + length < text.size() && found->offset + length < value.size()
           && text.at(position + length) == value.at(found->offset + length))
        ++length;
    return {length, found->made.mid(found->offset, length)};
}

// The longest of the known values that are there as a whole.
Redactor::Match Redactor::valueAt(const QString &text, qsizetype position) const
{
    Match match;
    for (auto value = m_words.begin(); value != m_words.end(); ++value) {
        const QString &known = value.key();
        const qsizetype end = position + known.size();
        const bool ends = end >= text.size() || !isWord(text.at(end)) || !isWord(known.back());
        if (known.size() > match.length && ends
            && QStringView(text).mid(position).startsWith(known))
            match = {known.size(), *value};
    }
    return match;
}

// A word of an answer. The card's own words are kept: names, small numbers, OK and ERROR.
Redactor::Match Redactor::answerWordAt(const QString &text, qsizetype position) const
{
    static const QStringList words{QStringLiteral("OK"),      QStringLiteral("ERROR"),
                                   QStringLiteral("COMMAND"), QStringLiteral("NOT"),
                                   QStringLiteral("SUPPORT"), QStringLiteral("CME"),
                                   QStringLiteral("CMS")};
    constexpr qsizetype kSmallNumber = 3;
    qsizetype end = position;
    while (end < text.size() && text.at(end).isLetterOrNumber())
        ++end;
    const QString word = text.mid(position, end - position);
    const bool isName = position > 0 && !word.isEmpty() && word.front().isLetter()
        && QStringLiteral("+^*%$#").contains(text.at(position - 1));
    const bool isSmall = word.size() <= kSmallNumber && isNumber(word);
    const bool isKept = isName || isSmall || words.contains(word);
    return {word.size(), isKept ? word : scrambled(word, 0)};
}

// Returns bytes that only this object can compute.
QByteArray Redactor::stream(const QString &value, int attempt) const
{
    QByteArray bytes;
    for (int block = 0; bytes.size() < value.size(); ++block) {
        bytes += QMessageAuthenticationCode::hash(
            QByteArray::number(attempt) + ' ' + QByteArray::number(block) + ' ' + value.toUtf8(),
            m_key, QCryptographicHash::Sha256);
    }
    return bytes;
}

// Replaces each digit by a digit and each letter by a letter, behind the first `kept` characters.
QString Redactor::scrambled(const QString &value, qsizetype kept) const
{
    const bool isHexadecimal = std::all_of(value.begin(), value.end(), [](QChar character) {
        return isAsciiDigit(character)
            || (character.toUpper() >= u'A' && character.toUpper() <= u'F');
    });
    const unsigned letters = isHexadecimal ? 6 : 26;
    QString made;
    // A short number may have no other form, and in a long text five digits are the same by chance.
    constexpr qsizetype kLongText = 200;
    const int attempts = value.size() > kLongText ? 1 : 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const QByteArray bytes = stream(value, attempt);
        made = value;
        for (qsizetype at = kept; at < value.size(); ++at) {
            const unsigned random = static_cast<unsigned char>(bytes.at(at));
            const QChar character = value.at(at);
            if (character.isDigit())
                made[at] = QChar(u'0' + random % 10);
            else if (character.isLetter())
                made[at] = QChar((character.isUpper() ? u'A' : u'a') + random % letters);
        }
        if (made != value && !shareDigits(value, made, kept))
            break;
    }
    return made;
}

QString Redactor::madeUp(Kind kind, const QString &value) const
{
    const bool all = m_extent == Extent::All;
    if (value.isEmpty())
        return value;
    switch (kind) {
    case Kind::Imei: {
        const bool isLong = isNumber(value) && value.size() >= kImei - 1;
        return withCheckDigitOf(value, scrambled(value, !all && isLong ? kTypeOfImei : 0));
    }
    case Kind::Imsi:
        return scrambled(value, all ? 0 : mccAndMnc(value));
    case Kind::Plmn:
        return all ? scrambled(value, 0) : value;
    case Kind::Address: {
        const QStringList parts = value.split(QLatin1Char('.'));
        QStringList made{all ? QStringLiteral("198") : parts.constFirst()};
        const QByteArray bytes = stream(value, 0);
        for (qsizetype at = 1; at < parts.size(); ++at)
            made << QString::number(static_cast<unsigned char>(bytes.at(at)));
        return made.join(QLatin1Char('.'));
    }
    case Kind::Answer:
        return scanned(value, true);
    case Kind::Code:
    case Kind::Number:
    case Kind::Text:
        return scrambled(value, 0);
    }
    return {};
}

QString Redactor::redacted(const QString &name, const QString &value) const
{
    if (const auto kind = kindOf(name))
        return madeUp(*kind, value);
    bool isNumber = false;
    value.toInt(&isNumber);
    return isNumber ? value : redacted(value);
}

NamedValues Redactor::redacted(const NamedValues &values) const
{
    NamedValues made;
    for (const auto &[name, value] : values)
        made.append({redacted(name), redacted(name, value)});
    return made;
}

QString Redactor::redacted(const QString &text) const
{
    static const QList<std::pair<QRegularExpression, Kind>> contexts = [] {
        QList<std::pair<QRegularExpression, Kind>> list;
        for (const auto &[expression, kind] : kContexts) {
            list.append({QRegularExpression(QLatin1String(expression),
                                            QRegularExpression::MultilineOption
                                                | QRegularExpression::DotMatchesEverythingOption),
                         kind});
        }
        return list;
    }();
    // The first place of all contexts: what precedes it has none.
    QRegularExpressionMatch first;
    Kind kind = Kind::Text;
    for (const auto &[expression, kindOfContext] : contexts) {
        const auto match = expression.match(text);
        const bool precedes = !first.hasMatch() || match.capturedStart(2) < first.capturedStart(2);
        if (match.hasMatch() && precedes) {
            first = match;
            kind = match.capturedLength(1) > 0 ? *kindOf(match.captured(1)) : kindOfContext;
        }
    }
    if (!first.hasMatch())
        return scanned(text, false);
    const QString value = first.captured(2);
    QString made;
    {
        const QMutexLocker lock(&m_mutex);
        made = m_words.value(value);
    }
    return scanned(text.left(first.capturedStart(2)), false)
        + (made.isEmpty() ? madeUp(kind, value) : made) + redacted(text.mid(first.capturedEnd(2)));
}

// Replaces what is known, and what has the form of an identity.
QString Redactor::scanned(const QString &text, bool isAnswer) const
{
    const QMutexLocker lock(&m_mutex);
    const QString upper = folded(text);
    QString made;
    for (qsizetype at = 0; at < text.size();) {
        const QChar character = text.at(at);
        const bool begins = at == 0 || !isWord(text.at(at - 1)) || !isWord(character);
        const bool beginsNumber = begins
            || (isAsciiDigit(character) && !isAsciiDigit(text.at(at - 1)));
        Match match = begins ? valueAt(text, at) : Match{};
        if (match.length == 0)
            match = pieceAt(upper, at);
        if (match.length == 0 && beginsNumber && !character.isSpace())
            match = formAt(text, at);
        if (match.length == 0 && isAnswer)
            match = answerWordAt(text, at);
        if (match.length == 0)
            match = {1, character};
        made += match.made;
        at += match.length;
    }
    return made;
}

// What has the form of an identity.
Redactor::Match Redactor::formAt(const QString &text, qsizetype position) const
{
    struct Form
    {
        QRegularExpression expression;
        Kind kind;
    };
    static const auto compiled = [](const char *expression, Kind kind) {
        return Form{QRegularExpression(QLatin1String(expression)), kind};
    };
    // The last group is replaced.
    static const Form forms[] = {
        compiled("(?<=/home/|/Users/|/media/|/by-id/)([^/\\s\"]+)", Kind::Text),
        compiled("(?<![\\d.])((?!127\\.0\\.0\\.1\\b)(?:(?:25[0-5]|2[0-4]\\d|1?\\d?\\d)\\.){3}"
                 "(?:25[0-5]|2[0-4]\\d|1?\\d?\\d))(?![\\d.])",
                 Kind::Address),
        compiled("(?<![\\w:])((?:[0-9A-Fa-f]{1,4}:){7}[0-9A-Fa-f]{1,4}"
                 "|(?:[0-9A-Fa-f]{1,4}:)+(?::[0-9A-Fa-f]{1,4})+)(?![\\w:])",
                 Kind::Code),
        compiled("(\\+\\d[\\d .()-]{5,}\\d)", Kind::Number),
        compiled("(?<!\\d)(\\d{7,})", Kind::Number),
        compiled("(?<!\\w)((?=(?:[A-Fa-f]*\\d){4})[0-9A-Fa-f]{8,})(?!\\w)", Kind::Code),
    };
    for (const Form &candidate : forms) {
        const auto match = candidate.expression.match(
            text, position, QRegularExpression::NormalMatch,
            QRegularExpression::AnchorAtOffsetMatchOption);
        if (!match.hasMatch())
            continue;
        const QString value = match.captured(1);
        // Of an unknown number nothing is kept: the check digit of an IMSI may be right by chance.
        return {value.size(), withCheckDigitOf(value, madeUp(candidate.kind, value))};
    }
    return {};
}
