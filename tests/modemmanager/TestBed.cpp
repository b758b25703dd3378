// SPDX-License-Identifier: MIT
#include "TestBed.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusMetaType>

#ifdef Q_OS_LINUX
#include <csignal>
#include <sys/prctl.h>
#endif

namespace {

constexpr int kPatienceMs = 10'000;
const QString kConnectionName = QStringLiteral("test-bed");
const QString kDaemonService = QStringLiteral("org.freedesktop.ModemManager1");
const QString kDaemonPath = QStringLiteral("/org/freedesktop/ModemManager1");

constexpr char kBusConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

struct Verdict
{
    bool granted = false;
    bool challenged = false;
    QMap<QString, QString> details;
};

QDBusArgument &operator<<(QDBusArgument &argument, const Verdict &verdict)
{
    argument.beginStructure();
    argument << verdict.granted << verdict.challenged << verdict.details;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Verdict &verdict)
{
    argument.beginStructure();
    argument >> verdict.granted >> verdict.challenged >> verdict.details;
    argument.endStructure();
    return argument;
}

// A test that crashes ends nobody: its peers are to go with it.
void endWithParent(QProcess &process)
{
#ifdef Q_OS_LINUX
    process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
#else
    Q_UNUSED(process)
#endif
}

void end(QProcess &process)
{
    process.terminate();
    if (process.state() != QProcess::NotRunning && !process.waitForFinished(2'000)) {
        process.kill();
        process.waitForFinished();
    }
}

} // namespace

Q_DECLARE_METATYPE(Verdict)

void Authority::CheckAuthorization(const QDBusMessage &message)
{
    setDelayedReply(true);
    connection().send(message.createReply(QVariant::fromValue(Verdict{grants, false, {}})));
}

TestBed::TestBed() : m_connection(kConnectionName)
{
    qDBusRegisterMetaType<QMap<QString, QString>>();
    qDBusRegisterMetaType<Verdict>();
    qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
    qDBusRegisterMetaType<QMap<QDBusObjectPath, QMap<QString, QVariantMap>>>();
    endWithParent(m_bus);
    endWithParent(m_daemon);
    m_peers.start();
}

TestBed::~TestBed()
{
    killDaemon();
    m_peers.quit();
    m_peers.wait();
    stopBus();
}

bool TestBed::startBus()
{
    const QString configuration = m_folder.filePath(QStringLiteral("bus.conf"));
    QFile file(configuration);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(QString::fromLatin1(kBusConfiguration).arg(m_folder.path()).toUtf8());
    file.close();

    m_bus.start(QStringLiteral(DBUS_DAEMON),
                {QStringLiteral("--config-file=") + configuration, QStringLiteral("--nofork"),
                 QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")});
    if (!m_bus.waitForReadyRead(kPatienceMs))
        return false;
    const QByteArray address = m_bus.readLine().trimmed();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);

    m_connection = QDBusConnection::connectToBus(QDBusConnection::SystemBus, kConnectionName);
    m_authority = adopt(std::make_unique<Authority>());
    return m_connection.registerService(QStringLiteral("org.freedesktop.PolicyKit1"))
        && m_connection.registerObject(QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
                                       m_authority, QDBusConnection::ExportScriptableSlots);
}

void TestBed::stopBus()
{
    QDBusConnection::disconnectFromBus(kConnectionName);
    end(m_bus);
}

bool TestBed::startDaemon(bool rawCommands)
{
    // Not with --test-session: the daemon would then ask for no rights.
    QStringList arguments{QStringLiteral("--test-enable"), QStringLiteral("--test-no-udev"),
                          QStringLiteral("--test-no-suspend-resume"),
                          QStringLiteral("--test-no-qrtr")};
    if (rawCommands)
        arguments.append(QStringLiteral("--debug"));
    m_daemon.setStandardErrorFile(m_folder.filePath(QStringLiteral("daemon.log")));
    m_daemon.setStandardOutputFile(QProcess::nullDevice());
    m_daemon.start(QStringLiteral(MODEM_MANAGER), arguments);

    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < kPatienceMs; QThread::msleep(10)) {
        if (m_connection.interface()->isServiceRegistered(kDaemonService))
            return true;
    }
    return false;
}

void TestBed::killDaemon()
{
    m_daemon.kill();
    m_daemon.waitForFinished();
}

QByteArray TestBed::daemonLog() const
{
    QFile file(m_folder.filePath(QStringLiteral("daemon.log")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

ScriptedModem *TestBed::plug(const Script &script)
{
    const QString path = m_folder.filePath(QStringLiteral("modem%1").arg(++m_modems));
    ScriptedModem *modem = adopt(std::make_unique<ScriptedModem>(path, script));
    const bool listens = onThreadOf(modem, [=] { return modem->listen(); });
    return listens && plugAgain(*modem) ? modem : nullptr;
}

bool TestBed::waitForModems(int count)
{
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < kPatienceMs; QThread::msleep(20)) {
        const auto reply = call(kDaemonPath, QStringLiteral("org.freedesktop.DBus.ObjectManager"),
                                QStringLiteral("GetManagedObjects"));
        const auto modems = qdbus_cast<QMap<QDBusObjectPath, QMap<QString, QVariantMap>>>(
            reply.arguments().value(0));
        if (modems.size() == count)
            return true;
    }
    return false;
}

bool TestBed::plugAgain(const ScriptedModem &modem)
{
    const auto reply = call(
        kDaemonPath, QStringLiteral("org.freedesktop.ModemManager1.Test"),
        QStringLiteral("SetProfile"),
        {modem.name(), QStringLiteral("generic"), QStringList{modem.socketPath()}});
    return reply.type() == QDBusMessage::ReplyMessage;
}

bool TestBed::inhibit(const ScriptedModem &modem, bool inhibited)
{
    const auto reply = call(kDaemonPath, kDaemonService, QStringLiteral("InhibitDevice"),
                            {QStringLiteral("/virtual/") + modem.name(), inhibited});
    return reply.type() == QDBusMessage::ReplyMessage;
}

QDBusMessage TestBed::call(const QString &path, const QString &interface, const QString &method,
                           const QVariantList &arguments)
{
    auto message = QDBusMessage::createMethodCall(kDaemonService, path, interface, method);
    message.setArguments(arguments);
    return m_connection.call(message, QDBus::Block, kPatienceMs);
}

QHash<QString, QString> TestBed::witness(const QStringList &what)
{
    QProcess client;
    client.start(QStringLiteral(MMCLI),
                 QStringList{QStringLiteral("-m"), QStringLiteral("any"),
                             QStringLiteral("--output-keyvalue")}
                     + what);
    client.waitForFinished(kPatienceMs);
    QHash<QString, QString> values;
    static const QRegularExpression pattern(QStringLiteral("^(\\S+)\\s*: (.*)$"));
    const QStringList lines = QString::fromUtf8(client.readAllStandardOutput())
                                  .split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (const auto match = pattern.match(line); match.hasMatch())
            values.insert(match.captured(1), match.captured(2).trimmed());
    }
    return values;
}
