// SPDX-License-Identifier: MIT
#include "SerialCard.h"

#include "BackendFactories.h"
#include "CardValues.h"
#include "PortFinder.h"

#include <QtCore/QDeadlineTimer>

#include <functional>

namespace devsrv {

namespace {

constexpr int kStandardBaud = 115'200;
constexpr int kStandardTimeoutMs = 3'000;

} // namespace

// Runs a query on the modem's thread and returns what it returns: nothing, and at once, while the
// card is lost.
template <typename Function, typename... Arguments>
auto SerialCard::run(Function function, const Arguments &...arguments)
{
    std::invoke_result_t<Function, SerialModem &, const Arguments &...> result{};
    if (!m_modem->isServing())
        return result;
    const auto call = [&] {
        if (!m_modem->isBusy())
            result = std::invoke(function, *m_modem, arguments...);
    };
    const bool isHere = QThread::currentThread() == &m_thread;
    QMetaObject::invokeMethod(m_modem, call,
                              isHere ? Qt::DirectConnection : Qt::BlockingQueuedConnection);
    return result;
}

SerialCard::SerialCard(SerialSettings settings, EventSink raise)
    : m_modem(new SerialModem(std::move(settings), std::move(raise)))
{
    m_modem->moveToThread(&m_thread);
    // On the thread itself: a host that ends without stop() has no application to deliver events.
    QObject::connect(&m_thread, &QThread::finished, [modem = m_modem] {
        modem->stop();
        delete modem;
    });
    m_thread.setObjectName(QStringLiteral("serial"));
    m_thread.start();
    QMetaObject::invokeMethod(m_modem, &SerialModem::start, Qt::BlockingQueuedConnection,
                              &m_startError);
}

SerialCard::~SerialCard()
{
    m_thread.quit();
    m_thread.wait();
}

void SerialCard::begin()
{
    QMetaObject::invokeMethod(m_modem, &SerialModem::begin, Qt::QueuedConnection);
}

void SerialCard::release()
{
    QMetaObject::invokeMethod(m_modem, &SerialModem::stop, Qt::BlockingQueuedConnection);
}

void SerialCard::takeBack()
{
    QMetaObject::invokeMethod(m_modem, &SerialModem::takeBack, Qt::BlockingQueuedConnection);
}

std::string SerialCard::description()
{
    return "card on " + m_modem->port();
}

std::optional<std::int32_t> SerialCard::status()
{
    return run(&SerialModem::status);
}

std::optional<std::string> SerialCard::imei()
{
    return run(&SerialModem::imei);
}

std::optional<std::string> SerialCard::imsi()
{
    return run(&SerialModem::imsi);
}

std::optional<std::string> SerialCard::serialNumber()
{
    return run(&SerialModem::serialNumber);
}

std::optional<std::string> SerialCard::model()
{
    return run(&SerialModem::model);
}

std::optional<CdmaIdentity> SerialCard::cdmaIdentity()
{
    return run(&SerialModem::cdmaIdentity);
}

std::optional<Versions> SerialCard::versions()
{
    return run(&SerialModem::versions);
}

std::optional<std::int32_t> SerialCard::productType()
{
    return run(&SerialModem::productType);
}

std::optional<NumberMemory> SerialCard::numberMemory()
{
    return numberMemoryOf(run(&SerialModem::numbers));
}

std::optional<std::string> SerialCard::ownNumber(std::int32_t index)
{
    return ownNumberOf(run(&SerialModem::numbers), index);
}

std::optional<std::uint8_t> SerialCard::lockState()
{
    return run(&SerialModem::lockState);
}

std::optional<Registration> SerialCard::registration(Domain domain)
{
    return run(&SerialModem::registration, domain);
}

bool SerialCard::setReportMode(Domain, std::int32_t)
{
    // The card reports its location for as long as this backend runs.
    return true;
}

std::optional<std::string> SerialCard::plmn()
{
    return run(&SerialModem::plmn);
}

std::optional<SystemInfo> SerialCard::systemInfo()
{
    return run(&SerialModem::systemInfo);
}

bool SerialCard::sendSms(const SmsMessage &message)
{
    return run(&SerialModem::sendSms, message);
}

bool SerialCard::execute(const std::string &command, const AnswerSink &answer)
{
    return run(&SerialModem::execute, command, answer);
}

namespace {

// Nothing, and one sentence in `error`, if an option is wrong.
std::optional<SerialSettings> settingsOf(const BackendArgument &argument,
                                         const BackendOptions &options, std::string &error)
{
    const auto baud = options.number("baud", kStandardBaud, 300, 4'000'000, error);
    const auto timeout = options.number("timeout", kStandardTimeoutMs, 50, 60'000, error);
    const auto enable = options.flag("enable", true, error);
    if (!baud || !timeout || !enable)
        return std::nullopt;

    SerialSettings settings;
    settings.port = QString::fromStdString(argument.value_or(std::string()));
    settings.baud = *baud;
    settings.timeout = milliseconds(*timeout);
    settings.enable = *enable;
    settings.initial = options.text("initial");
    if (!settings.initial.empty()
        && (!settings.initial.starts_with("AT") || isHarmful(settings.initial))) {
        error = "\"" + settings.initial
            + "\" is no command to send at every start; write initial=AT... with one that changes "
              "nothing that the card stores";
        return std::nullopt;
    }
    const std::string file = options.text("modem");
    if (file.empty())
        return settings;
    QString wrong;
    auto dialect = ModemFile::read(QString::fromStdString(file), wrong);
    if (!dialect) {
        error = wrong.toStdString();
        return std::nullopt;
    }
    settings.dialect = std::move(*dialect);
    return settings;
}

} // namespace

Backend makeSerialCard(const BackendArgument &argument, const BackendOptions &options,
                       EventSink raise, std::string &error, const FreeDevices &freeDevices)
{
    auto settings = settingsOf(argument, options, error);
    if (!settings)
        return {};
    freeDevices();
    auto card = std::make_shared<SerialCard>(std::move(*settings), std::move(raise));
    if (card->startError().isEmpty())
        return {std::move(card), nullptr};
    error = card->startError().toStdString();
    return {};
}

std::vector<BackendDevice> listSerialCards(std::string &error)
{
    const QDeadlineTimer deadline(kPortSearchTime);
    std::vector<BackendDevice> devices;
    QStringList untried;
    for (const PortFacts &port : serialPorts()) {
        if (deadline.hasExpired()) {
            untried.append(port.path);
            continue;
        }
        QString answer;
        if (answersOn(port.path, kStandardBaud, answer))
            answer = QStringLiteral("a card answers");
        QStringList facts{port.maker, port.model, answer};
        facts.removeAll(QString());
        devices.push_back(
            {port.path.toStdString(), facts.join(QStringLiteral(", ")).toStdString()});
    }
    if (devices.empty())
        error = "this machine has no serial port; plug the card in";
    if (!untried.isEmpty()) {
        error = "there was no time to try these ports: "
            + untried.join(QStringLiteral(", ")).toStdString() + "; choose one with serial:PORT";
    }
    return devices;
}

} // namespace devsrv
