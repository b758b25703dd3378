// SPDX-License-Identifier: MIT
#include "ServiceProbe.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QThread>

#include <algorithm>

namespace probe {

namespace {

QMutex s_mutex;
Events s_events;
QList<QByteArray> s_pieces;
QStringList s_warnings;
int s_answeredInCallback = 0;
bool s_eventInsideQuery = false;
thread_local bool t_inQuery = false;

template <typename Value, typename... Arguments>
std::optional<Value> ask(int32_t (*function)(Arguments...), Value &value, Arguments... arguments)
{
    t_inQuery = true;
    const int32_t result = function(arguments...);
    t_inQuery = false;
    return result == 0 ? std::optional(value) : std::nullopt;
}

int onEvent(int event, void *)
{
    const bool insideQuery = t_inQuery;
    const bool answered = number(ZEPA_DevSrv_GetDevStatus).has_value();
    const QMutexLocker lock(&s_mutex);
    s_eventInsideQuery |= insideQuery;
    s_answeredInCallback += answered ? 1 : 0;
    s_events.append(event);
    return 1;
}

int onData(void *data, int length)
{
    const QMutexLocker lock(&s_mutex);
    s_pieces.append(QByteArray(static_cast<const char *>(data), length));
    return 1;
}

void onMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    const QMutexLocker lock(&s_mutex);
    if (type == QtWarningMsg && text.startsWith(QLatin1String("modemmanager:")))
        s_warnings.append(text);
    else
        fprintf(stderr, "%s\n", qPrintable(text));
}

} // namespace

void listen()
{
    qInstallMessageHandler(onMessage);
    ZEPA_DevSrv_RegisterDevMgrCallback(onEvent);
    ZEPA_DevSrv_RegisterDevInitEventCallback(onEvent);
    forget();
    takeWarnings();
}

void stopListening()
{
    ZEPA_DevSrv_UnRegisterDevMgrCallback(onEvent);
    ZEPA_DevSrv_UnRegisterDevInitEventCallback(onEvent);
    qInstallMessageHandler(nullptr);
}

void forget()
{
    const QMutexLocker lock(&s_mutex);
    s_events.clear();
    s_answeredInCallback = 0;
    s_eventInsideQuery = false;
}

Events events()
{
    const QMutexLocker lock(&s_mutex);
    return s_events;
}

bool waitFor(const Events &wanted, int timeoutMs)
{
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < timeoutMs; QThread::msleep(10)) {
        const Events came = events();
        if (std::all_of(wanted.begin(), wanted.end(), [&](int e) { return came.contains(e); }))
            return true;
    }
    return false;
}

int answeredInCallback()
{
    const QMutexLocker lock(&s_mutex);
    return s_answeredInCallback;
}

bool eventInsideQuery()
{
    const QMutexLocker lock(&s_mutex);
    return s_eventInsideQuery;
}

std::optional<QList<QByteArray>> at(const QByteArray &command)
{
    s_pieces.clear();
    ZEPA_RegDataRevCallBack(onData);
    const bool sent = ZEPA_ExuceATCmd(command.data(), static_cast<int32_t>(command.size())) == 0
        && ZEPA_EndExuceATCmd() == 0;
    ZEPA_UnRegDataRevCallBack(onData);
    return sent ? std::optional(s_pieces) : std::nullopt;
}

bool sendSms(const QString &number, const QString &text)
{
    void *handle = nullptr;
    const bool sent = ZEPA_SMSSrv_CreateSMSRecord(&handle, number.utf16(), text.utf16()) == 0
        && ZEPA_SMSSrv_SendMsg(handle) == 0;
    ZEPA_SMSSrv_ReleaseSMSRecord(&handle);
    return sent;
}

QStringList takeWarnings()
{
    const QMutexLocker lock(&s_mutex);
    return std::exchange(s_warnings, {});
}

Text text(int32_t (*function)(char *))
{
    char buffer[ZEPA_TEXT_SIZE] = {};
    char *begin = buffer;
    return ask(function, begin, begin) ? Text(buffer) : std::nullopt;
}

std::optional<int> number(int32_t (*function)(int32_t *))
{
    int32_t value = 0;
    return ask(function, value, &value);
}

std::optional<int> lockState()
{
    uint8_t state = 0;
    uint8_t second = 0;
    int32_t third = 0;
    return ask(ZEPA_DevSrv_GetCardLockStatus, state, &state, &second, &third);
}

Text plmn()
{
    int32_t selection = 0;
    char buffer[ZEPA_PLMN_SIZE] = {};
    char *begin = buffer;
    return ask(ZEPA_NetSrv_GetCurPlmn, begin, &selection, begin) ? Text(buffer) : std::nullopt;
}

Text ownNumber()
{
    int32_t value[5] = {};
    UserNumItem item{};
    if (ZEPA_DevSrv_GetUserNumMemAbility(value, value + 1, value + 2, value + 3, value + 4) != 0
        || value[2] == 0 || ZEPA_DevSrv_ReadUserNumItem(value[1], &item) != 0)
        return std::nullopt;
    return item.number;
}

std::optional<FirmwareVersionRecord> versions()
{
    FirmwareVersionRecord record{};
    return ask(ZEPA_DevSrv_GetFirmwareVersion, record, &record);
}

std::optional<EsnRecord> cdma()
{
    EsnRecord record{};
    return ask(ZEPA_DevSrv_GetESN, record, &record);
}

std::optional<RegStateRecord> registration(int32_t (*function)(RegStateRecord *))
{
    RegStateRecord record{};
    return ask(function, record, &record);
}

std::optional<SysInfoRecord> systemInfo()
{
    SysInfoRecord record{};
    return ask(ZEPA_NetSrv_GetSysInfoEx, record, &record);
}

int answeredQueries()
{
    int count = 0;
    for (const auto function : {ZEPA_DevSrv_GetImeiInfo, ZEPA_DevSrv_GetImsiInfo, ZEPA_DevSrv_GetSN,
                                ZEPA_DevSrv_GetDeviceName})
        count += text(function).has_value();
    for (const auto function : {ZEPA_DevSrv_GetDevStatus, ZEPA_DevSrv_GetProductType})
        count += number(function).has_value();
    for (const auto function : {ZEPA_NetSrv_GetCSRegState, ZEPA_NetSrv_GetPSRegState})
        count += registration(function).has_value();
    return count + lockState().has_value() + plmn().has_value() + ownNumber().has_value()
        + versions().has_value() + cdma().has_value() + systemInfo().has_value();
}

} // namespace probe
