// SPDX-License-Identifier: MIT
#pragma once

#include "BackendRegistry.h"
#include "CardDescription.h"
#include "FaultInjector.h"
#include "devsrv/DeviceServiceControl.h"

#include <mutex>
#include <thread>
#include <vector>

namespace devsrv {

/// A card without hardware, which answers from its description.
///
/// Thread-safe. Events are raised with no lock held. The destructor waits for the threads on which
/// answers are delivered.
class EmulatedCard : public CardBackend
{
public:
    explicit EmulatedCard(EventSink raise);
    ~EmulatedCard() override;

    void load(const CardDescription &card);
    void insert();
    void remove();
    QString set(const QString &key, const QString &value);
    void raise(std::int32_t event) { m_raise(event); }
    void setAnswerMode(std::int32_t mode);

    /// The calls of the C boundary and the messages that were sent.
    CallJournal &journal() { return m_journal; }

    /// The observer of the C boundary's calls that belongs to this card.
    FaultInjector &faults() { return m_faults; }

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
    template <typename Value>
    std::optional<Value> read(Value CardDescription::*field) const;
    void setPresent(bool present);

    // An answer that endCommand() delivers, or whose delivery it waits for.
    struct PendingAnswer
    {
        std::thread thread;
        std::function<void()> deliver;
    };
    void finishAnswer(PendingAnswer next);
    void finish(PendingAnswer answer);

    const EventSink m_raise;
    CallJournal m_journal;
    FaultInjector m_faults;
    mutable std::mutex m_mutex;
    CardDescription m_card;
    std::int32_t m_answerMode = DEVSRV_ANSWER_AT_ONCE;
    PendingAnswer m_pendingAnswer;
    std::vector<std::thread> m_otherThreads;
};

} // namespace devsrv
