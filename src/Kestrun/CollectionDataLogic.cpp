// SPDX-License-Identifier: MIT
#include "kestrun/CollectionDataLogic.h"

#include "ControllerState.h"
#include "ControllerUse.h"
#include "Log.h"
#include "ReportDocument.h"
#include "ReportFiles.h"
#include "StorageLocation.h"
#include "shared/Guard.h"

#include <QScopeGuard>

#include <condition_variable>
#include <cstdint>
#include <mutex>

using namespace kestrun;

namespace {

constexpr char kPath[] = "../../src/Kestrun/CollectionDataLogic";

constexpr int kNotifyRewrite = 0x1000;
constexpr int kNotifyRewriteOther = 0x802;

QString toQString(const std::string &latin1)
{
    return QString::fromLatin1(latin1.data(), static_cast<qsizetype>(latin1.size()));
}

// Whether this thread is writing a report, and whether another one was requested meanwhile.
struct ReportRun
{
    bool running = false;
    bool again = false;
};
thread_local ReportRun t_reportRun;

// Whether a report is being written. For all controllers: after Destroy(), the one before may still
// be writing the same files. Not a lock that is held meanwhile, since a thread that writes one
// report after the other would keep the waiting threads from ever getting it.
bool s_reportRunning = false;
std::mutex s_reportMutex;
std::condition_variable s_reportEnded;

} // namespace

std::atomic<CCollectionDataLogic *> CCollectionDataLogic::_Instance = nullptr;

CCollectionDataLogic::CCollectionDataLogic() : m_state(std::make_unique<ControllerState>()) {}

CCollectionDataLogic::~CCollectionDataLogic() = default;

CCollectionDataLogic *CCollectionDataLogic::GetInstance()
{
    return ControllerUse::instance();
}

void CCollectionDataLogic::Destroy()
{
    ControllerUse::destroyInstance();
}

void CCollectionDataLogic::RegisterWithDevice()
{
    const Source source{kPath, __func__};
    logLine(source, "%s: %s: %s: Entered");
    if (ZEPA_DevSrv_RegisterDevMgrCallback(OnDevEvents) != 0)
        qDebug("%s: %s: ZEPA_DevSrv_RegisterDevMgrCallback failed", kPath, __func__);
    if (ZEPA_DevSrv_RegisterDevInitEventCallback(OnDevEvents) != 0)
        qDebug("%s: %s: ZEPA_DevSrv_RegisterDevInitEventCallback failed", kPath, __func__);
    // Registered a second time on the same channel, although UnRegisterDevice() withdraws it once.
    // Whether registrations are counted depends on the device service; ours does not count them.
    logLine(source, "%s: %s: %s: Calling ZEPA_DevSrv_RegisterDevMgrCallback ()");
    const long result = ZEPA_DevSrv_RegisterDevMgrCallback(OnDevEvents);
    logLine(source, "%s: %s: %s: ZEPA_DevSrv_RegisterDevMgrCallback () returned %li", result);
    if (result != 0)
        warnLine(source, "%s: %s: %s: ZEPA_DevSrv_RegisterDevMgrCallback returned %li", result);
}

void CCollectionDataLogic::UnRegisterDevice()
{
    const Source source{kPath, __func__};
    logLine(source, "%s: %s: %s: Entered");
    logLine(source, "%s: %s: %s: Calling ZEPA_DevSrv_UnRegisterDevInitEventCallback()");
    if (ZEPA_DevSrv_UnRegisterDevInitEventCallback(OnDevEvents) != 0)
        logLine(source, "%s: %s: %s: ZEPA_DevSrv_UnRegisterDevInitEventCallback failed");
    logLine(source, "%s: %s: %s: Calling ZEPA_DevSrv_UnRegisterDevMgrCallback ()");
    if (ZEPA_DevSrv_UnRegisterDevMgrCallback(OnDevEvents) != 0)
        logLine(source, "%s: %s: %s: ZEPA_DevSrv_UnRegisterDevMgrCallback   failed");
    logLine(source, "%s: %s: %s: Exited");
}

namespace {

// Returns 1 if the event is one of those that the controller acts on, else 0.
int handleEvent(CCollectionDataLogic &controller, int event, const Source &source)
{
    switch (event) {
    case DEVSRV_EVENT_CARD_CHANGED:
    case DEVSRV_EVENT_SIM_CHANGED:
    case DEVSRV_EVENT_NETWORK_CHANGED:
        controller.WriteDataToFile();
        return 1;
    case ZEPA_EVENT_DEV_DEVICE_INIT_FINISH: {
        logLine(source, "%s: %s: %s: ZEPA_EVENT_DEV_DEVICE_INIT_FINISH ");
        std::int32_t status = 0;
        if (ZEPA_DevSrv_GetDevStatus(&status) == 0 && status == DEVSRV_STATUS_READY)
            Q_EMIT controller.DeviceAvailable();
        return 1;
    }
    case DEVSRV_EVENT_DEVICE_ENABLED:
        Q_EMIT controller.DeviceAvailable();
        return 1;
    case DEVSRV_EVENT_DEVICE_REMOVED:
    case DEVSRV_EVENT_DEVICE_LOST:
        Q_EMIT controller.DeviceUnavailable();
        return 1;
    default:
        return 0;
    }
}

} // namespace

