// SPDX-License-Identifier: MIT
#include "Explanation.h"

#include "devsrv/DeviceService.h"
#include "shared/RegistrationState.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

#include <algorithm>
#include <optional>

namespace {

// What is said of an element. A reason of a rule has its own advice.
struct Verdict
{
    const char *state = "ok";
    QString reason = {};
};

// A device service fails in a fraction of a second if the card refuses, and in seconds if it does
// not answer.
constexpr qint64 kTimeOutMicroseconds = 2'000'000;

constexpr char kOk[] = "ok";
constexpr char kEmptyByRule[] = "empty-by-rule";
constexpr char kRefused[] = "refused";
constexpr char kTimedOut[] = "timed-out";
constexpr char kUnsupported[] = "unsupported";
constexpr char kFileMissing[] = "file-missing";
constexpr char kCut[] = "cut";

// The report and what led to it.
struct Evidence
{
    const ReportValues &values;
    const QList<TracedCall> &calls;
    const VersionFiles &files;

    // The calls of one function, in order.
    QList<const TracedCall *> callsOf(const QByteArray &function) const
    {
        QList<const TracedCall *> found;
        for (const TracedCall &call : calls) {
            if (call.function == function)
                found.append(&call);
        }
        return found;
    }

    // Returns the last call of a function, or null if it was not made.
    const TracedCall *lastCallOf(const QByteArray &function) const
    {
        const QList<const TracedCall *> found = callsOf(function);
        return found.isEmpty() ? nullptr : found.constLast();
    }

    // What the last call of a function wrote; nothing if it failed or was not made.
    QString written(const QByteArray &function, const char *field) const
    {
        const TracedCall *const call = lastCallOf(function);
        return call ? valueOf(call->values, QLatin1String(field)) : QString();
    }

