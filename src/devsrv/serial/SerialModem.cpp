// SPDX-License-Identifier: MIT
#include "SerialModem.h"

#include "CardValues.h"
#include "PortFinder.h"
#include "SimLock.h"
#include "TpduCoder.h"
#include "shared/RegistrationState.h"

#include <QtCore/QDebug>
#include <QtCore/QRandomGenerator>

#include <algorithm>

namespace devsrv {

namespace {

// Of the report mode: the location, too, which this backend needs.
constexpr int kReportsLocation = 2;

constexpr int kDigitsFormat = 2;
constexpr int kTextMode = 1;

// How long a command that was not answered fails at once. A report asks for a value several times.
constexpr milliseconds kSilenceTime{10'000};

// From the loss of the card to the first attempt to reach it, and between later ones.
constexpr milliseconds kFirstRetry{100};
constexpr milliseconds kLastRetry{4'000};

constexpr milliseconds kSwitchTime{10'000};
constexpr milliseconds kSearchTime{5'000};
constexpr milliseconds kSearchStep{500};
constexpr milliseconds kSendTime{60'000};

// In the order in which they tell the place of packet-switched traffic.
constexpr const char *kSourceNames[] = {"+CEREG", "+C5GREG", "+CGREG", "+CREG"};
constexpr std::size_t kCircuitSwitched = 3;

constexpr const char *kAskSim = "AT+CPIN?";
constexpr const char *kAskOperator = "AT+COPS?";

std::optional<std::string> imeiOf(const Lines &lines)
{
    return digits(lines, 14, 16);
}

std::optional<std::string> imsiOf(const Lines &lines)
{
    return digits(lines, 6, 15);
}

// Whether a value of +CFUN is that of a radio that is off, with the rest of the card or alone.
bool isRadioOff(std::optional<int> functionality)
{
    return functionality == 0 || functionality == 4;
}

// Whether the error may be over soon: the SIM is busy, a code is missing, there is no network.
// Other errors say that the card does not know the command.
bool isTemporary(const AtAnswer &answer)
{
    constexpr int kNotSupported = 4;
    constexpr int kIncorrectParameters = 50;
    constexpr int kUnknown = 100;
    const auto error = cmeError(answer.finalLine);
    return error && error != kNotSupported && error != kIncorrectParameters && error != kUnknown;
}

} // namespace

SerialModem::SerialModem(SerialSettings settings, EventSink raise)
    : m_settings(std::move(settings)), m_raise(std::move(raise)), m_port(this),
      m_channel(m_port, m_settings.timeout, [this](const std::string &line) { noteLine(line); }),
      m_changeTimer(this), m_retryTimer(this),
      m_reference(static_cast<std::uint8_t>(QRandomGenerator::global()->generate()))
{
    for (QTimer *timer : {&m_changeTimer, &m_retryTimer})
        timer->setSingleShot(true);
    m_changeTimer.setInterval(kMergeTime);
    m_retryTimer.setInterval(kFirstRetry);
    connect(&m_changeTimer, &QTimer::timeout, this, &SerialModem::reportChanges);
    connect(&m_retryTimer, &QTimer::timeout, this, &SerialModem::tryAgain);
    connect(&m_port, &Port::dataArrived, this, [this] {
        if (m_port.isOpen() && !m_channel.isBusy())
            m_channel.readUnsolicited();
    });
    // Queued: the port may notice its end in the middle of a command.
    connect(
        &m_port, &Port::gone, this,
        [this] {
            if (!m_port.isOpen())
                lose();
        },
        Qt::QueuedConnection);
    forgetCard();
}

QString SerialModem::start()
{
    QString error;
    m_path = m_settings.port.isEmpty() ? findPort(m_settings.baud, error) : m_settings.port;
    if (!error.isEmpty())
        return error;
    m_path = lastingName(m_path);
    if (m_settings.port.isEmpty())
        qInfo().noquote() << QStringLiteral("serial: a card answers on %1").arg(m_path);
    if (!openPort(error))
        return error;
    if (!m_channel.connectToCard()) {
        return QStringLiteral("no card answers AT commands on %1; try another port of the card: "
                              "kestrun cards --ports lists them")
            .arg(m_path);
    }
    if (!prepare(error) && error.isEmpty())
        tryAgain(); // a card whose radio is switched on may start again
    return error;
}

void SerialModem::begin()
{
    m_raises = true;
    raisePosted();
}

void SerialModem::stop()
{
    m_isEchoOff = false; // an echo is one of the modes
    m_isServing = false;
    while (!m_modesToRestore.empty()) {
        const auto first = m_modesToRestore.begin();
        const AtResult result = set(first->first + std::to_string(first->second)).result;
        // The other modes are put back when the card that was taken back is released again.
        if (result == AtResult::TimeOut || result == AtResult::Unusable)
            break;
        m_modesToRestore.erase(first);
    }
    m_isReady = false;
    forgetCard();
    m_port.close();
    m_changeTimer.stop();
    m_retryTimer.stop();
}

// ---- Commands ----------------------------------------------------------------------------------

AtAnswer SerialModem::ask(const std::string &command)
{
    return m_isReady ? checked(m_channel.ask(command)) : AtAnswer();
}

AtAnswer SerialModem::set(const std::string &command)
{
    return m_isReady ? checked(m_channel.set(command)) : AtAnswer();
}

AtAnswer SerialModem::checked(AtAnswer answer)
{
    // Lines that came with the answer wait in the channel until more arrives.
    QMetaObject::invokeMethod(&m_port, &Port::dataArrived, Qt::QueuedConnection);
    if (m_isReady && (answer.result == AtResult::Unusable || wasReset()))
        lose();
    return answer;
}

// Asks, unless the answer is known and still holds.
AtAnswer SerialModem::once(const std::string &command, Lifetime lifetime)
{
    const auto found = m_kept.find(command);
    if (found != m_kept.end() && !found->second.end.hasExpired())
        return found->second.answer;
    const int changes = m_changes;
    AtAnswer answer = ask(command);
    // The card may have changed, or be lost, since it answered.
    if (!m_isReady || m_changes != changes)
        return answer;
    if (answer.isTimeOut())
        m_kept.insert_or_assign(command, Kept{answer, lifetime, QDeadlineTimer(kSilenceTime)});
    else if (lifetime != Lifetime::None && !isTemporary(answer))
        m_kept.insert_or_assign(command,
                                Kept{answer, lifetime, QDeadlineTimer(QDeadlineTimer::Forever)});
    return answer;
}

void SerialModem::forget(Lifetime lifetime)
{
    ++m_changes;
    std::erase_if(m_kept, [=](const auto &kept) { return kept.second.lifetime == lifetime; });
}

// A value by the modem file, else by the first of the commands that gives one.
std::optional<std::string> SerialModem::text(const char *field, Lifetime lifetime, Reader read,
                                             std::initializer_list<const char *> commands)
{
    const std::string own = m_settings.dialect.command(field);
    if (!own.empty())
        return m_settings.dialect.value(field, once(own, lifetime).lines);
    for (const char *command : commands) {
        if (auto value = read(once(command, lifetime).lines))
            return value;
    }
    return std::nullopt;
}

// ---- Start and loss ----------------------------------------------------------------------------

bool SerialModem::openPort(QString &error)
{
    return m_port.isOpen() || m_port.open(m_path, m_settings.baud, error);
}

// Makes a card that answers ready for queries, and finds out what it reports by itself. Returns
// false if the card is lost meanwhile. Also returns false, with one sentence in `error`, if the
// card answers no command except "AT".
bool SerialModem::prepare(QString &error)
{
    m_isReady = true;
    m_isEchoOff = false;
    const AtAnswer echoOff = set("ATE0");
    // m_modesToRestore keeps the first value of each mode: after a silence the card has those of
    // this backend.
    if (m_channel.takeEcho())
        m_modesToRestore.emplace("ATE", 1);
    const AtAnswer errorMode = ask("AT+CMEE?");
    const AtAnswer errorNumbers = set("AT+CMEE=1");
    m_tellsErrorNumbers = errorNumbers.isOk();
    if (echoOff.isTimeOut() && errorMode.isTimeOut() && errorNumbers.isTimeOut()) {
        m_isReady = false;
        error = QStringLiteral("the card on %1 answers AT and no other command; try another port "
                               "of the card: kestrun cards --ports lists them")
                    .arg(m_path);
        return false;
    }
    if (const auto mode = firstNumber(errorMode.lines))
        m_modesToRestore.emplace("AT+CMEE=", *mode);
    if (!m_settings.initial.empty())
        set(m_settings.initial);
    readSim();
    m_isEchoOff = echoOff.isOk() && !m_channel.takeEcho();
    switchOn();
    waitForNetwork();
    for (Source &source : m_sources)
        registrationOf(source);
    m_reported = facts();
    m_isServing = m_isReady;
    return m_isReady;
}

// Forgets what can be another's when a card answers again.
void SerialModem::forgetCard()
{
    m_kept.clear();
    m_sim = {};
    for (std::size_t index = 0; index < kSources; ++index)
        m_sources[index] = {kSourceNames[index], {}, {}, {}, {}};
}

// The command of a caller may have changed anything: what is known is asked for again.
void SerialModem::doubtAnswers()
{
    // An echo that the caller switched on is no sign that the card has started again.
    if (m_isEchoOff) {
        m_channel.set("ATE0");
        m_channel.takeEcho();
    }
    // Without numbers, errors that are soon over look like those of unknown commands.
    if (m_tellsErrorNumbers)
        set("AT+CMEE=1");
    m_kept.clear();
    readSim();
    for (Source &source : m_sources) {
        source.isRefused = false;
        source.isTried = false;
        source.current.reset();
    }
    noteChange();
}

void SerialModem::readSim()
{
    const AtAnswer answer = once(kAskSim, Lifetime::None);
    if (answer.result == AtResult::TimeOut || answer.result == AtResult::Unusable)
        return;
    Lines lines = answer.lines;
    lines.push_back(answer.finalLine);
    std::optional<SimState> sim;
    for (std::size_t index = 0; index < lines.size() && !sim; ++index)
        sim = simState(lines[index]);
    noteSim(sim.value_or(SimState()));
    if (m_sim != m_reported.sim)
        noteChange();
}

// Another SIM, or the same one without its lock, makes the card answer what it refused.
void SerialModem::noteSim(const SimState &sim)
{
    if (sim == std::exchange(m_sim, sim))
        return;
    forget(Lifetime::Sim);
    forget(Lifetime::Network);
    for (Source &source : m_sources) {
        source.isRefused = false;
        source.isTried = source.isReporting;
    }
}

bool SerialModem::isSimUsable() const
{
    return !m_sim.isAbsent && !waitsForCode(m_sim.lock);
}

// Switches the radio on if it is off and may be switched on.
void SerialModem::switchOn()
{
    if (waitsForCode(m_sim.lock) || !isRadioOff(firstNumber(ask("AT+CFUN?").lines)))
        return;
    if (!m_settings.enable) {
        m_warnings.warn(QStringLiteral("the radio of the card is off; enable=no leaves it off"));
        return;
    }
    m_warnings.warn(QStringLiteral(
        "the radio of the card was off and is switched on; enable=no leaves it off"));
    if (checked(m_channel.set("AT+CFUN=1", kSwitchTime)).isOk())
        m_searchEnd.setRemainingTime(kSearchTime);
}

// Makes the card report changes from now on, if it does not. Returns whether it had to be told.
bool SerialModem::startReports(Source &source, int mode)
{
    if (std::exchange(source.isTried, true))
        return false;
    source.isReporting = mode >= kReportsLocation;
    if (source.isReporting)
        return false;
    const std::string command = "AT" + source.name + '=';
    const AtAnswer answer = set(command + std::to_string(kReportsLocation));
    source.isReporting = answer.isOk();
    source.isTried = !isTemporary(answer);
    if (source.isReporting)
        m_modesToRestore.emplace(command, mode);
    return source.isReporting;
}

// Gives a radio that was switched on the time to find its SIM and its network.
void SerialModem::waitForNetwork()
{
    while (m_isReady && !m_searchEnd.hasExpired()) {
        readSim();
        const auto registration = isSimUsable() ? bestRegistration() : std::nullopt;
        if (registration && shared::isRegistered(registration->state))
            return;
        for (Source &source : m_sources)
            source.current.reset();
        if (m_port.waitForData(kSearchStep))
            m_channel.readUnsolicited();
    }
}

// Whether the card repeats commands again: it has started again, and has none of its modes.
bool SerialModem::wasReset() const
{
    return m_isEchoOff && m_channel.hasEcho();
}

QString SerialModem::reasonOfLoss() const
{
    if (!m_port.isOpen())
        return QStringLiteral("the port %1 is gone");
    if (wasReset())
        return QStringLiteral("the card on %1 has started again");
    return QStringLiteral("the card on %1 does not answer");
}

void SerialModem::lose()
{
    const bool isRemoved = !m_port.isOpen();
    if (isRemoved) {
        m_port.close();
        m_modesToRestore.clear();
    }
    if (!std::exchange(m_isReady, false))
        return;
    forgetCard();
    m_changeTimer.stop();
    m_warnings.warn(reasonOfLoss().arg(m_path));
    // A card that is lost while it is prepared was not announced, and tryAgain() repeats itself.
    if (!m_isServing.exchange(false))
        return;
    post({isRemoved ? DEVSRV_EVENT_DEVICE_REMOVED : DEVSRV_EVENT_DEVICE_LOST,
          DEVSRV_EVENT_CARD_CHANGED});
    m_retryTimer.start(kFirstRetry);
}

void SerialModem::takeBack()
{
    tryAgain();
    if (!m_isServing)
        post({DEVSRV_EVENT_DEVICE_LOST, DEVSRV_EVENT_CARD_CHANGED});
}

// Opens the port after a loss or stop(), and prepares the card. Tries again later if that fails.
void SerialModem::tryAgain()
{
    QString error;
    if (openPort(error) && m_channel.connectToCard() && prepare(error)) {
        announce();
        return;
    }
    if (!error.isEmpty())
        m_warnings.warn(error);
    if (!m_port.isOpen())
        m_modesToRestore.clear(); // the next card on the port may be another one
    m_retryTimer.start(std::min(m_retryTimer.intervalAsDuration() * 2, kLastRetry));
}

void SerialModem::announce()
{
    post({DEVSRV_EVENT_CARD_CHANGED});
    if (isSimUsable())
        post({ZEPA_EVENT_DEV_DEVICE_INIT_FINISH});
}

// ---- Events ------------------------------------------------------------------------------------

// Called in the middle of a command, too: only takes note.
void SerialModem::noteLine(const std::string &line)
{
    if (!m_isReady)
        return;
    if (nameOf(line) == "+CPIN") {
        const auto sim = simState(line);
        if (!sim || *sim == m_sim)
            return;
        noteSim(*sim);
        noteChange();
        return;
    }
    const auto source = std::find_if(m_sources.begin(), m_sources.end(), [&](const Source &s) {
        return s.isReporting && s.name == nameOf(line);
    });
    auto registration = registrationLine(line, false);
    if (source == m_sources.end() || !registration)
        return;
    registration->reportMode.reset();
    if (registration == source->current)
        return;
    // Some cards leave the location out, which then has to be asked for.
    const bool lacksLocation = shared::isRegistered(registration->state)
        && registration->lac.empty();
    source->current = lacksLocation ? std::nullopt : registration;
    forget(Lifetime::Network);
    noteChange();
}

void SerialModem::noteChange()
{
    if (!m_changeTimer.isActive())
        m_changeTimer.start();
}

void SerialModem::reportChanges()
{
    readReported();
    if (!m_isReady)
        return;
    const Facts was = std::exchange(m_reported, facts());
    if (waitsForCode(was.sim.lock) && isSimUsable())
        post({ZEPA_EVENT_DEV_DEVICE_INIT_FINISH});
    if (was.sim != m_reported.sim)
        post({DEVSRV_EVENT_SIM_CHANGED});
    if (was.registrations != m_reported.registrations)
        post({DEVSRV_EVENT_NETWORK_CHANGED});
}

// Asks for what the card reports, or may report from now on, where it is not known.
void SerialModem::readReported()
{
    for (Source &source : m_sources) {
        if (isSimUsable() && (source.isReporting || !source.isTried))
            registrationOf(source);
    }
}

SerialModem::Facts SerialModem::facts() const
{
    Facts facts{m_sim, {}};
    for (std::size_t index = 0; index < kSources; ++index)
        facts.registrations[index] = m_sources[index].current;
    return facts;
}

void SerialModem::post(std::initializer_list<std::int32_t> events)
{
    m_posted.insert(m_posted.end(), events);
    QMetaObject::invokeMethod(this, &SerialModem::raisePosted, Qt::QueuedConnection);
}

void SerialModem::raisePosted()
{
    if (!m_raises)
        return;
    for (const std::int32_t event : std::exchange(m_posted, {}))
        m_raise(event);
}

// ---- Values ------------------------------------------------------------------------------------

std::optional<std::int32_t> SerialModem::status()
{
    if (!m_isReady)
        return std::nullopt;
    readSim();
    if (!isSimUsable())
        return kStatusNotReady;
    const AtAnswer answer = once("AT+CFUN?", Lifetime::None);
    if (answer.result == AtResult::TimeOut || answer.result == AtResult::Unusable)
        return std::nullopt;
    const auto radio = firstNumber(answer.lines);
    return isRadioOff(radio) ? kStatusNotReady : DEVSRV_STATUS_READY;
}

std::optional<std::string> SerialModem::imei()
{
    // What a CDMA card gives in its place is no IMEI.
    if (productType() == ZEPA_PRODUCT_TYPE_CDMA)
        return std::nullopt;
    return text("IMEI", Lifetime::Card, imeiOf, {"AT+CGSN=1", "AT+CGSN"});
}

std::optional<std::string> SerialModem::imsi()
{
    return m_sim.isAbsent ? std::nullopt : text("IMSI", Lifetime::Sim, imsiOf, {"AT+CIMI"});
}

std::optional<std::string> SerialModem::serialNumber()
{
    const auto number = text("SN", Lifetime::Card, textValue, {"AT+CGSN=0"});
    // Cards without a serial number repeat the IMEI.
    return number == imei() ? std::nullopt : number;
}

std::optional<std::string> SerialModem::model()
{
    return text("Model", Lifetime::Card, textValue, {"AT+CGMM", "AT+GMM"});
}

std::optional<CdmaIdentity> SerialModem::cdmaIdentity()
{
    if (productType() != ZEPA_PRODUCT_TYPE_CDMA)
        return std::nullopt;
    CdmaIdentity identity;
    for (const char *command : {"AT+GSN", "AT+CGSN"}) {
        const CdmaIdentity more = cdmaIdentityOf(once(command, Lifetime::Card).lines);
        if (identity.esn.empty())
            identity.esn = more.esn;
        if (identity.meid.empty())
            identity.meid = more.meid;
        if (!identity.meid.empty())
            break;
    }
    identity.esn = text("ESN", Lifetime::Card, textValue, {}).value_or(identity.esn);
    identity.meid = text("MEID", Lifetime::Card, textValue, {}).value_or(identity.meid);
    return identity;
}

std::optional<Versions> SerialModem::versions()
{
    const auto firmware = text("Fver", Lifetime::Card, textValue, {"AT+CGMR", "AT+GMR"});
    // No standard command gives the version of the hardware.
    return versionsFrom(firmware, text("Hver", Lifetime::Card, textValue, {}));
}

std::optional<std::int32_t> SerialModem::productType()
{
    const Lines capabilities = once("AT+GCAP", Lifetime::Card).lines;
    if (const auto type = productTypeOf(capabilities, {}))
        return type;
    if (const auto type = productTypeOf({}, once("AT+WS46=?", Lifetime::Card).lines))
        return type;
    // A card that knows of a SIM is none of CDMA.
    const bool knowsSim = m_sim.isAbsent || m_sim.lock != MM_MODEM_LOCK_UNKNOWN;
    return knowsSim ? std::optional<std::int32_t>(ZEPA_PRODUCT_TYPE_WCDMA) : std::nullopt;
}

std::optional<std::vector<std::string>> SerialModem::numbers()
{
    if (m_sim.isAbsent)
        return std::nullopt;
    if (const auto own = text("MSISDN", Lifetime::Sim, textValue, {}))
        return std::vector{*own};
    const AtAnswer answer = once("AT+CNUM", Lifetime::Sim);
    if (!answer.isOk())
        return std::nullopt;
    auto plain = ownNumbers(answer.lines, false);
    auto decoded = ownNumbers(answer.lines, true);
    // A number of digits may look like coded text: the card knows which it is.
    if (plain == decoded || textValue(once("AT+CSCS?", Lifetime::Card).lines) != "UCS2")
        return plain;
    return decoded;
}

std::optional<std::uint8_t> SerialModem::lockState()
{
    if (!m_isReady)
        return std::nullopt;
    readSim();
    unsigned enabled = 0;
    if (m_sim.lock != MM_MODEM_LOCK_UNKNOWN && isSimUsable()) {
        for (const LockFacility &facility : kLockFacilities) {
            const auto command = std::string("AT+CLCK=\"") + facility.name + "\",2";
            if (isLockEnabled(once(command, Lifetime::Sim).lines) == true)
                enabled |= facility.flag;
        }
    }
    return lockStateOf(m_sim.lock, enabled);
}

std::optional<RegistrationLine> SerialModem::registrationOf(Source &source)
{
    if (source.isRefused || (source.isReporting && source.current))
        return source.current;
    const AtAnswer answer = once("AT" + source.name + '?', Lifetime::None);
    source.isRefused = answer.result == AtResult::Error && !isTemporary(answer);
    source.current.reset();
    for (const std::string &line : answer.lines) {
        if (auto registration = registrationLine(line, true))
            source.current = registration;
    }
    if (!source.current)
        return std::nullopt;
    const auto mode = std::exchange(source.current->reportMode, std::nullopt);
    // A card that starts to report now tells the location, too.
    if (!mode || !startReports(source, *mode))
        return source.current;
    source.current.reset();
    return registrationOf(source);
}

// The registration of the packet-switched domain: the first that has a place.
std::optional<RegistrationLine> SerialModem::bestRegistration()
{
    std::optional<RegistrationLine> best;
    for (Source &source : m_sources) {
        auto registration = registrationOf(source);
        if (registration && shared::isRegistered(registration->state) && !registration->lac.empty())
            return registration;
        if (!best || (registration && shared::isRegistered(registration->state)))
            best = registration;
    }
    return best;
}

std::optional<Registration> SerialModem::registration(Domain domain)
{
    if (!isSimUsable())
        return std::nullopt;
    const auto line = domain == Domain::PacketSwitched
        ? bestRegistration()
        : registrationOf(m_sources[kCircuitSwitched]);
    if (!line)
        return std::nullopt;
    return Registration{kReportModeUnknown, line->state, line->lac, line->ci};
}

bool SerialModem::isReporting() const
{
    return std::any_of(m_sources.begin(), m_sources.end(),
                       [](const Source &source) { return source.isReporting; });
}

std::optional<Operator> SerialModem::askOperator()
{
    // The card tells of a new registration, which comes with a new operator.
    auto found = operatorOf(
        once(kAskOperator, isReporting() ? Lifetime::Network : Lifetime::None).lines);
    // A name is not what callers want, and without a format the card knows no operator yet.
    if (found && found->format != kDigitsFormat)
        m_kept.erase(kAskOperator);
    return found;
}

std::optional<Operator> SerialModem::currentOperator()
{
    if (!isSimUsable())
        return std::nullopt;
    // Cards may keep the operator that they have lost.
    const auto place = bestRegistration();
    if (place && !shared::isRegistered(place->state))
        return std::nullopt;
    auto found = askOperator();
    if (!found || found->format.value_or(kDigitsFormat) == kDigitsFormat)
        return found;
    m_modesToRestore.emplace("AT+COPS=3,", *found->format);
    return set("AT+COPS=3," + std::to_string(kDigitsFormat)).isOk() ? askOperator() : found;
}

std::optional<std::string> SerialModem::plmn()
{
    const auto found = currentOperator();
    return found && !found->plmn.empty() ? std::optional(found->plmn) : std::nullopt;
}

std::optional<SystemInfo> SerialModem::systemInfo()
{
    if (!isSimUsable())
        return std::nullopt;
    if (productType() == ZEPA_PRODUCT_TYPE_CDMA) {
        const bool isDigital = firstNumber(once("AT+CAD?", Lifetime::None).lines) == 1;
        return isDigital ? std::optional(SystemInfo{SYSTEM_MODE_CDMA, SUB_MODE_CDMA_1X})
                         : std::nullopt;
    }
    auto technology = currentOperator().value_or(Operator()).act;
    for (Source &source : m_sources) {
        const auto registration = technology ? std::nullopt : registrationOf(source);
        if (registration && shared::isRegistered(registration->state))
            technology = registration->act;
    }
    return technology ? systemOfTechnology(*technology) : std::nullopt;
}

// ---- Actions -----------------------------------------------------------------------------------

bool SerialModem::sendSms(const SmsMessage &message)
{
    const auto fail = [](const std::string &reason) {
        qWarning().noquote() << QStringLiteral("serial: the message was not sent: %1")
                                    .arg(QString::fromStdString(reason));
        return false;
    };
    std::string error;
    const auto parts = tpdusOf(message, ++m_reference, error);
    if (!error.empty())
        return fail(error);
    if (firstNumber(once("AT+CMGF?", Lifetime::Card).lines) == kTextMode)
        m_modesToRestore.emplace("AT+CMGF=", kTextMode);
    if (!m_isReady || !set("AT+CMGF=0").isOk())
        return fail("the card does not take messages as PDUs");
    for (const Tpdu &part : parts) {
        const AtAnswer answer = checked(
            m_channel.sendMessage("AT+CMGS=" + std::to_string(part.octets), part.hex, kSendTime));
        if (answer.result == AtResult::Error)
            return fail(cmsError(answer.finalLine));
        if (!answer.isOk())
            return fail("the card did not answer");
    }
    return true;
}

bool SerialModem::execute(const std::string &command, const AnswerSink &answer)
{
    if (!m_isReady)
        return false;
    const AtResult result = checked(m_channel.pass(command, answer)).result;
    if (m_isReady && !isQuery(command))
        doubtAnswers();
    return result == AtResult::Ok || result == AtResult::Error;
}

} // namespace devsrv
