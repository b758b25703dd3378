// SPDX-License-Identifier: MIT
#pragma once

#include "CardDescription.h"
#include "devsrv/DeviceServiceControl.h"

#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace devsrv {

/// A card that exists as a description only: it answers what the description says, keeps a journal
/// of the calls, and can do all that a bad card does.
///
/// Any thread may call anything. Events are raised with no lock held. The destructor waits for the
/// threads on which events and answers are delivered.
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
    void setFault(const std::string &function, const DevSrvFault &fault);
    void setAnswerMode(std::int32_t mode);
    std::string journal() const;
    void clearJournal();

    CallOutcome enter(std::string_view function, std::string_view arguments) override;
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
    void write(std::string line);
    void raiseFaultEvent(const DevSrvFault &fault);

    // An answer that endCommand() waits for, or delivers.
    struct PendingAnswer
    {
        std::thread thread;
        std::function<void()> deliver;
    };
    void finishAnswer(PendingAnswer next);
    void finish(PendingAnswer answer);

    const EventSink m_raise;
    mutable std::mutex m_mutex;
    CardDescription m_card;
    std::map<std::string, DevSrvFault, std::less<>> m_faults;
    std::deque<std::string> m_journal;
    std::int32_t m_answerMode = DEVSRV_ANSWER_AT_ONCE;
    PendingAnswer m_pendingAnswer;
    std::vector<std::thread> m_otherThreads;
};

} // namespace devsrv
