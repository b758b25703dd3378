// SPDX-License-Identifier: MIT
#pragma once

#include "AtChannel.h"
#include "ModemFile.h"
#include "OnceWarnings.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <array>
#include <atomic>
#include <map>

namespace devsrv {

/// What a user chooses about a card on a port.
struct SerialSettings
{
    QString port;
    int baud = 115'200;
    milliseconds timeout{3'000};
    bool enable = true;  ///< switch a radio on that is off
    std::string initial; ///< a command that is sent after the start
    ModemFile dialect;
};

/// A card that speaks AT on a port: asks for its values, follows its unsolicited lines, and opens
/// the port again when the card comes back.
///
/// Lives on a thread with an event loop of its own and raises the events there, never in the middle
/// of a query. What cannot change is asked once; so is what the card reports by itself. A card that
/// answers nothing is lost until it answers again, and queries fail at once meanwhile.
class SerialModem : public QObject
{
    Q_OBJECT

public:
    SerialModem(SerialSettings settings, EventSink raise);

    /// Opens the port and prepares the card. Returns an empty text, or one sentence that says why
    /// the card cannot be used.
    QString start();

    /// Raises events from now on, and those since start().
    void begin();

    /// Puts the card's reporting modes and echo back as start() found them, and closes the port.
    void stop();

    /// Opens the port after stop(), and prepares the card. If that fails, raises the events of a
    /// loss and tries again later.
    void takeBack();

    /// Whether a command runs, so that queries have to fail.
    bool isBusy() const { return m_channel.isBusy(); }

    /// Whether queries can be answered: not while the card is lost. On any thread.
    bool isServing() const { return m_isServing; }

    /// The name of the port that stays the same, in UTF-8. On any thread after start().
    std::string port() const { return m_path.toStdString(); }

    std::optional<std::int32_t> status();
    std::optional<std::string> imei();
    std::optional<std::string> imsi();
    std::optional<std::string> serialNumber();
    std::optional<std::string> model();
    std::optional<CdmaIdentity> cdmaIdentity();
    std::optional<Versions> versions();
    std::optional<std::int32_t> productType();
    std::optional<std::vector<std::string>> numbers();
    std::optional<std::uint8_t> lockState();
    std::optional<Registration> registration(Domain domain);
    std::optional<std::string> plmn();
    std::optional<SystemInfo> systemInfo();
    bool sendSms(const SmsMessage &message);
    bool execute(const std::string &command, const AnswerSink &answer);

private:
    // What an answer depends on.
    enum class Lifetime { Card, Sim, Network, None };

    struct Kept
    {
        AtAnswer answer;
        Lifetime lifetime;
        QDeadlineTimer end;
    };

    // One of the commands that tell where the card is registered.
    struct Source
    {
        std::string name;
        bool isRefused = false;   // the card does not know the command
        bool isTried = false;     // the card was told to report changes, or does so
        bool isReporting = false; // the card reports changes
        std::optional<RegistrationLine> current;
    };
    static constexpr std::size_t kSources = 4;

    // What raises an event when it changes.
    struct Facts
    {
        SimState sim;
        std::array<std::optional<RegistrationLine>, kSources> registrations;
    };

    using Reader = std::optional<std::string> (*)(const Lines &);

    AtAnswer checked(AtAnswer answer);
    AtAnswer ask(const std::string &command);
    AtAnswer set(const std::string &command);
    AtAnswer once(const std::string &command, Lifetime lifetime);
    void forget(Lifetime lifetime);
    std::optional<std::string> text(const char *field, Lifetime lifetime, Reader read,
                                    std::initializer_list<const char *> commands);

    bool openPort(QString &error);
    bool prepare(QString &error);
    void tryAgain();
    void forgetCard();
    void doubtAnswers();
    void readSim();
    void noteSim(const SimState &sim);
    bool isSimUsable() const;
    void switchOn();
    bool startReports(Source &source, int mode);
    void waitForNetwork();
    std::optional<RegistrationLine> registrationOf(Source &source);
    std::optional<RegistrationLine> bestRegistration();
    std::optional<Operator> askOperator();
    std::optional<Operator> currentOperator();
    bool isReporting() const;

    void noteLine(const std::string &line);
    void noteChange();
    void reportChanges();
    void readReported();
    Facts facts() const;
    bool wasReset() const;
    QString reasonOfLoss() const;
    void lose();
    void announce();
    void post(std::initializer_list<std::int32_t> events);
    void raisePosted();

    const SerialSettings m_settings;
    const EventSink m_raise;
    OnceWarnings m_warnings{"serial"};
    QString m_path; // the name that stays when the card is plugged in again
    Port m_port;
    AtChannel m_channel;
    QTimer m_changeTimer;
    QTimer m_retryTimer;
    QDeadlineTimer m_searchEnd; // of a radio that was switched on

    bool m_isReady = false; // commands can be sent
    std::atomic<bool> m_isServing = false;
    bool m_isEchoOff = false; // the card repeats no commands since prepare()
    bool m_tellsErrorNumbers = false;
    int m_changes = 0; // of what kept answers depend on
    std::map<std::string, Kept> m_kept;
    std::array<Source, kSources> m_sources;
    SimState m_sim;
    Facts m_reported;
    std::map<std::string, int> m_modesToRestore; // by the commands that set them
    std::uint8_t m_reference = 0;                // of the messages in parts
    std::vector<std::int32_t> m_posted;
    bool m_raises = false;
};

} // namespace devsrv
