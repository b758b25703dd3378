// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <atomic>
#include <memory>
#include <string>

/// Marks what the library exports.
#if defined(KESTRUN_BUILD)
#define KESTRUN_EXPORT Q_DECL_EXPORT
#else
#define KESTRUN_EXPORT Q_DECL_IMPORT
#endif

namespace kestrun {
class ControllerUse;
struct ControllerState;
} // namespace kestrun

/// The controller: rewrites the report and emits signals on device events and host messages, and
/// sends SMS. There is one in a process.
///
/// The library owns it. All functions are thread-safe. The host calls UnRegisterDevice() before
/// Destroy(), and does not use the pointer that GetInstance() returned after Destroy(). Device
/// events arrive on any thread; signals are emitted on that thread. A lock keeps two reports from
/// being written at the same time; a signal is emitted under that lock only if the device service
/// raises the event in the middle of a query, on the same thread.
class KESTRUN_EXPORT CCollectionDataLogic : public QObject
{
    Q_OBJECT

public:
    /// Returns the controller. Creates it if there is none: on the first call, and on the first
    /// call after Destroy().
    static CCollectionDataLogic *GetInstance();

    /// Deletes the controller, if there is one, after the calls that other threads have begun have
    /// returned. From inside such a call, for example from a slot of a signal, it returns at once,
    /// and the last of these calls deletes the controller. Events that arrive afterwards find no
    /// controller. Does not withdraw the registrations of RegisterWithDevice(). No slot may wait
    /// for the calling thread meanwhile, as one with Qt::BlockingQueuedConnection does.
    static void Destroy();

    /// Registers OnDevEvents() with the device service. A failure is logged.
    void RegisterWithDevice();

    /// Withdraws the registrations, after the events that are being handled. After this call no
    /// event arrives. If it is called from inside an event, for example from a slot, it waits for
    /// none, and the events that are being handled still come to their end. Otherwise no slot may
    /// wait for the calling thread meanwhile. A failure is logged: the registration then remains.
    void UnRegisterDevice();

    /// The callback for the device service. `data` is not used. Returns 1 if the event was
    /// handled, and 0 if it is unknown, there is no controller, or a slot threw an exception, which
    /// is logged. Throws nothing.
    static int OnDevEvents(int event, void *data);

    /// Rewrites the report on the messages 4096 and 2050, as WriteDataToFile() does, and ignores
    /// all others. Always returns 0.
    int Notify(int message, unsigned int param1, unsigned int param2);

    /// Collects all values, writes "UpdateRule.dat" and updates the lock state in "Config.xml".
    /// Failures are logged. Blocks until card, shell and disk have answered. When it returns, a
    /// report that began after the call is written; calls that wait at the same time share it.
    ///
    /// A device service may raise events in the middle of a query. A call on a thread that is
    /// already writing a report therefore returns at once, and one more report follows the current
    /// one. Calls during that second report do not start a third.
    void WriteDataToFile();

    /// Sets `path` to the directory of both files, which ends in "/".
    void GetPath(std::wstring &path);

    /// Sends one message. Both texts are Latin-1. Returns true if the device service accepted it.
    /// Blocks until it has answered, and does not wait for a report.
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
    friend class kestrun::ControllerUse;

    CCollectionDataLogic();
    ~CCollectionDataLogic() override;

    static std::atomic<CCollectionDataLogic *> _Instance;

    const std::unique_ptr<kestrun::ControllerState> m_state;
};