int CCollectionDataLogic::OnDevEvents(int event, void *)
{
    const Source source{kPath, __func__};
    return shared::guarded("OnDevEvents", 0, [&] {
        logLine(source, "%s: %s: %s:  Entered");
        logLine(source, "%s: %s: %s:  Dev Evenet(%d)", event);
        const ControllerUse use;
        if (!use.controller()) {
            logLine(source, "%s: %s: %s: _Instance is NULL ");
            return 0;
        }
        const int handled = handleEvent(*use.controller(), event, source);
        logLine(source, "%s: %s: %s:  Exit");
        return handled;
    });
}

int CCollectionDataLogic::Notify(int message, unsigned int, unsigned int)
{
    if (message == kNotifyRewrite || message == kNotifyRewriteOther)
        WriteDataToFile();
    return 0;
}

void CCollectionDataLogic::WriteDataToFile()
{
    const ControllerUse use(this);
    if (t_reportRun.running) {
        t_reportRun.again = true;
        return;
    }
    const std::uint64_t request = ++m_state->requestedReports;
    // Another thread's report that began after this request serves it, too.
    const auto isServed = [&] { return m_state->writtenReports >= request; };
    std::unique_lock lock(s_reportMutex);
    s_reportEnded.wait(lock, [&] { return isServed() || !s_reportRunning; });
    if (isServed())
        return;
    s_reportRunning = true;
    lock.unlock();
    t_reportRun = {.running = true};
    const auto ended = qScopeGuard([&] {
        t_reportRun = {};
        lock.lock();
        s_reportRunning = false;
        s_reportEnded.notify_all();
    });
    m_state->runReport();
    // Only one more, however many were requested: a device service that raises an event in every
    // query would otherwise keep this thread busy forever.
    if (t_reportRun.again)
        m_state->runReport();
}

void ControllerState::runReport()
{
    const std::uint64_t covered = requestedReports;
    writeReportAndConfig();
    writtenReports = covered;
}

void ControllerState::writeReportAndConfig()
{
    followTimeZone();
    dataCard.SetData(data);
    network.SetData(data);
    hostPc.SetData(data);
    writeReportFile(reportDocument(data));
    updateConfigFile(toQString(data["Device_SimLock"]), kPath);
}

void CCollectionDataLogic::GetPath(std::wstring &path)
{
    path = currentDataDirectory().path.toStdWString();
}

bool CCollectionDataLogic::SendSMS(std::string number, std::string text)
{
    const ControllerUse use(this);
    const Source source{kPath, __func__};
    void *handle = nullptr;
    const QString numberText = toQString(number);
    const QString messageText = toQString(text);
    qDebug("%s: %s:Entered ", source.path, source.function);
    const long created = ZEPA_SMSSrv_CreateSMSRecord(&handle, numberText.utf16(),
                                                     messageText.utf16());
    // A warning even after success: the line reports the result code in either case.
    qWarning("The Error code returned by the ZEPA_SMSSrv_CreateSMSRecord = %ld", created);
    bool accepted = false;
    if (created == 0) {
        logLine(source, "%s: %s: %s: Calling ZEPA_SMSSrv_SendMsg ()");
        const long sent = ZEPA_SMSSrv_SendMsg(handle);
        logLine(source, "%s: %s: %s: ZEPA_SMSSrv_SendMsg () returned %li", sent);
        accepted = sent == 0;
    }
    // A failed call may also have created a record.
    if (handle)
        ZEPA_SMSSrv_ReleaseSMSRecord(&handle);
    return accepted;
}

bool CCollectionDataLogic::SmsReportSetting(bool enable)
{
    const ControllerUse use(this);
    const Source source{kPath, __func__};
    logLine(source, "%s : %s: %s:ZEPA_SMSSrv_SetSMSReceiptNotify() Calling: %d", int{enable});
    const long result = ZEPA_SMSSrv_SetSMSReceiptNotify(enable);
    logLine(source, "%s : %s: %s:ZEPA_SMSSrv_SetSMSReceiptNotify() return %li", result);
    return result == 0;
}
