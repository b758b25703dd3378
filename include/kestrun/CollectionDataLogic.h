// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <atomic>
#include <memory>
#include <string>

#if defined(KESTRUN_BUILD)
#define KESTRUN_EXPORT Q_DECL_EXPORT
#else
#define KESTRUN_EXPORT Q_DECL_IMPORT
#endif

namespace kestrun {
struct ControllerState;
}

/// The controller: rewrites the report and emits signals on device events and host messages, and
/// sends SMS. There is one in a process.
///
/// The library owns it. The host calls GetInstance() and Destroy() on its own thread, GetInstance()
/// before RegisterWithDevice() and UnRegisterDevice() before Destroy(). Device events arrive on any
/// thread; signals are emitted on that thread, with no lock held. A lock keeps two reports from
/// being written at the same time.
class KESTRUN_EXPORT CCollectionDataLogic : public QObject
{
    Q_OBJECT

public:
    /// Returns the controller. Creates it if there is none: on the first call, and on the first
    /// call after Destroy().
    static CCollectionDataLogic *GetInstance();

    /// Deletes the controller. Does not withdraw the registrations of RegisterWithDevice().
    static void Destroy();

    /// Registers OnDevEvents() with the device service. A failure is logged.
    void RegisterWithDevice();

    /// Withdraws the registrations. After this call no event arrives, except for a call of
    /// OnDevEvents() that is still running because UnRegisterDevice() was called from inside it.
    void UnRegisterDevice();

    /// The callback for the device service. `data` is not used. Returns 1 if the event was
    /// handled, and 0 if it is unknown or there is no controller.
    static int OnDevEvents(int event, void *data);

    /// Rewrites the report on the messages 4096 and 2050, and ignores all others. Always returns 0.
    int Notify(int message, unsigned int param1, unsigned int param2);

    /// Collects all values, writes "UpdateRule.dat" and updates the lock state in "Config.xml".
    /// Failures are logged. Blocks until card, shell and disk have answered.
    ///
    /// A device service may raise events in the middle of a query. A call on a thread that is
    /// already writing a report therefore returns at once, and one more report follows the current
    /// one. Calls during that second report do not start a third.
    void WriteDataToFile();

    /// Sets `path` to the directory of both files, which ends in "/".
    void GetPath(std::wstring &path);

    /// Sends one message. Both texts are Latin-1. Returns true if the device service accepted it.
    bool SendSMS(std::string number, std::string text);

    /// Switches delivery receipts on or off. Returns true if the device service accepted the
    /// setting.
    bool SmsReportSetting(bool enable);

Q_SIGNALS:
    /// A usable card is present.
    void DeviceAvailable();

    /// The card was removed, or no longer answers.
    void DeviceUnavailable();

private:
    CCollectionDataLogic();
    ~CCollectionDataLogic() override;

    static std::atomic<CCollectionDataLogic *> _Instance;

    const std::unique_ptr<kestrun::ControllerState> m_state;
};
