// SPDX-License-Identifier: MIT
#pragma once

#include "DataCardInfo.h"
#include "HostPcInfo.h"
#include "NetworkInfo.h"

#include <QMutex>
#include <QObject>

#include <atomic>

#if defined(KESTRUN_BUILD)
#define KESTRUN_EXPORT Q_DECL_EXPORT
#else
#define KESTRUN_EXPORT Q_DECL_IMPORT
#endif

/// The one controller: turns device events and host messages into rewrites of the report and into
/// signals, and sends SMS.
///
/// The host calls GetInstance() and Destroy() on its own thread, GetInstance() before
/// RegisterWithDevice() and UnRegisterDevice() before Destroy(). Device events come on any thread;
/// signals are emitted there, with no lock held. Reports are written one at a time, under a lock.
class KESTRUN_EXPORT CCollectionDataLogic : public QObject
{
    Q_OBJECT

public:
    /// The controller, created by the first call and after Destroy(). Stays the library's.
    static CCollectionDataLogic *GetInstance();

    /// Deletes the controller. Does not withdraw what RegisterWithDevice() registered.
    static void Destroy();

    /// Registers OnDevEvents() with the device service. A failure is logged.
    void RegisterWithDevice();

    /// Withdraws it. No event comes in after this call, except one that it was called from.
    void UnRegisterDevice();

    /// What the device service calls. Returns 1 for an event that is acted on, else 0, also when
    /// there is no controller.
    static int OnDevEvents(int event, void *data);

    /// Messages 4096 and 2050 rewrite the report, all others do nothing. Always returns 0.
    int Notify(int message, unsigned int param1, unsigned int param2);

    /// Collects everything, writes "UpdateRule.dat" and brings the lock state in "Config.xml" up
    /// to date. Failures are logged. Blocks for as long as card, shell and disk take.
    ///
    /// A call from inside a run on the same thread (a device service may raise events in the
    /// middle of a query) returns at once; one more run then follows the one that is going on,
    /// and what is asked for during that one is done with.
    void WriteDataToFile();

    /// The directory of both files, ending in "/".
    void GetPath(std::wstring &path);

    /// Sends one message; both texts are Latin-1. Returns whether the device service took it.
    bool SendSMS(std::string number, std::string text);

    /// Switches delivery receipts. Returns whether the device service took the setting.
    bool SmsReportSetting(bool enable);

Q_SIGNALS:
    /// A usable card has come.
    void DeviceAvailable();

    /// The card has gone.
    void DeviceUnavailable();

private:
    CCollectionDataLogic();
    ~CCollectionDataLogic() override;

    void writeReportAndConfig();
    void writeReport();
    void updateConfig();

    static std::atomic<CCollectionDataLogic *> _Instance;

    std::map<std::string, std::string> m_data;
    CDataCardInfo m_dataCard;
    CHostPcInfo m_hostPc;
    CNetworkInfo m_network;
    QMutex m_mutex;
};
