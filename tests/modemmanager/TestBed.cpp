// SPDX-License-Identifier: MIT
#include "TestBed.h"

#include "TestData.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QTest>

#include <csignal>
#include <sys/prctl.h>

namespace {

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;
using Location = QMap<uint, QDBusVariant>;

const QString kService = "org.freedesktop.ModemManager1";
const QString kPath = "/org/freedesktop/ModemManager1";
const QString kConnection = "test-bed";
constexpr int kPatienceMs = 10'000;

constexpr char kBusConfiguration[] = R"(<busconfig>
<type>session</type><listen>unix:dir=%1</listen><auth>EXTERNAL</auth>
<policy context="default">
<allow send_destination="*" eavesdrop="true"/>
<allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>)";

struct Verdict
{
    bool granted = false;
};

QDBusArgument &operator<<(QDBusArgument &argument, const Verdict &verdict)
{
    argument.beginStructure();
    argument << verdict.granted << false << QMap<QString, QString>();
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Verdict &)
{
    return argument;
}

QVariant typed(const QString &text)
{
    const QString type = text.section(':', 0, 0);
    const QString value = text.section(':', 1);
    if (type == "i")
        return value.toInt();
    if (type == "u")
        return value.toUInt();
    if (type == "b")
        return value == "1";
    if (type == "as")
        return QStringList(value);
    if (type == "o")
        return QVariant::fromValue(QDBusObjectPath(value));
    if (type == "objects")
        return QVariant::fromValue(Objects());
    if (type == "location")
        return QVariant::fromValue(value.isEmpty() ? Location() : Location{{1u, QDBusVariant(value)}});
    return type == "s" ? value : QVariant();
}

} // namespace

Q_DECLARE_METATYPE(Verdict)

Child::Child()
{
    setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

Child::~Child()
{
    kill();
    waitForFinished();
}

ScriptedModem::ScriptedModem(const QString &path, const QString &kinds)
{
    for (const QStringList &line : readTable("modems.txt")) {
        if (kinds.split(' ').contains(line[0]))
            answers[line[1]] = line[2];
    }
    connect(this, &QLocalServer::newConnection, this, [this] {
        // The daemon closes a port and opens it again: the last connection counts.
        m_port = nextPendingConnection();
        m_input.clear();
        m_takesMessage = false;
        connect(m_port, &QLocalSocket::readyRead, this, &ScriptedModem::read);
    });
    listen(path);
}

void ScriptedModem::say(const QByteArray &line)
{
    m_port->write("\r\n" + line + "\r\n");
}

void ScriptedModem::read()
{
    if (sender() != m_port)
        return;
    m_input += m_port->readAll();
    for (qsizetype end; (end = m_input.indexOf(m_takesMessage ? '\x1a' : '\r')) >= 0;) {
        const QByteArray command = m_input.left(end).trimmed();
        m_input.remove(0, end + 1);
        if (command.isEmpty())
            continue;
        journal << command;
        const bool isMessage = std::exchange(m_takesMessage, command.startsWith("AT+CMGS="));
        const QByteArray answer = answers.value(isMessage ? "message" : command, "ERROR").toUtf8();
        if (m_takesMessage)
            m_port->write("\r\n> ");
        else if (answer != "silence")
            say(answer == "OK" || answer.contains("ERROR") ? answer : answer + "\r\n\r\nOK");
    }
}

void Authority::CheckAuthorization(const QDBusMessage &message)
{
    setDelayedReply(true);
    connection().send(message.createReply(QVariant::fromValue(Verdict{grants})));
}

FakeManager::FakeManager(QDBusConnection &connection) : m_connection(connection)
{
    reset();
    if (!connection.registerVirtualObject(kPath, this, QDBusConnection::SubPath)
        || !connection.registerService(kService))
        qFatal("the fake daemon cannot be where the real one is");
}

FakeManager::~FakeManager()
{
    m_connection.unregisterService(kService);
    m_connection.unregisterObject(kPath, QDBusConnection::UnregisterTree);
}

void FakeManager::change()
{
    auto signal = QDBusMessage::createSignal(kPath + "/Modem/3", "org.freedesktop.DBus.Properties",
                                             "PropertiesChanged");
    signal.setArguments({kService + ".Modem", QVariantMap(), QStringList()});
    m_connection.send(signal);
}

void FakeManager::reset()
{
    m_interfaces.clear();
    m_answers.clear();
    for (const QStringList &line : readTable("fake-modem.txt").mid(1))
        set(line[0], line[1]);
    answersLeft = 1'000;
}

void FakeManager::set(const QString &what, const QString &value)
{
    const QString interface = kService + '.' + what.section('.', 0, -2);
    if (what.endsWith('.'))
        m_interfaces.remove(interface);
    else if (what.contains('.'))
        m_interfaces[interface][what.section('.', -1)] = typed(value);
    else
        m_answers[what] = typed(value);
}

QString FakeManager::introspect(const QString &) const
{
    return {};
}

bool FakeManager::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    if (answersLeft == 0)
        return true;
    --answersLeft;
    const Objects objects{{QDBusObjectPath(kPath + "/Modem/3"), m_interfaces}};
    QVariantMap answers{{"GetManagedObjects", QVariant::fromValue(objects)},
                        {"GetAll", m_interfaces.value(kService + ".Sim")}};
    answers.insert(m_answers);
    const QVariant answer = answers.value(message.member());
    return connection.send(answer.isValid()
                               ? message.createReply(answer)
                               : message.createErrorReply(QDBusError::UnknownMethod, "none"));
}

