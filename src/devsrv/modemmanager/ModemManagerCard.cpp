// SPDX-License-Identifier: MIT
#include "ModemManagerCard.h"

#include "BackendFactories.h"

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusError>

namespace devsrv {

namespace {

constexpr QLatin1String kSimInterface("org.freedesktop.ModemManager1.Sim");
constexpr QLatin1String kSmsInterface("org.freedesktop.ModemManager1.Sms");

// The errors that come from the modem itself. Others are the daemon's.
constexpr QLatin1String kModemErrors("org.freedesktop.ModemManager1.Error.MobileEquipment.");

// The daemon's time-out for the modem's answer. It is shorter than that of the call, so that the
// daemon reports a modem that does not answer.
constexpr uint kCommandSeconds = 3;

constexpr std::int32_t kStatusNotReady = 2;

// The bound of start-up: the radio is switched on, and the modem registers.
constexpr auto kStartTimeout = kEnableTimeout + milliseconds(10'000);

std::string latin1(const QString &text)
{
    return text.toLatin1().toStdString();
}

std::optional<std::string> latin1(const std::optional<QString> &text)
{
    return text ? std::optional(latin1(*text)) : std::nullopt;
}

std::optional<QStringList> ownNumbers(const ModemObject &modem)
{
    return modem.property<QStringList>(kModemInterface, QLatin1String("OwnNumbers"));
}

bool isError(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ErrorMessage;
}

} // namespace

ModemManagerCard::ModemManagerCard(const QString &imei, EventSink raise) : m_client(imei)
{
    if (!m_client.connection().isConnected()) {
        m_startError = QStringLiteral("the system message bus cannot be reached: ")
            + m_client.connection().lastError().message()
            + QStringLiteral("; start it, or choose an emulated card");
        return;
    }
    if (!QCoreApplication::instance()) {
        m_startError = QStringLiteral(
            "modems need a QCoreApplication, which the host has not made");
        return;
    }
    m_watcher = std::make_unique<ModemManagerWatcher>(m_client, std::move(raise));
    m_watcher->moveToThread(&m_thread);
    m_thread.setObjectName(QStringLiteral("modemmanager"));
    m_thread.start();
    auto started = m_watcher->started();
    QMetaObject::invokeMethod(m_watcher.get(), &ModemManagerWatcher::open, Qt::QueuedConnection);
    started.wait_for(kStartTimeout);
}

ModemManagerCard::~ModemManagerCard()
{
    if (!m_watcher)
        return;
    // The watcher's timers and pending calls must end on the thread that they belong to.
    QObject::connect(&m_thread, &QThread::finished, m_watcher.release(), &QObject::deleteLater);
    m_thread.quit();
    m_thread.wait();
}

void ModemManagerCard::begin()
{
    QMetaObject::invokeMethod(m_watcher.get(), &ModemManagerWatcher::begin, Qt::QueuedConnection);
}

std::optional<std::string> ModemManagerCard::text(QLatin1String interface, QLatin1String property)
{
    const auto modem = m_client.modem();
    return modem ? latin1(modem->text(interface, property)) : std::nullopt;
}

std::string ModemManagerCard::description()
{
    const auto modem = m_client.modem();
    if (!modem)
        return "no usable modem of ModemManager";
    return "modem " + modem->imei().value_or(modem->path()).toStdString() + " by ModemManager";
}

std::optional<std::int32_t> ModemManagerCard::status()
{
    const auto modem = m_client.modem();
    const auto state = modem ? modem->property<int>(kModemInterface, QLatin1String("State"))
                             : std::nullopt;
    if (!state)
        return std::nullopt;
    return *state >= MM_MODEM_STATE_ENABLED ? DEVSRV_STATUS_READY : kStatusNotReady;
}

std::optional<std::string> ModemManagerCard::imei()
{
    const auto modem = m_client.modem();
    return modem ? latin1(modem->imei()) : std::nullopt;
}

std::optional<std::string> ModemManagerCard::imsi()
{
    const auto modem = m_client.modem();
    if (!modem)
        return std::nullopt;
    const auto sim = modem->property<QDBusObjectPath>(kModemInterface, QLatin1String("Sim"));
    if (!sim || sim->path() == QLatin1String("/"))
        return std::nullopt;
    const auto properties = m_client.properties(sim->path(), kSimInterface);
    if (!properties)
        return std::nullopt;
    const ModemObject object(sim->path(), {{kSimInterface, *properties}}, m_client.warnings());
    return latin1(object.text(kSimInterface, QLatin1String("Imsi")));
}

std::optional<std::string> ModemManagerCard::serialNumber()
{
    // The daemon does not know it.
    return std::nullopt;
}

std::optional<std::string> ModemManagerCard::model()
{
    return text(kModemInterface, QLatin1String("Model"));
}

std::optional<CdmaIdentity> ModemManagerCard::cdmaIdentity()
{
    const auto modem = m_client.modem();
    if (!modem || !modem->has(kCdmaInterface))
        return std::nullopt;
    return CdmaIdentity{
        latin1(modem->text(kCdmaInterface, QLatin1String("Esn")).value_or(QString())),
        latin1(modem->text(kCdmaInterface, QLatin1String("Meid")).value_or(QString()))};
}

std::optional<Versions> ModemManagerCard::versions()
{
    const auto modem = m_client.modem();
    if (!modem)
        return std::nullopt;
    const auto firmware = modem->text(kModemInterface, QLatin1String("Revision"));
    const auto hardware = modem->text(kModemInterface, QLatin1String("HardwareRevision"));
    if (!firmware && !hardware)
        return std::nullopt;
    // AT modems have the firmware version only. A failure would lose it with the other one.
    return Versions{latin1(firmware.value_or(QString())), latin1(hardware.value_or(QString()))};
}

std::optional<std::int32_t> ModemManagerCard::productType()
{
    const auto modem = m_client.modem();
    if (!modem)
        return std::nullopt;
    const auto capabilities = modem->property<uint>(kModemInterface,
                                                    QLatin1String("CurrentCapabilities"));
    return capabilities ? productTypeOf(*capabilities) : std::nullopt;
}

// The daemon lists the numbers without their indexes in the phonebook: they count from 1.
std::optional<NumberMemory> ModemManagerCard::numberMemory()
{
    const auto modem = m_client.modem();
    const auto numbers = modem ? ownNumbers(*modem) : std::nullopt;
    if (!numbers)
        return std::nullopt;
    return NumberMemory{1, static_cast<std::int32_t>(numbers->size())};
}

std::optional<std::string> ModemManagerCard::ownNumber(std::int32_t index)
{
    const auto modem = m_client.modem();
    const auto numbers = modem ? ownNumbers(*modem) : std::nullopt;
    if (!numbers || index < 1 || index > numbers->size())
        return std::nullopt;
    return latin1(numbers->at(index - 1));
}

std::optional<std::uint8_t> ModemManagerCard::lockState()
{
    const auto modem = m_client.modem();
    if (!modem)
        return std::nullopt;
    const auto required = modem->property<uint>(kModemInterface, QLatin1String("UnlockRequired"))
                              .value_or(0);
    const auto enabled = modem
                             ->property<uint>(k3gppInterface, QLatin1String("EnabledFacilityLocks"))
                             .value_or(0);
    return lockStateOf(required, enabled);
}

std::optional<Registration> ModemManagerCard::registration(Domain domain)
{
    const auto modem = m_client.modem();
    if (!modem)
        return std::nullopt;
    const auto state = modem->property<uint>(k3gppInterface, QLatin1String("RegistrationState"));
    if (!state)
        return std::nullopt;
    const QDBusMessage reply = m_client.call(modem->path(), kLocationInterface,
                                             QLatin1String("GetLocation"), {}, kQueryTimeout);
    if (isError(reply))
        return std::nullopt;
    if (reply.signature() != QLatin1String("a{uv}")) {
        m_client.warnings().warn(
            QStringLiteral("the location is of type %1").arg(reply.signature()));
        return std::nullopt;
    }
    const QString text = locationText(reply.arguments().constFirst());
    if (text.isEmpty())
        return std::nullopt;
    const auto location = parseLocation(text);
    if (!location)
        m_client.warnings().warn(QStringLiteral("the location \"%1\" is malformed").arg(text));
    return location ? registrationOf(*location, domain, static_cast<std::int32_t>(*state))
                    : std::nullopt;
}

bool ModemManagerCard::setReportMode(Domain, std::int32_t)
{
    // The daemon always has the modem report its location, and offers no choice.
    return true;
}

std::optional<std::string> ModemManagerCard::plmn()
{
    return text(k3gppInterface, QLatin1String("OperatorCode"));
}

std::optional<SystemInfo> ModemManagerCard::systemInfo()
{
    const auto modem = m_client.modem();
    if (!modem)
        return std::nullopt;
    return systemInfoOf(
        modem->property<uint>(kModemInterface, QLatin1String("AccessTechnologies")).value_or(0));
}

bool ModemManagerCard::sendSms(const SmsMessage &message)
{
    const auto modem = m_client.modem();
    if (!modem)
        return false;
    const QVariantMap properties{
        {QStringLiteral("number"), QString::fromStdU16String(message.number)},
        {QStringLiteral("text"), QString::fromStdU16String(message.text)},
        {QStringLiteral("delivery-report-request"), message.receipt}};
    const QDBusMessage created = m_client.call(
        modem->path(), kMessagingInterface, QLatin1String("Create"), {properties}, kQueryTimeout);
    if (created.signature() != QLatin1String("o"))
        return false;
    const auto path = created.arguments().constFirst().value<QDBusObjectPath>();
    const QDBusMessage sent = m_client.call(path.path(), kSmsInterface, QLatin1String("Send"), {},
                                            kSendTimeout);
    // The daemon keeps messages until they are deleted, sent or not.
    m_client.call(modem->path(), kMessagingInterface, QLatin1String("Delete"),
                  {QVariant::fromValue(path)}, kQueryTimeout);
    return !isError(sent);
}

bool ModemManagerCard::execute(const std::string &command, const AnswerSink &answer)
{
    const auto modem = m_client.modem();
    if (!modem)
        return false;
    const QString line = QString::fromLatin1(command).trimmed();
    const QDBusMessage reply = m_client.call(modem->path(), kModemInterface,
                                             QLatin1String("Command"), {line, kCommandSeconds},
                                             kCommandTimeout);
    // The daemon removes the final result from the answer, or turns it into an error.
    if (isError(reply)) {
        const bool answered = reply.errorName().startsWith(kModemErrors);
        if (answered)
            answer("\r\nERROR\r\n");
        return answered;
    }
    const std::string text = latin1(reply.arguments().value(0).toString());
    answer((text.empty() ? std::string() : "\r\n" + text + "\r\n") + "\r\nOK\r\n");
    return true;
}

bool ModemManagerCard::endCommand()
{
    // The answer was delivered before execute() returned.
    return true;
}

Backend makeModemManagerCard(const BackendArgument &argument, const BackendOptions &,
                             EventSink raise, std::string &error)
{
    if (argument == "") {
        error = "\"modemmanager:\" does not say which modem; write modemmanager:IMEI, or "
                "modemmanager for the first modem";
        return {};
    }
    auto card = std::make_shared<ModemManagerCard>(
        QString::fromStdString(argument.value_or(std::string())), std::move(raise));
    if (card->startError().isEmpty())
        return {std::move(card), nullptr};
    error = card->startError().toStdString();
    return {};
}

} // namespace devsrv
