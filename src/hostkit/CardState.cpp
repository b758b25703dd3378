// SPDX-License-Identifier: MIT
#include "CardState.h"

#include <QElapsedTimer>

#include <algorithm>

namespace {

// The functions that fill one text of ZEPA_TEXT_SIZE bytes.
constexpr struct
{
    const char *function;
    const char *field;
} kTexts[] = {
    {"ZEPA_DevSrv_GetImeiInfo", "Identity/IMEI"},
    {"ZEPA_DevSrv_GetImsiInfo", "Identity/IMSI"},
    {"ZEPA_DevSrv_GetSN", "Identity/SN"},
    {"ZEPA_DevSrv_GetDeviceName", "Identity/Model"},
};

constexpr struct
{
    const char *function;
    const char *section;
} kRegistrations[] = {
    {"ZEPA_NetSrv_GetCSRegState", "CS"},
    {"ZEPA_NetSrv_GetPSRegState", "PS"},
};

// What our service returns for a card that is not inserted.
constexpr std::int32_t kNoCard = -1;

/// Asks the questions one after the other and collects the answers.
class Interview
{
public:
    explicit Interview(const DeviceServiceLibrary &library) : m_library(library) {}

    void askAll()
    {
        add("Card/Present", QStringLiteral("true"));
        askNumber("ZEPA_DevSrv_GetDevStatus", "Card/Status");
        askNumber("ZEPA_DevSrv_GetProductType", "Card/ProductType");
        for (const auto &[function, field] : kTexts) {
            char text[ZEPA_TEXT_SIZE] = {};
            if (call<std::int32_t(char *)>(function, text))
                addText(field, text);
        }
        askIdentityOfCdma();
        askVersions();
        askOwnNumber();
        askLock();
        for (const auto &[function, section] : kRegistrations)
            askRegistration(function, QLatin1String(section) + QLatin1Char('/'));
        askNetwork();
    }

    CardState state()
    {
        const bool present = std::any_of(m_state.calls.begin(), m_state.calls.end(),
                                         [](const CardCall &call) { return call.result == 0; });
        if (!present)
            m_state.fields = {{QStringLiteral("Card/Present"), QStringLiteral("false")}};
        for (const CardCall &call : m_state.calls) {
            if (call.result != 0 && (present || call.result != kNoCard))
                addNumber(QStringLiteral("Results/") + QLatin1String(call.function), call.result);
        }
        return m_state;
    }

private:
    // Returns whether the function succeeded.
    template <typename Function, typename... Arguments>
    bool call(const char *name, Arguments... arguments)
    {
        QElapsedTimer timer;
        timer.start();
        const std::int32_t result = m_library.call<Function>(name, arguments...);
        m_state.calls.append({name, result, timer.nsecsElapsed() / 1000});
        return result == 0;
    }

    void add(const QString &field, const QString &value) { m_state.fields.append({field, value}); }
    void add(const char *field, const QString &value) { add(QLatin1String(field), value); }
    void addNumber(const QString &field, std::int32_t number)
    {
        add(field, QString::number(number));
    }

    template <std::size_t Size>
    void addText(const QString &field, const char (&text)[Size])
    {
        add(field, QString::fromLatin1(text, static_cast<qsizetype>(qstrnlen(text, Size))));
    }
    template <std::size_t Size>
    void addText(const char *field, const char (&text)[Size])
    {
        addText(QString::fromLatin1(field), text);
    }

    void askNumber(const char *function, const char *field)
    {
        std::int32_t number = 0;
        if (call<std::int32_t(std::int32_t *)>(function, &number))
            addNumber(QLatin1String(field), number);
    }

    void askIdentityOfCdma()
    {
        EsnRecord record{};
        if (!call<decltype(ZEPA_DevSrv_GetESN)>("ZEPA_DevSrv_GetESN", &record))
            return;
        addText("Identity/ESN", record.esn);
        addText("Identity/MEID", record.meid);
    }

