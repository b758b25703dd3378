// SPDX-License-Identifier: MIT
#include "CardRecord.h"

#include "shared/DeviceServiceFunctions.h"

#include <QElapsedTimer>
#include <QMutex>
#include <QStringList>

#include <algorithm>

namespace {

// Changes if an older kestrun would misread the file.
constexpr int kFormat = 1;

constexpr std::int32_t kReportLocation = 2;

constexpr char kTrigger[] = "^RSTRIGGER?";

constexpr struct
{
    const char *section;
    const char *setReport;
} kDomains[] = {
    {"CS", "ZEPA_NetSrv_SetCSRegReport"},
    {"PS", "ZEPA_NetSrv_SetPSRegReport"},
};

// The pieces of the present answer. The callback has no context.
QByteArrayList s_pieces;
QBasicMutex s_piecesMutex;

// Answers as the plug-in does: a device service may stop at 0.
int takePiece(void *data, int)
{
    const QByteArray piece(static_cast<const char *>(data));
    const QMutexLocker lock(&s_piecesMutex);
    s_pieces.append(piece);
    return piece.contains("ERROR") || piece.contains("COMMAND NOT SUPPORT") ? 0 : 1;
}

void set(CardFields &fields, const QString &name, const QString &value)
{
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&](const auto &field) { return field.first == name; });
    if (found == fields.end())
        fields.append({name, value});
    else
        found->second = value;
}

// Makes calls, and keeps their results and durations.
class Recorder
{
public:
    explicit Recorder(const DeviceServiceLibrary &library) : m_library(library) {}

    CardFields record(const RecordOptions &options)
    {
        const CardState before = askCard(m_library);
        askForReports(before.fields);
        CardState state = askCard(m_library);
        restoreReports(before.fields, state.fields);
        tryChannels();
        askCommands(QStringList{QLatin1String(kTrigger)} + options.commands);
        m_fields = state.fields + m_fields;
        for (const CardCall &call : std::as_const(m_calls)) {
            if (call.result != 0 && qstrcmp(call.function, "ZEPA_ExuceATCmd") != 0)
                setNumber("Results/", call.function, call.result);
        }
        m_calls += before.calls + state.calls;
        if (options.delays)
            addDelays();
        return m_fields;
    }

private:
    template <typename... Arguments>
    bool call(const char *name, Arguments... arguments)
    {
        QElapsedTimer timer;
        timer.start();
        const std::int32_t result = m_library.call<std::int32_t(Arguments...)>(name, arguments...);
        m_calls.append({name, result, timer.nsecsElapsed() / 1000});
        return result == 0;
    }

    void setNumber(const char *section, const char *name, qint64 number)
    {
        set(m_fields, QLatin1String(section) + QLatin1String(name), QString::number(number));
    }

    static QString reportMode(const char *section)
    {
        return QLatin1String(section) + QStringLiteral("/ReportMode");
    }

    // Some cards tell their location only while they report it.
    void askForReports(const CardFields &before)
    {
        for (const auto &[section, setReport] : kDomains) {
            const QString mode = valueOf(before, reportMode(section));
            if (!mode.isEmpty() && mode.toInt() != kReportLocation
                && call(setReport, kReportLocation))
                m_switched << setReport;
        }
    }

    // The record has the modes in which the card was found.
    void restoreReports(const CardFields &before, CardFields &fields)
    {
        for (const auto &[section, setReport] : kDomains) {
            const QString mode = valueOf(before, reportMode(section));
            const QString now = valueOf(fields, reportMode(section));
            if (mode == now) {
                if (!mode.isEmpty() && mode.toInt() != kReportLocation)
                    set(fields, QLatin1String(section) + QStringLiteral("/KeepsReportMode"),
                        QStringLiteral("true"));
                continue;
            }
            // Also if the card no longer tells its mode.
            if (m_switched.contains(setReport))
                m_library.call<decltype(ZEPA_NetSrv_SetCSRegReport)>(setReport, mode.toInt());
            if (!mode.isEmpty() && !now.isEmpty())
                set(fields, reportMode(section), mode);
        }
    }

    void tryChannels()
    {
        const ZEPA_DevEventCallback callback = [](int, void *) { return 0; };
        for (const auto &channel : shared::kEventChannels) {
            if (call(channel.registration, callback))
                call(channel.withdrawal, callback);
        }
    }

    void askCommands(const QStringList &commands)
    {
        const ZEPA_DataRevCallback callback = takePiece;
        const bool registered = call("ZEPA_RegDataRevCallBack", callback);
        for (const QString &command : commands)
            ask(command, registered);
        if (registered)
            call("ZEPA_UnRegDataRevCallBack", callback);
    }

    // Nothing is heard of an answer if no callback is registered.
    void ask(const QString &command, bool registered)
    {
        {
            const QMutexLocker lock(&s_piecesMutex);
            s_pieces.clear();
        }
        const QByteArray line = "AT" + command.toLatin1() + '\r';
        const bool sent = registered
            && call("ZEPA_ExuceATCmd", line.constData(), static_cast<std::int32_t>(line.size()));
        if (sent)
            call("ZEPA_EndExuceATCmd");
        const QMutexLocker lock(&s_piecesMutex);
        if (sent)
            set(m_fields, QStringLiteral("AT/") + command,
                QString::fromLatin1(s_pieces.join(kPieceEnd)));
        else
            set(m_fields, QStringLiteral("Refused/") + command, QStringLiteral("true"));
    }

    // The longest of each function: the first call may find an answer that is kept.
    void addDelays()
    {
        QList<std::pair<const char *, qint64>> longest;
        for (const CardCall &call : std::as_const(m_calls)) {
            const auto known = std::find_if(longest.begin(), longest.end(), [&](const auto &entry) {
                return qstrcmp(entry.first, call.function) == 0;
            });
            if (known == longest.end())
                longest.append({call.function, call.microseconds});
            else
                known->second = std::max(known->second, call.microseconds);
        }
        for (const auto &[function, microseconds] : longest) {
            if (microseconds >= 1000)
                setNumber("Delays/", function, microseconds / 1000);
        }
    }

    const DeviceServiceLibrary &m_library;
    CardFields m_fields;
    QList<CardCall> m_calls;
    QList<const char *> m_switched; // the functions that switched reports on
};

} // namespace

CardFields recordCard(const DeviceServiceLibrary &library, const RecordOptions &options)
{
    return Recorder(library).record(options);
}

QByteArray recordFile(const CardFields &fields)
{
    const CardFields first{{QStringLiteral("Record/Format"), QString::number(kFormat)}};
    const CardFields last{{QStringLiteral("End/Complete"), QStringLiteral("true")}};
    CardFields sorted = fields;
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto &left, const auto &right) {
        return left.first.section(QLatin1Char('/'), 0, 0)
            < right.first.section(QLatin1Char('/'), 0, 0);
    });
    return cardFile(first + sorted + last);
}
