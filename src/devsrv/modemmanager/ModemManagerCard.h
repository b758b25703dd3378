// SPDX-License-Identifier: MIT
#pragma once

#include "CardBackend.h"
#include "ModemManagerClient.h"
#include "ModemManagerMirror.h"
#include "SnapshotPin.h"

#include <QtCore/QThread>

#include <memory>

namespace devsrv {

/// A modem of the ModemManager daemon, over D-Bus.
///
/// Thread-safe. Queries are answered from a mirror of the modem; only a message, an AT command, and
/// the location where the daemon does not signal it, are calls to the daemon. The queries of one
/// report get one snapshot of the mirror (see SnapshotPin), except for status(), which gets the
/// latest; the listener of an event gets a snapshot that has the change. Owns a
/// connection to the system bus and the thread on which the mirror lives and events are raised. The
/// destructor waits for that thread and must not run on it.
class ModemManagerCard : public CardBackend
{
public:
    static constexpr std::chrono::duration<int> kCommandTime{10};

    struct Settings
    {
        ModemManagerMirror::Settings mirror;
        std::chrono::seconds commandTime{kCommandTime}; ///< how long an AT command may take
        milliseconds sendTime{kSendTimeout};            ///< the same for a message
    };

    /// Blocks until the modem is ready for queries: at most 5 s if it is switched on already or the
    /// bus or the daemon do not answer, otherwise at most 30 s.
    ModemManagerCard(const Settings &settings, EventSink raise);
    ~ModemManagerCard() override;

    /// The reason why the backend cannot be used; empty if it can.
    const QString &startError() const { return m_startError; }

    void begin() override;
    std::string description() override;
    std::optional<std::int32_t> status() override;
    std::optional<std::string> imei() override;
    std::optional<std::string> imsi() override;
    std::optional<std::string> serialNumber() override;
    std::optional<std::string> model() override;
    std::optional<CdmaIdentity> cdmaIdentity() override;
    std::optional<Versions> versions() override;
    std::optional<std::int32_t> productType() override;
    std::optional<NumberMemory> numberMemory() override;
    std::optional<std::string> ownNumber(std::int32_t index) override;
    std::optional<std::uint8_t> lockState() override;
    std::optional<Registration> registration(Domain domain) override;
    bool setReportMode(Domain domain, std::int32_t mode) override;
    std::optional<std::string> plmn() override;
    std::optional<SystemInfo> systemInfo() override;

    /// Takes at most the time of the settings and, where the daemon does not answer, 6 s more.
    bool sendSms(const SmsMessage &message) override;

    /// Takes at most the time of the settings and, where the daemon itself does not answer, 5 s
    /// more.
    bool execute(const std::string &command, const AnswerSink &answer) override;

private:
    // The present location of a modem that does not signal it, asked for once a second at most.
    struct AskedLocation
    {
        SnapshotPin::Snapshot snapshot;
        SnapshotPin::Clock::time_point time;
        QString text;
    };

    SnapshotPin &pin();
    SnapshotPin::Snapshot snapshot(const char *query);
    template <typename Value>
    std::optional<Value> read(const char *query, std::optional<Value> ModemValues::*value);
    QString askedLocation(const SnapshotPin::Snapshot &snapshot);

    const Settings m_settings;
    const std::uint64_t m_number; // of this object among all, which threads know it by
    ModemManagerClient m_client;
    QString m_startError;
    QThread m_thread;
    std::unique_ptr<ModemManagerMirror> m_mirror;

    std::mutex m_mutex;
    AskedLocation m_location;
    QString m_noCommands; // the daemon that passes on no AT commands
};

} // namespace devsrv