    void askVersions()
    {
        FirmwareVersionRecord record{};
        if (!call<decltype(ZEPA_DevSrv_GetFirmwareVersion)>("ZEPA_DevSrv_GetFirmwareVersion",
                                                            &record))
            return;
        addText("Versions/Firmware", record.firmware);
        addText("Versions/Hardware", record.hardware);
    }

    void askOwnNumber()
    {
        std::int32_t first = 0;
        std::int32_t index = 0;
        std::int32_t count = 0;
        std::int32_t fourth = 0;
        std::int32_t fifth = 0;
        if (!call<decltype(ZEPA_DevSrv_GetUserNumMemAbility)>(
                "ZEPA_DevSrv_GetUserNumMemAbility", &first, &index, &count, &fourth, &fifth))
            return;
        addNumber(QStringLiteral("Phonebook/Index"), index);
        addNumber(QStringLiteral("Phonebook/Count"), count);
        UserNumItem item{};
        if (count != 0
            && call<decltype(ZEPA_DevSrv_ReadUserNumItem)>("ZEPA_DevSrv_ReadUserNumItem", index,
                                                           &item))
            addText("Phonebook/Number", item.number);
    }

    void askLock()
    {
        std::uint8_t state = 0;
        std::uint8_t second = 0;
        std::int32_t third = 0;
        if (call<decltype(ZEPA_DevSrv_GetCardLockStatus)>("ZEPA_DevSrv_GetCardLockStatus", &state,
                                                          &second, &third))
            addNumber(QStringLiteral("Lock/State"), state);
    }

    void askRegistration(const char *function, const QString &section)
    {
        RegStateRecord record{};
        if (!call<std::int32_t(RegStateRecord *)>(function, &record))
            return;
        addNumber(section + QStringLiteral("ReportMode"), record.reportMode);
        addNumber(section + QStringLiteral("State"), record.state);
        addText(section + QStringLiteral("LAC"), record.lac);
        addText(section + QStringLiteral("CellID"), record.cellId);
    }

    void askNetwork()
    {
        std::int32_t selection = 0;
        char plmn[ZEPA_PLMN_SIZE] = {};
        if (call<decltype(ZEPA_NetSrv_GetCurPlmn)>("ZEPA_NetSrv_GetCurPlmn", &selection, plmn))
            addText("Network/PLMN", plmn);
        SysInfoRecord record{};
        if (!call<decltype(ZEPA_NetSrv_GetSysInfoEx)>("ZEPA_NetSrv_GetSysInfoEx", &record))
            return;
        addNumber(QStringLiteral("Network/SystemMode"), record.sysMode);
        addNumber(QStringLiteral("Network/SubMode"), record.subMode);
    }

    const DeviceServiceLibrary &m_library;
    CardState m_state;
};

// Returns a text in double quotes with C escapes.
QByteArray inQuotes(const QString &text)
{
    QByteArray quoted = "\"";
    bool afterNumber = false;
    for (const QChar character : text) {
        const char16_t code = character.unicode();
        // Reading takes all hexadecimal digits that follow "\x".
        const bool continuesNumber = afterNumber && code < 0x80 && isxdigit(code);
        afterNumber = code < u' ' || code > u'~' || continuesNumber;
        if (afterNumber)
            quoted += "\\x" + QByteArray::number(code, 16);
        else if (code == u'"' || code == u'\\')
            quoted += QByteArray("\\") + static_cast<char>(code);
        else
            quoted += static_cast<char>(code);
    }
    return quoted + '"';
}

} // namespace

CardState askCard(const DeviceServiceLibrary &library)
{
    Interview interview(library);
    interview.askAll();
    return interview.state();
}

QByteArray cardFile(const CardFields &fields)
{
    QByteArray file;
    QString section;
    for (const auto &[field, value] : fields) {
        if (const QString next = field.section(QLatin1Char('/'), 0, 0); next != section) {
            file += (section.isEmpty() ? "[" : "\n[") + next.toLatin1() + "]\n";
            section = next;
        }
        const QString key = field.section(QLatin1Char('/'), 1);
        file += key.toUtf8().toPercentEncoding("^?+") + '=' + inQuotes(value) + '\n';
    }
    return file;
}