    bool isLte() const
    {
        return valueOf(values, QStringLiteral("Client/Command/Network/AcT"))
            == QLatin1String("LTE");
    }
};

struct Element;
using Judge = Verdict(const Element &element, const QString &value, const Evidence &evidence);
Judge area;
Judge cell;
Judge dashboardVersion;
Judge volumeVersion;

// What makes an element of the report.
struct Element
{
    const char *path;
    const char *kind;
    const char *origin; // a function of DeviceService.h, for a call
    Judge *judge;
    qsizetype room = 0; // for the text in bytes, without the closing NUL; 0: it is never cut
};

// The function whose answer the plug-in uses, or what else the value comes from.
QString originOf(const Element &element, const Evidence &evidence)
{
    if (element.judge == dashboardVersion)
        return evidence.files.dashboard;
    if (element.judge == volumeVersion)
        return evidence.files.volume;
    if ((element.judge == area || element.judge == cell) && evidence.isLte())
        return QStringLiteral("ZEPA_NetSrv_GetPSRegState");
    return QLatin1String(element.origin);
}

Verdict failed(const TracedCall &call, const Evidence &evidence)
{
    // After a time-out a device service may fail the questions that follow at once.
    for (const TracedCall &earlier : evidence.calls) {
        if (earlier.result != 0 && earlier.microseconds >= kTimeOutMicroseconds)
            return {kTimedOut, QString::number(call.result)};
        if (&earlier == &call)
            break;
    }
    return {kRefused, QString::number(call.result)};
}

Verdict ok(const Element &, const QString &, const Evidence &)
{
    return {};
}

Verdict neverFilled(const Element &, const QString &, const Evidence &)
{
    return {kEmptyByRule, QStringLiteral("never-filled")};
}

// A text that one call writes. The plug-in uses the last of several calls.
Verdict text(const Element &element, const QString &value, const Evidence &evidence)
{
    const TracedCall *const call = evidence.lastCallOf(element.origin);
    if (!call)
        return {kRefused, QStringLiteral("not-asked")};
    if (call->result != 0)
        return failed(*call, evidence);
    if (element.room > 0 && value.size() >= element.room)
        return {kCut, QStringLiteral("buffer-full")};
    return value.isEmpty() ? Verdict{kUnsupported, QStringLiteral("no-value")} : Verdict{};
}

Verdict imei(const Element &element, const QString &value, const Evidence &evidence)
{
    const QString type = evidence.written("ZEPA_DevSrv_GetProductType", "Card/ProductType");
    if (value.isEmpty() && type == QString::number(ZEPA_PRODUCT_TYPE_CDMA))
        return {kEmptyByRule, QStringLiteral("cdma-has-no-imei")};
    return text(element, value, evidence);
}

Verdict cdmaText(const Element &element, const QString &value, const Evidence &evidence)
{
    Verdict verdict = text(element, value, evidence);
    const QString type = evidence.written("ZEPA_DevSrv_GetProductType", "Card/ProductType");
    const bool isOther = !type.isEmpty() && type != QString::number(ZEPA_PRODUCT_TYPE_CDMA);
    if (isOther && qstrcmp(verdict.state, kRefused) == 0)
        return {kUnsupported, QStringLiteral("not-a-cdma-card")};
    return verdict;
}

// A name that the plug-in has for a number.
Verdict named(const Element &element, const QString &value, const Evidence &evidence)
{
    Verdict verdict = text(element, value, evidence);
    if (qstrcmp(verdict.state, kUnsupported) == 0)
        return {kEmptyByRule, QStringLiteral("number-without-name")};
    return verdict;
}

Verdict smsTrigger(const Element &element, const QString &value, const Evidence &evidence)
{
    if (value == QLatin1String("255"))
        return {kUnsupported, QStringLiteral("command-not-supported")};
    // The callback is registered first; without it the command is not sent.
    for (const char *function : {"ZEPA_RegDataRevCallBack", element.origin}) {
        const TracedCall *const call = evidence.lastCallOf(function);
        if (!call || call->result == 0)
            continue;
        Verdict verdict = failed(*call, evidence);
        return qstrcmp(verdict.state, kRefused) == 0 ? Verdict{kRefused, QStringLiteral("not-sent")}
                                                     : verdict;
    }
    return value.isEmpty() ? Verdict{kUnsupported, QStringLiteral("no-value")} : Verdict{};
}

// What the plug-in did for one of a registration's texts.
struct RegistrationQuery
{
    const TracedCall *last = nullptr; // null: it was not asked
    bool stopped = false;             // since the reports of the location were on
};

// For each text the plug-in asks for the report mode, switches the reports of the location on, and
// asks again. For the cell of LTE it stops if they were on. The cell comes before the area.
RegistrationQuery queryFor(bool isCell, bool lte, const QList<const TracedCall *> &calls)
{
    RegistrationQuery query;
    qsizetype next = 0;
    for (const bool cell : {true, false}) {
        query = {};
        if (next >= calls.size())
            break;
        query.last = calls.at(next++);
        query.stopped = cell && lte
            && valueOf(query.last->values, QStringLiteral("PS/ReportMode")) == QLatin1String("2");
        if (query.last->result == 0 && !query.stopped)
            query.last = calls.value(next++, nullptr);
        if (cell == isCell)
            break;
    }
    return query;
}

Verdict registered(bool isCell, const Element &element, const QString &value,
                   const Evidence &evidence)
{
    const bool lte = evidence.isLte();
    const RegistrationQuery query = queryFor(
        isCell, lte, evidence.callsOf(originOf(element, evidence).toLatin1()));
    if (!query.last)
        return {kRefused, QStringLiteral("not-asked")};
    if (query.stopped)
        return {kEmptyByRule, QStringLiteral("location-reports-were-on")};
    if (query.last->result != 0)
        return failed(*query.last, evidence);
    if (!value.isEmpty())
        return {};
    const QString state = valueOf(query.last->values,
                                  lte ? QStringLiteral("PS/State") : QStringLiteral("CS/State"));
    return shared::isRegistered(state.toInt())
        ? Verdict{kUnsupported, QStringLiteral("no-value")}
        : Verdict{kEmptyByRule, QStringLiteral("not-registered")};
}

Verdict area(const Element &element, const QString &value, const Evidence &evidence)
{
    return registered(false, element, value, evidence);
}

Verdict cell(const Element &element, const QString &value, const Evidence &evidence)
{
    return registered(true, element, value, evidence);
}

Verdict fromFile(const QString &value, const QString &missing)
{
    if (!value.isEmpty())
        return {};
    return missing.isEmpty() ? Verdict{kEmptyByRule, QStringLiteral("no-version-in-file")}
                             : Verdict{kFileMissing, missing};
}

Verdict dashboardVersion(const Element &, const QString &value, const Evidence &evidence)
{
    return fromFile(value, evidence.files.dashboardMissing);
}

Verdict volumeVersion(const Element &, const QString &value, const Evidence &evidence)
{
    return fromFile(value, evidence.files.volumeMissing);
}

Verdict address(const Element &, const QString &value, const Evidence &)
{
    return value.isEmpty() ? Verdict{kEmptyByRule, QStringLiteral("no-reported-address")}
                           : Verdict{};
}

Verdict system(const Element &, const QString &value, const Evidence &)
{
    return value.isEmpty() ? Verdict{kEmptyByRule, QStringLiteral("unknown-system")} : Verdict{};
}

constexpr qsizetype kShortText = ZEPA_TEXT_SIZE - 1;
constexpr qsizetype kCdmaText = sizeof(EsnRecord::esn) - 1;
constexpr qsizetype kVersionText = sizeof(FirmwareVersionRecord::firmware) - 1;

constexpr char kCall[] = "call";
constexpr char kFile[] = "file";
constexpr char kSystem[] = "system";
constexpr char kPlugin[] = "plug-in";

constexpr Element kElements[] = {
    {"Client/Time", kPlugin, "", neverFilled},
    {"Client/IMEI", kCall, "ZEPA_DevSrv_GetImeiInfo", imei, kShortText},
    {"Client/SN", kCall, "ZEPA_DevSrv_GetSN", text, kShortText},
    {"Client/ESN", kCall, "ZEPA_DevSrv_GetESN", cdmaText, kCdmaText},
    {"Client/MEID", kCall, "ZEPA_DevSrv_GetESN", cdmaText, kCdmaText},
    {"Client/IMSI", kCall, "ZEPA_DevSrv_GetImsiInfo", text, kShortText},
    {"Client/Command/Trigger", kPlugin, "", neverFilled},
    {"Client/Command/Device/Model", kCall, "ZEPA_DevSrv_GetDeviceName", text, kShortText},
    {"Client/Command/Device/Classify", kPlugin, "", ok},
    {"Client/Command/Device/ProductFamily", kCall, "ZEPA_DevSrv_GetProductType", named},
    {"Client/Command/Device/DverPc", kFile, "", dashboardVersion},
    {"Client/Command/Device/DverCD", kFile, "", volumeVersion},
    {"Client/Command/Device/Fver", kCall, "ZEPA_DevSrv_GetFirmwareVersion", text, kVersionText},
    {"Client/Command/Device/Hver", kCall, "ZEPA_DevSrv_GetFirmwareVersion", text, kVersionText},
    {"Client/Command/Device/SmsTriggerState", kCall, "ZEPA_ExuceATCmd", smsTrigger},
    {"Client/Command/System/OS/PlatForm", kPlugin, "", ok},
    {"Client/Command/System/OS/Name", kSystem, "version of macOS", system},
    {"Client/Command/System/OS/Version", kSystem, "version of macOS", system},
    {"Client/Command/System/OS/Language", kPlugin, "", neverFilled},
    {"Client/Command/Network/AcT", kCall, "ZEPA_NetSrv_GetSysInfoEx", named},
    {"Client/Command/Network/PLMN", kCall, "ZEPA_NetSrv_GetCurPlmn", text},
    {"Client/Command/Network/Lac", kCall, "ZEPA_NetSrv_GetCSRegState", area},
    {"Client/Command/Network/CellID", kCall, "ZEPA_NetSrv_GetCSRegState", cell},
    {"Client/Command/Network/IPAddr", kSystem, "addresses of this computer", address},
};

struct Advice
{
    const char *code; // the reason, or else the state
    const char *text;
};

constexpr Advice kAdvice[] = {
    {"never-filled", "nothing to do: the plug-in always leaves this element empty"},
    {"cdma-has-no-imei", "nothing to do: a CDMA card is identified by its MEID and ESN"},
    {"not-a-cdma-card", "nothing to do: only CDMA cards have an ESN and a MEID"},
    {"number-without-name", "the card gave a number that has no name; report it with a record"},
    {"location-reports-were-on",
     "the plug-in leaves the cell out if location reports were on before; insert the card again"},
    {"not-registered", "the card is on no network; check antenna, coverage and subscription"},
    {"no-version-in-file", "the file names no version; install the dashboard again"},
    {"no-reported-address",
     "connect to a network; only the last address counts, and neither loopback nor IPv6"},
    {"unknown-system", "nothing to do: only versions of macOS are reported"},
    {"command-not-supported", "nothing to do: the card does not have the SMS trigger"},
    {"no-value", "nothing to do: the card answered, but has no such value"},
    {"not-sent", "the device service sends this card no AT commands; --log may show why"},
    {"not-asked", "the plug-in did not ask; --log shows why"},
    {"buffer-full", "the value fills its buffer, and its end may be missing"},
    {kRefused, "the card refused; try again when it is ready and registered"},
    {kTimedOut, "the card did not answer in time; insert it again, or see what else uses it"},
    {kFileMissing, "install the dashboard, or copy the file to its place"},
};

QString adviceOf(const Verdict &verdict, const Evidence &evidence)
{
    if (qstrcmp(verdict.state, kOk) == 0)
        return {};
    const auto isQuestion = [](const TracedCall &call) { return call.function.contains("Get"); };
    const bool refused = qstrcmp(verdict.state, kRefused) == 0;
    if (refused
        && std::none_of(evidence.calls.begin(), evidence.calls.end(), [&](const TracedCall &call) {
               return isQuestion(call) && call.result == 0;
           }))
        return QStringLiteral("no card answers; insert one, or choose another with --card");
    const QString lock = evidence.written("ZEPA_DevSrv_GetCardLockStatus", "Lock/State");
    if (refused && !lock.isEmpty() && lock != QLatin1String("0"))
        return QStringLiteral("the card is locked; enter the PIN in the dashboard");
    for (const QString &code : {verdict.reason, QString::fromLatin1(verdict.state)}) {
        for (const Advice &advice : kAdvice) {
            if (code == QLatin1String(advice.code))
                return QLatin1String(advice.text);
        }
    }
    return {};
}

Explanation explained(const QString &path, const QString &value, const Evidence &evidence)
{
    for (const Element &element : kElements) {
        if (path == QLatin1String(element.path)) {
            const Verdict verdict = element.judge(element, value, evidence);
            return {path,
                    value,
                    QLatin1String(element.kind),
                    originOf(element, evidence),
                    QLatin1String(verdict.state),
                    verdict.reason,
                    adviceOf(verdict, evidence)};
        }
    }
    // An element of a newer plug-in.
    return {path, value, QLatin1String(kPlugin), {}, QLatin1String(kOk), {}, {}};
}

QString missing(const QString &file)
{
    return QFileInfo::exists(file) ? QString() : file;
}

} // namespace