TestBed::TestBed() : connection(kConnection)
{
    qDBusRegisterMetaType<QMap<QString, QString>>();
    qDBusRegisterMetaType<Verdict>();
    qDBusRegisterMetaType<Interfaces>();
    qDBusRegisterMetaType<Objects>();
    qDBusRegisterMetaType<Location>();
    QFile file(m_folder.filePath("bus.conf"));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("%s", qPrintable(file.errorString()));
    file.write(QString(kBusConfiguration).arg(m_folder.path()).toUtf8());
    file.close();
    m_bus.start(DBUS_DAEMON, {"--config-file=" + file.fileName(), "--nofork", "--nopidfile",
                              "--print-address=1"});
    m_bus.waitForReadyRead(kPatienceMs);
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.readLine().trimmed());
    connection = QDBusConnection::connectToBus(QDBusConnection::SystemBus, kConnection);
    if (!connection.registerService("org.freedesktop.PolicyKit1")
        || !connection.registerObject("/org/freedesktop/PolicyKit1/Authority", &authority,
                                      QDBusConnection::ExportScriptableSlots))
        qFatal("no message bus");
}

TestBed::~TestBed()
{
    killDaemon();
    QDBusConnection::disconnectFromBus(kConnection);
}

bool TestBed::startDaemon(bool rawCommands)
{
    // Not with --test-session: the daemon would then ask for no rights.
    QStringList arguments{"--test-enable", "--test-no-udev", "--test-no-suspend-resume",
                          "--test-no-qrtr"};
    if (rawCommands)
        arguments << "--debug";
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    m_daemon.setStandardOutputFile(QProcess::nullDevice());
    m_daemon.start(MODEM_MANAGER, arguments);
    m_plugged = 0;
    return QTest::qWaitFor([&] { return connection.interface()->isServiceRegistered(kService); },
                           kPatienceMs);
}

void TestBed::killDaemon()
{
    m_daemon.kill();
    m_daemon.waitForFinished();
}

ScriptedModem *TestBed::plug(const QString &kinds)
{
    const QString name = QString("modem%1").arg(m_modems.size());
    m_modems.push_back(std::make_unique<ScriptedModem>(m_folder.filePath(name), kinds));
    return plugAgain(*m_modems.back()) ? m_modems.back().get() : nullptr;
}

bool TestBed::plugAgain(const ScriptedModem &modem)
{
    const QString path = modem.fullServerName();
    return call(kPath, kService + ".Test", "SetProfile",
                {path.section('/', -1), "generic", QStringList(path)})
        && waitForModem(m_plugged++);
}

bool TestBed::waitForModem(int number)
{
    return QTest::qWaitFor([&] { return !witness(QString::number(number)).isEmpty(); },
                           kPatienceMs);
}

bool TestBed::inhibit(const ScriptedModem &modem, bool inhibited)
{
    return call(kPath, kService, "InhibitDevice",
                {"/virtual/" + modem.fullServerName().section('/', -1), inhibited});
}

bool TestBed::call(const QString &path, const QString &interface, const QString &method,
                   const QVariantList &arguments)
{
    auto message = QDBusMessage::createMethodCall(kService, path, interface, method);
    message.setArguments(arguments);
    return connection.call(message, QDBus::BlockWithGui, kPatienceMs).type()
        == QDBusMessage::ReplyMessage;
}

QHash<QString, QString> TestBed::witness(const QString &modem, const QStringList &what)
{
    Child client;
    client.start(MMCLI, QStringList{"--output-keyvalue", "-m", modem} + what);
    if (!QTest::qWaitFor([&] { return client.state() == QProcess::NotRunning; }, kPatienceMs))
        return {};
    QHash<QString, QString> values;
    for (const QString &line : QString::fromUtf8(client.readAllStandardOutput()).split('\n')) {
        if (line.contains(':'))
            values[line.section(':', 0, 0).trimmed()] = line.section(':', 1).trimmed();
    }
    return values;
}
