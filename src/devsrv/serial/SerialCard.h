// SPDX-License-Identifier: MIT
#pragma once

#include "SerialModem.h"

#include <QtCore/QThread>

namespace devsrv {

/// A card on a serial port, without a daemon in between.
///
/// Thread-safe. Owns the thread that the card's commands run on, one after the other, and on which
/// events are raised; a call waits for those before it. A call from inside the callback of an AT
/// command fails: the line is in use. The destructor waits for the thread and must not run on it.
class SerialCard : public CardBackend
{
public:
    /// Blocks until the card is ready for queries. With the standard time-out: at most 5 s to find
    /// out that none answers, 20 s where a radio has to be switched on, and 4 s more for each
    /// command that is not answered, three of which end the attempt if the card only knows "AT".
    SerialCard(SerialSettings settings, EventSink raise);
    ~SerialCard() override;

    /// The reason why the backend cannot be used; empty if it can.
    const QString &startError() const { return m_startError; }

    void begin() override;
    void release() override;
    void takeBack() override;
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

private:
    template <typename Function, typename... Arguments>
    auto run(Function function, const Arguments &...arguments);

    QThread m_thread;
    SerialModem *m_modem; // lives and ends on the thread
    QString m_startError;
};

} // namespace devsrv