VersionFiles versionFiles(const QString &root)
{
    VersionFiles files;
    files.dashboard = QDir::current().absoluteFilePath(QStringLiteral("SysConfig.dat"));
    files.dashboardMissing = missing(files.dashboard);
    const QString leading[] = {
        root + QStringLiteral("/Library/StartupItems/VLPortDetect/config"),
        root
            + QStringLiteral(
                "/Applications/Brisklane.app/Contents/Resources/config/autorun/config_mac")};
    files.volume = leading[0];
    files.volumeMissing = missing(leading[0]);
    for (const QString &file : leading) {
        const QString volume = QSettings(file, QSettings::IniFormat)
                                   .value(QStringLiteral("Volumes/path1"))
                                   .toString();
        if (volume.isEmpty())
            continue;
        files.volume = volume
            + QStringLiteral("Contents/Resources/Brisklane.mpkg/Contents/Resources/SysConfig.dat");
        files.volumeMissing = missing(files.volume);
        break;
    }
    return files;
}

QList<Explanation> explain(const ReportValues &values, const QList<TracedCall> &calls,
                           const VersionFiles &files)
{
    const Evidence evidence{values, calls, files};
    QList<Explanation> rows;
    for (const auto &[path, value] : values)
        rows.append(explained(path, value, evidence));
    return rows;
}
