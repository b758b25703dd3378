// SPDX-License-Identifier: MIT
#include "CardDescription.h"

#include "shared/DeviceServiceFunctions.h"

#include <QFileInfo>
#include <QSettings>
#include <QStringList>

#include <algorithm>
#include <limits>

namespace devsrv {

namespace {

constexpr std::int32_t kMinimum = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMaximum = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMaximumDelayMs = 3'600'000;

// The longest text that leaves room for the closing NUL in its buffer.
constexpr std::int32_t longestIn(std::size_t size)
{
    return static_cast<std::int32_t>(size) - 1;
}
constexpr std::int32_t kShortText = longestIn(ZEPA_TEXT_SIZE);
constexpr std::int32_t kEsn = longestIn(sizeof(EsnRecord::esn));
constexpr std::int32_t kVersion = longestIn(sizeof(FirmwareVersionRecord::firmware));
constexpr std::int32_t kNumber = longestIn(sizeof(UserNumItem::number));
constexpr std::int32_t kLac = longestIn(sizeof(RegStateRecord::lac));
constexpr std::int32_t kCellId = longestIn(sizeof(RegStateRecord::cellId));
constexpr std::int32_t kPlmn = longestIn(ZEPA_PLMN_SIZE);

constexpr std::int32_t kCard = DEVSRV_EVENT_CARD_CHANGED;
constexpr std::int32_t kSim = DEVSRV_EVENT_SIM_CHANGED;
constexpr std::int32_t kNet = DEVSRV_EVENT_NETWORK_CHANGED;

using Card = CardDescription;
using Ref = CardField::Reference;

constexpr CardField kFields[] = {
    {"Card/Present", 0, 1, kCard, [](Card &c) -> Ref { return &c.present; }},
    {"Card/Status", kMinimum, kMaximum, kCard, [](Card &c) -> Ref { return &c.status; }},
    {"Card/ProductType", kMinimum, kMaximum, kCard, [](Card &c) -> Ref { return &c.productType; }},
    {"Identity/IMEI", 0, kShortText, kCard, [](Card &c) -> Ref { return &c.imei; }},
    {"Identity/IMSI", 0, kShortText, kSim, [](Card &c) -> Ref { return &c.imsi; }},
    {"Identity/SN", 0, kShortText, kCard, [](Card &c) -> Ref { return &c.serialNumber; }},
    {"Identity/Model", 0, kShortText, kCard, [](Card &c) -> Ref { return &c.model; }},
    {"Identity/ESN", 0, kEsn, kCard, [](Card &c) -> Ref { return &c.cdma.esn; }},
    {"Identity/MEID", 0, kEsn, kCard, [](Card &c) -> Ref { return &c.cdma.meid; }},
    {"Versions/Firmware", 0, kVersion, kCard, [](Card &c) -> Ref { return &c.versions.firmware; }},
    {"Versions/Hardware", 0, kVersion, kCard, [](Card &c) -> Ref { return &c.versions.hardware; }},
    {"Phonebook/Index", kMinimum, kMaximum, kSim,
     [](Card &c) -> Ref { return &c.numberMemory.index; }},
    {"Phonebook/Count", kMinimum, kMaximum, kSim,
     [](Card &c) -> Ref { return &c.numberMemory.count; }},
    {"Phonebook/Number", 0, kNumber, kSim, [](Card &c) -> Ref { return &c.ownNumber; }},
    {"Lock/State", 0, 255, kSim, [](Card &c) -> Ref { return &c.lockState; }},
    {"CS/ReportMode", kMinimum, kMaximum, kNet,
     [](Card &c) -> Ref { return &c.circuitSwitched.reportMode; }},
    {"CS/KeepsReportMode", 0, 1, kNet, [](Card &c) -> Ref { return &c.circuitSwitchedKeepsMode; }},
    {"CS/State", kMinimum, kMaximum, kNet, [](Card &c) -> Ref { return &c.circuitSwitched.state; }},
    {"CS/LAC", 0, kLac, kNet, [](Card &c) -> Ref { return &c.circuitSwitched.lac; }},
    {"CS/CellID", 0, kCellId, kNet, [](Card &c) -> Ref { return &c.circuitSwitched.cellId; }},
    {"PS/ReportMode", kMinimum, kMaximum, kNet,
     [](Card &c) -> Ref { return &c.packetSwitched.reportMode; }},
    {"PS/KeepsReportMode", 0, 1, kNet, [](Card &c) -> Ref { return &c.packetSwitchedKeepsMode; }},
    {"PS/State", kMinimum, kMaximum, kNet, [](Card &c) -> Ref { return &c.packetSwitched.state; }},
    {"PS/LAC", 0, kLac, kNet, [](Card &c) -> Ref { return &c.packetSwitched.lac; }},
    {"PS/CellID", 0, kCellId, kNet, [](Card &c) -> Ref { return &c.packetSwitched.cellId; }},
    {"Network/PLMN", 0, kPlmn, kNet, [](Card &c) -> Ref { return &c.plmn; }},
    {"Network/SystemMode", kMinimum, kMaximum, kNet,
     [](Card &c) -> Ref { return &c.systemInfo.mode; }},
    {"Network/SubMode", kMinimum, kMaximum, kNet,
     [](Card &c) -> Ref { return &c.systemInfo.subMode; }},
};

constexpr ShippedCard kShippedCards[] = {
    {"lte", "LTE card, registered, one own number, SIM not locked"},
    {"hspa", "HSPA+ card of the WCDMA family, registered on a UMTS cell"},
    {"cdma", "CDMA 1x/EV-DO card with ESN and MEID"},
    {"td-scdma", "TD-SCDMA card"},
    {"locked", "LTE card whose SIM is locked: no IMSI, no network"},
    {"none", "no card is inserted"},
};

QString toNumber(const QString &value, std::int32_t minimum, std::int32_t maximum,
                 std::int32_t &number)
{
    bool ok = false;
    const qlonglong read = value.trimmed().toLongLong(&ok);
    if (!ok || read < minimum || read > maximum) {
        return QStringLiteral("\"%1\" is not a whole number from %2 to %3")
            .arg(value)
            .arg(minimum)
            .arg(maximum);
    }
    number = static_cast<std::int32_t>(read);
    return {};
}

// Whether a card file was written by hand, or is a record. Only in a record can a text have control
// characters, or be as long as its buffer: by hand, both are mistakes.
enum class Writer { Hand, Record };

QString toText(const QString &value, std::int32_t maximum, std::string &text, bool lines = false)
{
    const QByteArray bytes = value.toLatin1();
    if (QString::fromLatin1(bytes) != value)
        return QStringLiteral("\"%1\" has characters outside Latin-1").arg(value);
    const auto refused = [=](char byte) {
        return byte == '\0' || (!lines && byte > '\0' && byte < ' ');
    };
    if (std::any_of(bytes.begin(), bytes.end(), refused)) {
        return QStringLiteral("the value has a line end or another control character; is a quote "
                              "left open?");
    }
    if (bytes.size() > maximum) {
        return QStringLiteral("\"%1\" has %2 characters, at most %3 fit")
            .arg(value)
            .arg(bytes.size())
            .arg(maximum);
    }
    text = bytes.toStdString();
    return {};
}

QString toFlag(const QString &value, bool &flag)
{
    const QString word = value.trimmed().toLower();
    flag = word == QLatin1String("true");
    if (flag || word == QLatin1String("false"))
        return {};
    return QStringLiteral("\"%1\" is neither true nor false").arg(value);
}

// Sets a key of one of the sections that have no fields.
QString setFree(CardDescription &card, const QString &section, const QString &name,
                const QString &value)
{
    if (section == QLatin1String("AT"))
        return toText(value, kMaximum, card.atAnswers[name.toStdString()], true);
    if (section == QLatin1String("Refused"))
        return toFlag(value, card.refused[name.toStdString()]);
    const std::string function = name.toStdString();
    if (!shared::isDeviceServiceFunction(function))
        return QStringLiteral("the device service has no function of that name");
    if (section == QLatin1String("Results"))
        return toNumber(value, kMinimum, kMaximum, card.results[function]);
    return toNumber(value, 0, kMaximumDelayMs, card.delaysMs[function]);
}

QString setByKey(CardDescription &card, const QString &key, const QVariant &value, Writer writer)
{
    if (value.metaType() == QMetaType::fromType<QStringList>())
        return QStringLiteral("the value has a comma; put it in double quotes");
    const QString section = key.section(QLatin1Char('/'), 0, 0);
    static const QStringList freeSections{QStringLiteral("AT"), QStringLiteral("Refused"),
                                          QStringLiteral("Results"), QStringLiteral("Delays")};
    if (freeSections.contains(section))
        return setFree(card, section, key.section(QLatin1Char('/'), 1), value.toString());
    for (const CardField &field : kFields) {
        if (key != QLatin1String(field.key))
            continue;
        const CardField::Reference reference = field.in(card);
        if (auto *const *text = std::get_if<std::string *>(&reference);
            text && writer == Writer::Record)
            return toText(value.toString(), field.maximum + 1, **text, true);
        return setField(card, field, value.toString());
    }
    return QStringLiteral("there is no such field; \"kestrun cards --fields\" lists them");
}

// The sections with which a record begins and ends.
constexpr char kFormatKey[] = "Record/Format";
constexpr char kCompleteKey[] = "End/Complete";
constexpr int kFormat = 1;

QString whyNotComplete(const QSettings &record)
{
    const QString format = record.value(QLatin1String(kFormatKey)).toString();
    bool known = false;
    if (format.toInt(&known) > kFormat) {
        return QStringLiteral("it is a record of format %1, and format %2 is the latest that is "
                              "known here; use a newer kestrun")
            .arg(format)
            .arg(kFormat);
    }
    if (!known || record.value(QLatin1String(kCompleteKey)).toString() != QLatin1String("true"))
        return QStringLiteral("it is a record whose end is missing; record the card again");
    return {};
}

QString whyUnreadable(const QString &file)
{
    const QFileInfo info(file);
    if (!info.exists()) {
        QStringList names;
        for (const ShippedCard &card : kShippedCards)
            names << QLatin1String(card.name);
        return QStringLiteral("there is neither a shipped card nor a file of that name; the "
                              "shipped cards are %1")
            .arg(names.join(QStringLiteral(", ")));
    }
    if (!info.isFile())
        return QStringLiteral("it is not a file; name a card file");
    if (!info.isReadable())
        return QStringLiteral("there is no right to read it; grant it, or copy the file");
    return {};
}

QString resourceOf(const QString &nameOrFile)
{
    for (const ShippedCard &card : kShippedCards) {
        if (nameOrFile == QLatin1String(card.name))
            return QStringLiteral(":/cards/%1.ini").arg(nameOrFile);
    }
    return {};
}

} // namespace

std::span<const CardField> cardFields()
{
    return kFields;
}

std::span<const ShippedCard> shippedCards()
{
    return kShippedCards;
}

QString setField(CardDescription &card, const CardField &field, const QString &value)
{
    const CardField::Reference reference = field.in(card);
    if (auto *const *text = std::get_if<std::string *>(&reference))
        return toText(value, field.maximum, **text);
    if (auto *const *number = std::get_if<std::int32_t *>(&reference))
        return toNumber(value, field.minimum, field.maximum, **number);
    return toFlag(value, **std::get_if<bool *>(&reference));
}

const CardField *findField(const QString &key)
{
    const CardField *found = nullptr;
    for (const CardField &field : kFields) {
        const QString fieldKey = QLatin1String(field.key);
        if (fieldKey == key)
            return &field;
        if (fieldKey.section(QLatin1Char('/'), 1) == key) {
            if (found)
                return nullptr;
            found = &field;
        }
    }
    return found;
}

std::optional<CardDescription> readCard(const QString &nameOrFile, QString &error)
{
    const QString resource = resourceOf(nameOrFile);
    const QString file = resource.isEmpty() ? nameOrFile : resource;
    const auto fail = [&](const QString &what) {
        error = QStringLiteral("card \"%1\": %2").arg(nameOrFile, what);
        return std::nullopt;
    };
    if (const QString why = whyUnreadable(file); !why.isEmpty())
        return fail(why);

    const QSettings settings(file, QSettings::IniFormat);
    QStringList keys = settings.allKeys();
    const bool isRecord = keys.contains(QLatin1String(kFormatKey));
    if (const QString why = isRecord ? whyNotComplete(settings) : QString(); !why.isEmpty())
        return fail(why);
    if (settings.status() != QSettings::NoError)
        return fail(QStringLiteral("it is not an INI file (lines \"[Section]\" and "
                                   "\"Name=value\"); see the shipped cards for examples"));
    if (keys.isEmpty())
        return fail(QStringLiteral("it describes nothing; see the shipped cards for examples"));

    if (isRecord) {
        keys.removeOne(QLatin1String(kFormatKey));
        keys.removeOne(QLatin1String(kCompleteKey));
    }
    CardDescription card;
    card.name = nameOrFile.toStdString();
    const Writer writer = isRecord ? Writer::Record : Writer::Hand;
    for (const QString &key : std::as_const(keys)) {
        const QString wrong = setByKey(card, key, settings.value(key), writer);
        if (!wrong.isEmpty())
            return fail(QStringLiteral("field \"%1\": %2").arg(key, wrong));
    }
    return card;
}

} // namespace devsrv
