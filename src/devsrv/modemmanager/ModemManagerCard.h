// SPDX-License-Identifier: MIT
#pragma once

#include "ModemManagerClient.h"
#include "ModemManagerWatcher.h"

#include <QtCore/QThread>

#include <memory>

namespace devsrv {

/// A modem of the ModemManager daemon, which is asked over D-Bus.
///
/// Thread-safe. Every query calls the daemon; nothing is cached. Owns a connection to the system
/// bus and the thread on which events are raised. The destructor waits for that thread and must not
/// run on it.
class ModemManagerCard : public CardBackend
{
public:
    /// Blocks until the modem is ready for queries, at most 30 s. An empty IMEI chooses the first
    /// modem.
    ModemManagerCard(const QString &imei, EventSink raise);
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
    bool sendSms(const SmsMessage &message) override;
    bool execute(const std::string &command, const AnswerSink &answer) override;
    bool endCommand() override;

private:
    std::optional<std::string> text(QLatin1String interface, QLatin1String property);

    ModemManagerClient m_client;
    QString m_startError;
    QThread m_thread;
    std::unique_ptr<ModemManagerWatcher> m_watcher;
};

} // namespace devsrv
